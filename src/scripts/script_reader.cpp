#include "scripts/script_reader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

#include "foundation/hex_text.h"

namespace i2cbridge {

namespace {

constexpr std::size_t kFieldCount = 11;  // fields past the third are read and ignored
constexpr int kPixelsPerCharacter = 8;
constexpr std::size_t kNarrowestCharacters = 8;
constexpr std::size_t kWidestCharacters = 208 / kPixelsPerCharacter;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsHexText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    });
}

template <typename Visit>
void ForEachLine(std::string_view text, Visit&& visit) {
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find_first_of("\r\n", start);
        if (end == std::string_view::npos) end = text.size();
        visit(text.substr(start, end - start));
        start = end;
        if (start < text.size() && text[start] == '\r') ++start;
        if (start < text.size() && text[start] == '\n') ++start;
    }
}

std::string LineNumberText(int n) {
    std::string text = std::to_string(n);
    if (text.size() < 3) text.insert(0, 3 - text.size(), '0');
    return text;
}

void RemoveSpaces(std::string& text) {
    std::erase(text, ' ');
}

// Moves a comment from the line into the row and tells whether there was one. Every blank
// before a comment goes too, so "`IE   # enable" is a command; without a comment the blanks
// stay and "`IE " is not.
bool SplitComment(std::string& line, ScriptRow& row) {
    const auto hash = line.find('#');
    if (hash == std::string::npos) return false;
    row.Comment = line.substr(hash);
    line.erase(hash);
    RemoveSpaces(line);
    return true;
}

// A one-character field (and, for data, a three-character one) gets a leading zero so the
// last pair of digits is whole.
std::string PaddedField(const std::string& field, bool padThree) {
    std::string text = field.size() == 1 || (padThree && field.size() == 3) ? "0" + field : field;
    return UpperCase(text);
}

std::optional<int16_t> DelayMilliseconds(std::string_view text) {
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty()) return std::nullopt;
    int32_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        // Past 32768 the value cannot come back into range; stop before it can overflow.
        value = std::min<int32_t>(value * 10 + (c - '0'), 32769);
    }
    if (negative) value = -value;
    if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max())
        return std::nullopt;
    return static_cast<int16_t>(value);
}

class Reader {
public:
    Reader(uint8_t windowWriteAddress, std::size_t expectedRows)
        : curI2CAdr_(HexText(windowWriteAddress)) {
        load_.rows.reserve(expectedRows);
        load_.ScriptLines.reserve(expectedRows);
    }

    // skip: leading bytes that are no part of the fields (a byte-order mark).
    void ReadLine(std::string_view raw, int n, std::size_t skip = 0) {
        ScriptRow& row = load_.rows.emplace_back();
        load_.ScriptLines.emplace_back(raw);
        row.Operation = "NOP";
        row.I2CAdr = curI2CAdr_;
        line_ = n;

        std::string line(raw.substr(skip));
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == '\t' || c == '\x0F'; }, ' ');
        if (line.empty()) {
            row.Comment = "Script File has a blank line";
        } else if (line.front() == kCommandPrefix) {
            CommandLine(line, row, n);
        } else {
            DataLine(line, row);
        }
        row.Line = LineNumberText(n);
    }

    // A line past the row limit: no row, but its bytes stay, so a write-back keeps it.
    void KeepLine(std::string_view raw) { load_.ScriptLines.emplace_back(raw); }

    ScriptLoad Finish(std::size_t linesInFile) {
        if (load_.EndMainLine == 0) load_.EndMainLine = static_cast<int16_t>(load_.rows.size());
        load_.linesInFile = linesInFile;
        load_.truncated = linesInFile > static_cast<std::size_t>(kMaxScriptLines);
        if (load_.truncated) {
            remark(kMaxScriptLines + 1, RemarkKind::PastLineLimit,
                   "Lines " + std::to_string(kMaxScriptLines + 1) + " to " +
                       std::to_string(linesInFile) + " not loaded: a script has at most " +
                       std::to_string(kMaxScriptLines) + " lines");
        }
        return std::move(load_);
    }

    void remark(int line, RemarkKind kind, std::string text) {
        load_.remarks.push_back({line, kind, std::move(text)});
    }

