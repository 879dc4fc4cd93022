#include "scripts/script_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "scripts/script_record_text.h"

namespace i2cbridge {
namespace {

ScriptLoad Read(const std::vector<std::string>& lines, uint8_t address = 0x60) {
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    return ReadScript(text, address);
}

// The cells and numbers of one row; Line and I2C Adr are checked where they matter.
struct Cells {
    std::string text, RegAdr, DataWr, DataRd, ActRd, Operation, Comment;
    int16_t regBytes = 0, wrBytes = 0, rdBytes = 0, delay = 0;
    bool operator==(const Cells&) const = default;
};
// A delay error paints the operation and the comment red, nothing else does.
void ExpectCells(const ScriptRow& r, const Cells& want) {
    EXPECT_EQ((Cells{want.text, r.RegAdr, r.DataWr, r.DataRd, r.ActRd, r.Operation, r.Comment,
                     r.RegAdrBytes, r.DataWrBytes, r.DataRdBytes, r.StepDelay}),
              want)
        << want.text;
    const bool delayError = want.Operation == "Error Delay_Time";
    EXPECT_EQ(std::pair(r.operationRed, r.commentRed), std::pair(delayError, delayError))
        << want.text;
}

// Byte counts round half to even, and stop at the largest count a row holds.
TEST(ScriptReader, ByteCounts) {
    const int16_t bytes[] = {0, 0, 1, 2, 2, 2, 3, 4, 4, 4, 5, 6};
    for (std::size_t length = 0; length < std::size(bytes); ++length)
        EXPECT_EQ(ScriptByteCount(length), bytes[length]) << length;
    EXPECT_EQ(ScriptByteCount(std::size_t{1} << 40), 32767);
}

TEST(ScriptReader, OneLineMakesOneRow) {
    const std::string delayError = "Delay Error: Time not numeric";
    const Cells cases[] = {
        {"5,7,9", "05", "07", "09", "--", " Reg:1 W:1 R:1", "", 1, 1, 1},
        {"1234,ABCDEF", "1234", "ABCDEF", "", "", " Reg:2 W:3", "", 2, 3},
        {",AA", "", "AA", "", "", " W:1", "No Internal Register", 0, 1},
        {"1,abc", "01", "0ABC", "", "", " Reg:1 W:2", "", 1, 2},
        {"a, b c ,\td\t# note", "0A", "BC", "0D", "--", " Reg:1 W:1 R:1", "# note", 1, 1, 1},
        {",,123 # x", "", "", "0123", "--", " R:2", "No Internal Register# x", 0, 0, 2},
        {"  # only a comment", "", "", "", "", "NOP", "# only a comment"},
        {" `IE", "`IE", "", "", "", " Reg:2", "", 2},  // a command must start in column one
        // Commands, and lines that are nearly one: one row per rule.
        {"`IE", "", "", "", "", "Cmd: Int Enable", ""},
        {"`IE ", "", "", "", "", "Cmd:", ""},
        {"`ID", "", "", "", "", "Cmd: Int Disable", ""},
        {"`ENDM", "", "", "", "", "Cmd: End Main", ""},
        // Code 15 turns into blanks, which a comment removes (found by the fuzzer).
        {"`\017\017ENDM\017 #c", "", "", "", "", "Cmd: End Main", "#c"},
        {"`a5", "", "", "", "", "Cmd:", ""},
        {"`G12345678", "", "12345678", "12345678", "", "Cmd: GPIO:12345678", "", 0, 4, 4},
        {"`G123", "", "", "", "", "Cmd:", ""},
        {"`w", "", "", "", "", "Cmd: Delay Keypress", "", 0, 0, 0, -1},
        {"`w100 # pause", "", "", "", "", "Cmd:Delay :100: mSec", "# pause", 0, 0, 0, 100},
        {"`w32767", "", "", "", "", "Cmd:Delay :32767: mSec", "", 0, 0, 0, 32767},
        {"`w32768", "", "", "", "", "Error Delay_Time", delayError},
        {"`wx # c", "", "", "", "", "Error Delay_Time", "# c" + delayError},
    };
    for (const Cells& c : cases) {
        const ScriptLoad load = Read({c.text});
        ASSERT_EQ(load.rows.size(), 1u);
        ExpectCells(load.rows[0], c);
        EXPECT_EQ(load.rows[0].I2CAdr, c.Operation.starts_with("Cmd: GPIO") ? "GPIO" : "60");
        EXPECT_EQ(load.TotalReads, c.ActRd.empty() ? 0 : 1) << c.text;
    }
}

TEST(ScriptReader, RowsCarryTheAddressInForce) {
    const ScriptLoad load = Read({"1,2", "`A5", "1,2", "`A", "1,2", "`Aab # x", "1,2", "`A123",
                                  "1,2", "`a7", "`G1234", "1,2"});
    const std::vector<std::string> want = {"60", "60", "05", "05", "0A",   "AB",
                                           "AB", "AB", "03", "03", "GPIO", "03"};
    ASSERT_EQ(load.rows.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) EXPECT_EQ(load.rows[i].I2CAdr, want[i]) << i;

    const std::pair<uint8_t, std::string> window[] = {{0x0A, "A"}, {0, "0"}, {0xFF, "FF"}};
    for (const auto& [address, text] : window) EXPECT_EQ(Read({"1"}, address).rows[0].I2CAdr, text);
}

TEST(ScriptReader, LineEnds) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"", {}},
        {"\r\n", {""}},
        {"A\rB\r", {"A", "B"}},
        {"A\n\rB", {"A", "", "B"}},
    };
    for (const auto& [text, lines] : cases) {
        EXPECT_EQ(SplitScriptLines(text), lines);
        const ScriptLoad load = ReadScript(text, 0x60);
        EXPECT_EQ(load.ScriptLines, lines);
        EXPECT_EQ(std::tuple(load.rows.size(), load.linesInFile, std::size_t(load.EndMainLine)),
                  std::tuple(lines.size(), lines.size(), lines.size()));
    }
    const ScriptRow blank = ReadScript("\r\n", 0x60).rows[0];
    EXPECT_EQ(blank.Line + blank.Operation + blank.Comment, "001NOPScript File has a blank line");
}

