// Feeds arbitrary bytes to the script reader and checks what must hold for any text: one row
// per line up to the limit, the lines kept byte for byte, byte counts that match their cells,
// cells that come from their own line, line numbers that point at their commands, and remarks
// that name real lines.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "scripts/script_reader.h"

using namespace i2cbridge;

namespace {

void Check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "script reader fuzz: %s\n", what);
    std::abort();
}

// The text with every line end made a lone LF and one final line end dropped.
std::string Normalised(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r') {
            out += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            out += text[i];
        }
    }
    if (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Line n as the reader parses it: a byte-order mark at the start of the text is no part of it.
std::string Parsed(const ScriptLoad& load, std::size_t index) {
    const std::string& line = load.ScriptLines[index];
    return index == 0 && line.starts_with(kByteOrderMark) ? line.substr(kByteOrderMark.size())
                                                          : line;
}

bool IsPrefixOf(std::string_view part, std::string_view whole) {
    return whole.substr(0, part.size()) == part;
}

// A hex cell is its line's field with blanks gone, maybe a leading "0", upper-cased: it can
// never be longer than the line plus that zero.
void CheckCell(const std::string& cell, int16_t bytes, const std::string& line) {
    Check(cell.size() != 1, "a one-character hex cell was not padded");
    Check(bytes == ScriptByteCount(cell.size()), "a byte count disagrees with its cell");
    Check(cell.size() <= line.size() + 1, "a cell is longer than its line");
}

// A command line as the reader matches it: tabs and code 15 are blanks, and with a comment
// every blank before the "#" goes.
std::string CommandText(std::string line) {
    for (char& c : line) {
        if (c == '\t' || c == '\x0F') c = ' ';
    }
    const auto hash = line.find('#');
    if (hash == std::string::npos) return line;
    line.resize(hash);
    std::erase(line, ' ');
    return line;
}

void CheckLineNumber(int16_t line, const ScriptLoad& load, std::string_view command) {
    if (line == 0) return;
    Check(line >= 1 && static_cast<std::size_t>(line) <= load.rows.size(), "line out of range");
    Check(CommandText(Parsed(load, static_cast<std::size_t>(line) - 1)) == command,
          "a line number points at another command");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const uint8_t window = size > 0 ? data[0] : 0x60;
    const ScriptLoad load = ReadScript(text, window);

    const auto lines = SplitScriptLines(text);
    const std::size_t limit = kMaxScriptLines;
    Check(load.linesInFile == lines.size(), "lines counted differently");
    Check(load.truncated == (lines.size() > limit), "truncation flag is wrong");
    Check(load.rows.size() == std::min(lines.size(), limit), "not one row per line");
    Check(load.ScriptLines == lines, "a line was not kept as read");

    if (!load.truncated) {
        std::string joined;
        for (std::size_t i = 0; i < load.ScriptLines.size(); ++i) {
            Check(load.ScriptLines[i].find_first_of("\r\n") == std::string::npos,
                  "a line holds a line end");
            if (i > 0) joined += '\n';
            joined += load.ScriptLines[i];
        }
        Check(joined == Normalised(text), "the lines do not make up the text");
    }

    int reads = 0;
    std::size_t widestWr = 2, widestRd = 2;
    for (std::size_t i = 0; i < load.rows.size(); ++i) {
        const ScriptRow& row = load.rows[i];
        const std::string line = Parsed(load, i);
        std::string number = std::to_string(i + 1);
        if (number.size() < 3) number.insert(0, 3 - number.size(), '0');
        Check(row.Line == number, "wrong Line cell");
        Check(!row.I2CAdr.empty() && (row.I2CAdr.size() <= 2 || row.I2CAdr == "GPIO"),
              "bad I2C Adr");

        CheckCell(row.RegAdr, row.RegAdrBytes, line);
        CheckCell(row.DataWr, row.DataWrBytes, line);
        CheckCell(row.DataRd, row.DataRdBytes, line);

        const bool command = !line.empty() && line.front() == kCommandPrefix;
        const bool gpio = row.I2CAdr == "GPIO";
        Check(gpio == IsPrefixOf("Cmd: GPIO:", row.Operation), "GPIO address without its step");
        if (command) {
            Check(IsPrefixOf("Cmd:", row.Operation) || row.Operation == "Error Delay_Time",
                  "a command row without a command operation");
            Check(row.RegAdr.empty() && row.ActRd.empty(), "a command row has data cells");
            Check(gpio || (row.DataWr.empty() && row.DataRd.empty()), "a command has data");
        } else {
            Check(row.StepDelay == 0, "a data line has a delay");
            Check(row.DataRd.size() != 3 && row.DataWr.size() != 3, "a 3-character data cell");
            Check(row.ActRd == (row.DataRd.empty() ? "" : "--"), "Act_Rd does not follow Data_Rd");
            reads += row.DataRd.empty() ? 0 : 1;
            widestWr = std::max(widestWr, row.DataWr.size());
            widestRd = std::max(widestRd, row.DataRd.size());
        }

        // A comment is its own line's tail from the first "#", with the loader's remarks.
        const auto hash = line.find('#');
        std::string comment = hash == std::string::npos ? "" : line.substr(hash);
        std::replace(comment.begin(), comment.end(), '\t', ' ');
        std::replace(comment.begin(), comment.end(), '\x0F', ' ');
        Check(row.Comment == comment || row.Comment == "No Internal Register" + comment ||
                  row.Comment == comment + "Delay Error: Time not numeric" ||
                  (line.empty() && row.Comment == "Script File has a blank line"),
              "a comment that is not its line's");

        const bool delayError = row.Operation == "Error Delay_Time";
        Check(row.operationRed == delayError && row.commentRed == delayError, "red cells");
        Check(!delayError || row.StepDelay == 0, "a delay error with a delay");
    }
    Check(load.TotalReads == reads, "TotalReads is not the number of reading data rows");
    Check(load.widestDataWr == widestWr && load.widestDataRd == widestRd, "widest data");

    Check(load.EndMainLine >= 0 && static_cast<std::size_t>(load.EndMainLine) <= load.rows.size(),
          "EndMainLine out of range");
    Check((load.EndMainLine == 0) == load.rows.empty(), "EndMainLine 0 with rows");
    if (static_cast<std::size_t>(load.EndMainLine) != load.rows.size()) {
        CheckLineNumber(load.EndMainLine, load, "`ENDM");
    }
    CheckLineNumber(load.IntStartLine, load, "`EISTART");
    CheckLineNumber(load.IntEndLine, load, "`EIEND");

    // Remarks in line order, on real lines: the mark on line 1, junk on data and GPIO lines, the
    // limit on the first line past it.
    int last = 0;
    for (const ScriptRemark& r : load.remarks) {
        Check(r.line >= last && r.line >= 1 && static_cast<std::size_t>(r.line) <= lines.size(),
              "a remark out of order or off the text");
        last = r.line;
        const std::size_t index = static_cast<std::size_t>(r.line) - 1;
        switch (r.kind) {
            case RemarkKind::ByteOrderMark:
                Check(r.line == 1 && text.starts_with(kByteOrderMark), "a mark remark without one");
                break;
            case RemarkKind::PastLineLimit:
                Check(load.truncated && index == limit, "a limit remark on a short text");
                break;
            case RemarkKind::NotHexadecimal:
                Check(index < load.rows.size() && (load.rows[index].I2CAdr == "GPIO" ||
                                                   Parsed(load, index).front() != kCommandPrefix),
                      "a hex remark on a command that holds no hex");
                break;
        }
    }
    Check(text.starts_with(kByteOrderMark) ==
              (!load.remarks.empty() && load.remarks[0].kind == RemarkKind::ByteOrderMark),
          "a byte-order mark not remarked");
    Check(load.truncated ==
              (!load.remarks.empty() && load.remarks.back().kind == RemarkKind::PastLineLimit),
          "a cut text not remarked");

    Check(ReadScript(text, window) == load, "two readings differ");
    return 0;
}
