#include "scripts/script_record_text.h"

#include <cstdio>

#include "foundation/clock_text.h"

namespace i2cbridge {

void ReplaceExpectedData(std::string& line, std::string_view actual) {
    const auto first = line.find(',');
    if (first == std::string::npos) return;
    const auto second = line.find(',', first + 1);
    if (second == std::string::npos) return;
    const auto fieldEnd = std::min(line.find_first_of(",#", second + 1), line.size());
    auto textBegin = line.find_first_not_of(" \t", second + 1);
    if (textBegin == std::string::npos || textBegin > fieldEnd) textBegin = fieldEnd;
    auto textEnd = fieldEnd;
    while (textEnd > textBegin && (line[textEnd - 1] == ' ' || line[textEnd - 1] == '\t')) {
        --textEnd;
    }
    line.replace(textBegin, textEnd - textBegin, actual);
}

void StampFirstLine(std::string& line, const DateTime& now, std::string_view loops) {
    if (const auto at = line.find(kStampMark); at != std::string::npos) line.resize(at);
    line.append("# AutoUpdated: ")
        .append(DateText(now))
        .append(" ")
        .append(ClockText(now))
        .append(" Looping: ")
        .append(loops);
}

std::string DataLogPath(std::string_view scriptPath) {
    const auto name = scriptPath.find_last_of("/\\");
    const auto dot = scriptPath.rfind('.');
    std::string path(scriptPath);
    if (dot == std::string::npos || (name != std::string::npos && dot < name) ||
        dot == (name == std::string::npos ? 0 : name + 1)) {
        return path + "_DL";
    }
    path.insert(dot, "_DL");
    return path;
}

bool IsDataLogPath(std::string_view path) {
    const auto name = path.find_last_of("/\\");
    std::string_view stem = path.substr(name == std::string_view::npos ? 0 : name + 1);
    const auto dot = stem.rfind('.');
    if (dot != std::string_view::npos && dot != 0) stem = stem.substr(0, dot);
    return stem.size() > 3 && stem.ends_with("_DL");
}

}  // namespace i2cbridge
