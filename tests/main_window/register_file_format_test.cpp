#include "main_window/register_file_format.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <streambuf>

namespace i2cbridge {
namespace {

using Stop = RegisterFileRead::Stop;

// Line 1 is the address line when it has two fields, every later line a row when it has
// exactly four; anything else is a bad line, named and not loaded. Lines end at CR LF, LF or CR.
TEST(ReadRegisterFile, JudgesEachLineByItsPlaceAndItsFields) {
    using Rows = std::map<int, RegisterFileRow>;
    const RegisterFileRow abc{"00", "a", "b", "c"};
    const struct {
        const char* name;
        std::string text;
        std::optional<std::string> address;
        Rows rows;
        std::vector<int> bad;
        int lines;
    } cases[] = {
        // clang-format off
        {"good", "I2C ADDRESS , 60\r\n00,a,b,c\r\n,,,\r\n", "60", {{0, abc}, {1, {}}}, {}, 3},
        {"lone LF and CR", "X , 3C\n00,a,b,c\r00,a,b,c", "3C", {{0, abc}, {1, abc}}, {}, 3},
        {"CR CR LF: a line end, then an empty line", "A , 60\r\r\n00,a,b,c", "60", {{1, abc}}, {2}, 3},
        {"fields too few or too many", "A,60,61,62\r\n00,a,b\r\n00,a,b,c\r\n", {}, {{1, abc}}, {1, 2}, 3},
        {"a script", "# gain test\r\n00, 12, 34\r\n`D 10\r\n", {}, {}, {1, 2, 3}, 3},
        {"empty", "", {}, {}, {}, 0},
        // A line longer than any definitions file holds (a binary file) is bad, not kept whole.
        {"endless line", "A , 60\r\n" + std::string(200000, 'x') + ",a,b,c\r\n00,a,b,c", "60", {{1, abc}}, {2}, 3},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::istringstream in(c.text);
        const RegisterFileRead read = ReadRegisterFile(in);
        Rows rows;
        for (int k = 0; k < kRegisterFileRows; ++k)
            if (read.rows[k]) rows[k] = *read.rows[k];
        EXPECT_EQ(read.address, c.address);
        EXPECT_EQ(rows, c.rows);
        EXPECT_EQ(read.badLines, c.bad);
        EXPECT_EQ(read.lines, c.lines);
        EXPECT_EQ(read.stop, Stop::EndOfFile);
    }
}

TEST(ReadRegisterFile, StopsAfterLine33AndLeavesTheRestUnread) {
    std::string text = "I2C ADDRESS , 60\r\n";
    for (int k = 0; k < kRegisterFileRows; ++k) text += std::to_string(k) + ",d,w,r\r\n";
    std::istringstream in(text + "beyond,more\r\n");
    const RegisterFileRead read = ReadRegisterFile(in);
    EXPECT_EQ(read.stop, Stop::Complete);
    EXPECT_EQ(read.lines, kRegisterFileLines);
    EXPECT_EQ(read.rows[31], (RegisterFileRow{"31", "d", "w", "r"}));
    std::string rest;
    std::getline(in, rest);
    EXPECT_EQ(rest, "beyond,more\r");
}

// A stream whose source fails once its text is used up, as a file on a failing disk does.
struct FailingBuffer : std::streambuf {
    explicit FailingBuffer(std::string t) : text(std::move(t)) {
        setg(text.data(), text.data(), text.data() + text.size());
    }
    int_type underflow() override { throw std::ios_base::failure("read error"); }
    std::string text;
};

TEST(ReadRegisterFile, AFailingStreamIsAReadErrorNotAnEndOfFile) {
    FailingBuffer buffer("I2C ADDRESS , 60\r\n00,Sta");  // fails in row 0
    std::istream in(&buffer);
    const RegisterFileRead read = ReadRegisterFile(in);
    EXPECT_EQ(std::tuple(read.stop, read.lines, read.address),
              std::tuple(Stop::ReadError, 1, "60"));
}

// Double quotes, tabs, eight-bit and NUL characters are ordinary; trailing blanks stay.
TEST(RegisterFileRoundTrip, EveryTextWithoutCommasLineBreaksOrLeadingBlanksComesBack) {
    RegisterDefinitions table;
    table.address = "1c0 ";
    for (int k = 0; k < kRegisterFileRows; ++k) {
        table.rows[k] = {std::to_string(k), "\tReg \"" + std::to_string(k) + "\" \xb5V\0  ",
                         k % 3 == 0 ? "" : "G5", k % 2 == 0 ? "--" : "8F"};
    }
    std::istringstream in(FormatRegisterFile(table));
    const RegisterFileRead read = ReadRegisterFile(in);
    EXPECT_EQ(read.stop, Stop::Complete);
    EXPECT_TRUE(read.badLines.empty());
    EXPECT_EQ(DefinitionsFrom(read), table);
}

}  // namespace
}  // namespace i2cbridge