private:
    void DataLine(std::string& line, ScriptRow& row) {
        if (SplitComment(line, row) && line.empty()) return;  // a comment row

        RemoveSpaces(line);
        SplitFields(line, fields_, ',');
        std::string notHex;
        for (std::size_t i = 0; i < 3; ++i) {
            if (!IsHexText(fields_[i])) notHex += (notHex.empty() ? "" : " ") + fields_[i];
        }
        if (!notHex.empty())
            remark(line_, RemarkKind::NotHexadecimal, "Not hexadecimal: " + notHex);

        row.RegAdr = PaddedField(fields_[0], false);
        if (row.RegAdr.size() >= 2) {
            row.RegAdrBytes = ScriptByteCount(row.RegAdr.size());
            row.Operation = " Reg:" + std::to_string(row.RegAdrBytes);
        } else {
            row.Operation.clear();
            row.Comment.insert(0, "No Internal Register");
        }

        row.DataWr = PaddedField(fields_[1], true);
        load_.widestDataWr = std::max(load_.widestDataWr, row.DataWr.size());
        if (row.DataWr.size() >= 2) {
            row.DataWrBytes = ScriptByteCount(row.DataWr.size());
            row.Operation += " W:" + std::to_string(row.DataWrBytes);
        }

        row.DataRd = PaddedField(fields_[2], true);
        load_.widestDataRd = std::max(load_.widestDataRd, row.DataRd.size());
        if (!row.DataRd.empty()) {
            ++load_.TotalReads;
            row.ActRd = "--";
        }
        if (row.DataRd.size() >= 2) {
            row.DataRdBytes = ScriptByteCount(row.DataRd.size());
            row.Operation += " R:" + std::to_string(row.DataRdBytes);
        }
    }

    // The tests below are made one after the other on the same text; no test excludes a later
    // one. Letters are matched exactly: "`a5" is no command.
    void CommandLine(std::string& text, ScriptRow& row, int n) {
        row.Operation = "Cmd:";
        SplitComment(text, row);
        const std::string_view command = std::string_view(text).substr(1);  // after the prefix
        const char letter = command.empty() ? '\0' : command.front();
        const std::string_view argument = command.empty() ? command : command.substr(1);

        if (letter == 'A') {
            row.Operation = "Cmd:Set I2C Adr";
            if (argument.size() == 2) {
                curI2CAdr_ = UpperCase(argument);
                row.I2CAdr = curI2CAdr_;
            } else {
                // Only the last character counts, and only from the next row on.
                curI2CAdr_ = "0" + UpperCase(command.substr(command.size() - 1));
            }
        }
        if (letter == 'w' && argument.empty()) {
            row.Operation = "Cmd: Delay Keypress";
            row.StepDelay = -1;
        }
        if (letter == 'w' && !argument.empty()) {
            const std::string time = UpperCase(argument);
            if (const auto ms = DelayMilliseconds(time)) {
                row.Operation = "Cmd:Delay :" + time + ": mSec";
                row.StepDelay = *ms;
            } else {
                row.StepDelay = 0;
                row.Operation = "Error Delay_Time";
                row.Comment += "Delay Error: Time not numeric";
                row.operationRed = row.commentRed = true;
            }
        }
        if (letter == 'S' && argument.empty()) row.Operation = "Cmd: Save File";
        if (letter == 'G' && (argument.size() == 4 || argument.size() == 8)) {
            const std::string digits = UpperCase(argument);
            row.Operation = "Cmd: GPIO:" + digits;
            row.I2CAdr = "GPIO";
            row.DataWr = row.DataRd = digits;
            if (!IsHexText(digits)) {
                remark(n, RemarkKind::NotHexadecimal, "Not hexadecimal: " + digits);
            }
            row.DataWrBytes = row.DataRdBytes = static_cast<int16_t>(argument.size() / 2);
        }
        if (command == "IE") row.Operation = "Cmd: Int Enable";
        if (command == "ID") row.Operation = "Cmd: Int Disable";
        if (command == "ENDM") {
            row.Operation = "Cmd: End Main";
            load_.EndMainLine = static_cast<int16_t>(n);
        }
        if (command == "EISTART") {
            row.Operation = "Cmd: Int Start";
            load_.IntStartLine = static_cast<int16_t>(n);
        }
        if (command == "EIEND") {
            row.Operation = "Cmd: Int End";
            load_.IntEndLine = static_cast<int16_t>(n);
        }
    }

    ScriptLoad load_;
    std::string curI2CAdr_;
    std::array<std::string, kFieldCount> fields_;
    int line_ = 0;
};

}  // namespace

ScriptLoad ReadScript(std::string_view text, uint8_t windowWriteAddress) {
    // An upper bound on the rows (CR LF counts twice), so the tables are never reallocated.
    const auto lineEnds = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }));
    Reader reader(windowWriteAddress,
                  std::min(lineEnds + 1, static_cast<std::size_t>(kMaxScriptLines)));
    std::size_t lines = 0;
    const std::size_t mark = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
    if (mark != 0) reader.remark(1, RemarkKind::ByteOrderMark, "UTF-8 byte-order mark skipped");
    ForEachLine(text, [&](std::string_view line) {
        ++lines;
        if (lines <= static_cast<std::size_t>(kMaxScriptLines)) {
            reader.ReadLine(line, static_cast<int>(lines), lines == 1 ? mark : 0);
        } else {
            reader.KeepLine(line);
        }
    });
    return reader.Finish(lines);
}

std::vector<std::string> SplitScriptLines(std::string_view text) {
    std::vector<std::string> lines;
    ForEachLine(text, [&](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

int16_t ScriptByteCount(std::size_t length) {
    std::size_t bytes = length / 2;
    if (length % 2 == 1 && bytes % 2 == 1) ++bytes;  // x.5 goes to the even neighbour
    return static_cast<int16_t>(std::min<std::size_t>(bytes, std::numeric_limits<int16_t>::max()));
}

int ScriptDataColumnWidth(std::size_t widestCharacters) {
    const auto characters =
        std::clamp<std::size_t>(widestCharacters, kNarrowestCharacters, kWidestCharacters);
    return static_cast<int>(characters) * kPixelsPerCharacter;
}

}  // namespace i2cbridge
