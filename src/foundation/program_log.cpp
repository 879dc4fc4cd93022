#include "foundation/program_log.h"

#include <cstdio>

namespace i2cbridge {

void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now) {
    if (clear) box.clear();
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, " :%02d-%02d-%04d %02d:%02d:%02d", now.month, now.day,
                  now.year, now.hour, now.minute, now.second);
    std::string entry;
    entry.reserve(text.size() + 21 + 2 * suffix.size());
    entry.append(text).append(stamp).append(suffix).append(suffix);
    box.append(entry);
}

ProgramLog::ProgramLog(UiPump& clock, const ColorSet& colors, std::function<LogPanel&()> panel)
    : clock_(clock), colors_(colors), panel_(std::move(panel)) {}

void ProgramLog::LogMessage(std::string_view text, std::string_view suffix) {
    LogPanel& panel = panel_();
    AppendLogLine(panel.Txtlog, text, suffix, false, clock_.now());
    panel.shpLogStatus.setColor(LogErrorFlag ? colors_.lightRed() : colors_.lightGreen());
    tell(text);
}

void ProgramLog::LogError(std::string_view text) {
    LogErrorFlag = true;
    LogPanel& panel = panel_();
    panel.shpLogStatus.setColor(colors_.lightRed());
    AppendLogLine(panel.Txtlog, text, kCrLf, false, clock_.now());
    tell(text);
}

void ProgramLog::LogNote(std::string_view text) {
    AppendLogLine(panel_().Txtlog, text, kCrLf, false, clock_.now());
    tell(text);
}

void ProgramLog::Clear() {
    panel_().Txtlog.clear();
    if (onNewestEntry) onNewestEntry({});
}

}  // namespace i2cbridge
