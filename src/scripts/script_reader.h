#pragma once

// Reading a script: text in, grid rows and load state out. Nothing here touches a window, a
// file or the log, so the script window, the command line, the tests and the fuzzer all read
// scripts the same way.
//
// The text is 8-bit; a character is a byte for every length, width and count. Lines end at
// CR LF, a lone CR or a lone LF, and a line end at the very end of the text does not start
// another line: "A\r\n" is one line, "\r\n" one empty line, and an empty text no line at all
// (no rows, EndMainLine 0).
//
// Only the first kMaxScriptLines lines become rows; the rest are kept in ScriptLines, counted
// in linesInFile and flag the load as truncated so the window can say so.
//
// A UTF-8 byte-order mark at the start of the text is no part of line 1's fields: it is
// skipped (and kept in ScriptLines, so that a write-back keeps it). The reader lists what it
// could not read cleanly (the mark, data fields that are not hexadecimal, lines past the
// limit) in `remarks`; the rows stay as the plain rules make them.
//
// A delay command's time is a decimal integer with an optional sign. A value outside the
// signed 16-bit range is a delay error like any other non-numeric time. Negative times are
// kept as written: -1 is the keypress pause, and smaller values are neither a pause nor a
// delay when the row runs.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace i2cbridge {

inline constexpr int kMaxScriptLines = 1000;
inline constexpr char kCommandPrefix = '`';

// One script line as the grid shows it. Execution reads the cell texts back, so they are the
// step's data and not only its display.
struct ScriptRow {
    // The eight grid cells, in column order.
    std::string Line, I2CAdr, RegAdr, DataWr, DataRd, ActRd, Operation, Comment;
    int16_t RegAdrBytes = 0, DataWrBytes = 0, DataRdBytes = 0;
    // 0 none, > 0 milliseconds, -1 wait for a keypress.
    int16_t StepDelay = 0;
    // A bad delay time paints the Operation and Comment cells red.
    bool operationRed = false, commentRed = false;

    bool operator==(const ScriptRow&) const = default;
};

// A line the reader could not read cleanly.
enum class RemarkKind {
    NotHexadecimal,  // a data field, or a GPIO command's digits, hold other characters
    ByteOrderMark,   // the text starts with a UTF-8 byte-order mark (skipped)
    PastLineLimit,   // lines past kMaxScriptLines: kept, not loaded
};

struct ScriptRemark {
    int line = 0;  // from 1
    RemarkKind kind = RemarkKind::NotHexadecimal;
    // "Not hexadecimal: ZZ QQ", "UTF-8 byte-order mark skipped", "Lines 1001 to 1200 not
    // loaded: a script has at most 1000 lines"
    std::string text;

    bool operator==(const ScriptRemark&) const = default;
};

struct ScriptLoad {
    std::vector<ScriptRow> rows;  // rows[n - 1] is line n
    // Every line's bytes exactly as read, without its line end: line n is ScriptLines[n - 1]
    // for row n, so the write-back of measured data edits the lines the rows came from; lines
    // past the row limit are kept too, so that a write-back loses none of them.
    std::vector<std::string> ScriptLines;
    int TotalReads = 0;  // rows of a data line with expected read data
    // Line numbers, 0 for none; the last of each command counts. Without an End Main command
    // EndMainLine is the number of rows.
    int16_t EndMainLine = 0, IntStartLine = 0, IntEndLine = 0;
    // Widest Data_Wr and Data_Rd text of the data lines, in characters, never below 2.
    std::size_t widestDataWr = 2, widestDataRd = 2;
    std::size_t linesInFile = 0;        // every line of the text, also those past the limit
    bool truncated = false;             // the text had more than kMaxScriptLines lines
    std::vector<ScriptRemark> remarks;  // by line number

    bool operator==(const ScriptLoad&) const = default;
};

// windowWriteAddress is the I2C write address in force when the load starts; rows before the
// first set-address command show it as upper-case hex without leading zeros (0x0A is "A").
ScriptLoad ReadScript(std::string_view text, uint8_t windowWriteAddress);

// The text's lines without their line ends, by the line rules above.
std::vector<std::string> SplitScriptLines(std::string_view text);

// Bytes in a hex field of `length` characters: half the length, a half rounded to even
// (3 gives 2, 5 gives 2, 7 gives 4). Lengths past the 16-bit range give 32767.
int16_t ScriptByteCount(std::size_t length);

// Pixel width of the Data_Wr column (or the Data_Rd and Act_Rd columns) for the widest text in
// it: 8 pixels a character, never narrower than 8 characters nor wider than 208 pixels.
int ScriptDataColumnWidth(std::size_t widestCharacters);

}  // namespace i2cbridge