TEST(ScriptReader, StopsAtLineOneThousand) {
    std::vector<std::string> lines(1000, "01,02,03");
    EXPECT_FALSE(Read(lines).truncated);
    lines.push_back("`ENDM");  // past the limit: kept for a write-back, but no row
    const ScriptLoad load = Read(lines);
    EXPECT_EQ(std::tuple(load.ScriptLines, load.remarks.at(0).text, load.truncated,
                         load.linesInFile, load.rows.size(), load.EndMainLine),
              std::tuple(lines, "Lines 1001 to 1001 not loaded: a script has at most 1000 lines",
                         true, 1001u, 1000u, 1000));
}

TEST(ScriptReader, KeepsLineBytesExactly) {
    const std::string line = "\xE9\xFF,\t\x0F\x80 # \xFC\t";
    const ScriptLoad load = ReadScript(line + "\n", 0x60);
    EXPECT_EQ(load.ScriptLines, std::vector<std::string>{line});
    EXPECT_EQ(load.rows[0].RegAdr + load.rows[0].DataWr + load.rows[0].Comment,
              "\xE9\xFF"
              "0\x80# \xFC ");
}

// What the rules above read without a word, listed with the line, the rows unchanged (0-9,
// a-f and A-F are hexadecimal digits).
TEST(ScriptReader, RemarksListWhatCouldNotBeReadCleanly) {
    const std::string bom = "\xEF\xBB\xBF";
    const auto notHex = RemarkKind::NotHexadecimal;
    const struct {
        std::string text;
        std::vector<ScriptRemark> remarks;
    } cases[] = {
        {"ZZ,QQ,RR\r\n", {{1, notHex, "Not hexadecimal: ZZ QQ RR"}}},
        {"09,,5a\r\n01,0x12,3C # zz\r\n", {{2, notHex, "Not hexadecimal: 0x12"}}},
        {"`GZZ12\r\n", {{1, notHex, "Not hexadecimal: ZZ12"}}},
        {bom + "02,,5A\r\n", {{1, RemarkKind::ByteOrderMark, "UTF-8 byte-order mark skipped"}}},
    };
    for (const auto& c : cases) EXPECT_EQ(ReadScript(c.text, 0x60).remarks, c.remarks) << c.text;
    // The mark stays in the line a write-back writes.
    EXPECT_EQ(ReadScript(bom + "02,,5A\r\n", 0x60).ScriptLines[0], bom + "02,,5A");
}

TEST(ScriptReader, LastEndMainAndInterruptLinesCount) {
    std::vector<std::string> lines(30, "00,11");
    lines[4] = lines[11] = "`ENDM";
    lines[13] = lines[19] = "`EISTART";
    lines[17] = lines[24] = "`EIEND";
    const ScriptLoad load = Read(lines);
    const ScriptLoad plain = Read(std::vector<std::string>(30, "00,11"));
    EXPECT_EQ((std::vector<int>{load.EndMainLine, load.IntStartLine, load.IntEndLine,
                                plain.EndMainLine, plain.IntStartLine, plain.IntEndLine}),
              (std::vector<int>{12, 20, 25, 30, 0, 0}));
}

// --- Writing measured data back -----------------------------------------------------------

TEST(RecordText, ExpectedDataIsReplacedAndEverythingElseKept) {
    const struct {
        const char *line, *actual, *written;
    } cases[] = {
        {"10,,3C # id", "3D", "10,,3D # id"},
        {"10,,5", "05", "10,,05"},  // shorter expected data than the data read
        {"10,, 3c   # blanks stay", "3D", "10,, 3D   # blanks stay"},
        {"0010,,AABBCCDD#c", "00112233", "0010,,00112233#c"},
        {"10,3C", "3D", "10,3C"},  // no third field: left alone
    };
    for (const auto& c : cases) {
        std::string line = c.line;
        ReplaceExpectedData(line, c.actual);
        EXPECT_EQ(line, c.written) << c.line;
    }
}

// The stamp in line 1 of a script written back replaces an earlier one.
TEST(RecordText, StampReplacesAnEarlierOneOnLineOne) {
    std::string line = "# bench test";
    StampFirstLine(line, {2010, 4, 29, 10, 15, 0}, "0");
    EXPECT_EQ(line, "# bench test# AutoUpdated: 04-29-2010 10:15:00 Looping: 0");
    StampFirstLine(line, {2010, 4, 29, 10, 16, 5}, "12");
    EXPECT_EQ(line, "# bench test# AutoUpdated: 04-29-2010 10:16:05 Looping: 12");
}

TEST(RecordText, DataLogGoesBeforeTheExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"/tests/a1.txt", "/tests/a1_DL.txt"},
        {"/tests/a1", "/tests/a1_DL"},
        {"/tests.d/a1", "/tests.d/a1_DL"},
        {"C:\\tests\\a1.txt", "C:\\tests\\a1_DL.txt"},
    };
    for (const auto& [script, log] : cases) {
        EXPECT_EQ(DataLogPath(script), log) << script;
        EXPECT_EQ(std::pair(IsDataLogPath(script), IsDataLogPath(log)), std::pair(false, true));
    }
}

}  // namespace
}  // namespace i2cbridge
