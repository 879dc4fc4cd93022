#include "main_window/register_file_format.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <streambuf>

namespace i2cbridge {
namespace {

using Fields = std::vector<std::string>;
using Stop = RegisterFileRead::Stop;

// Commas split; leading blanks go, trailing ones and tabs stay; double quotes, eight-bit and
// NUL characters are ordinary; an empty text is one empty field.
TEST(SplitRegisterLine, SplitsAtEveryCommaAndDropsLeadingBlanks) {
    const std::pair<std::string, Fields> cases[] = {
        {"I2C ADDRESS , 60", {"I2C ADDRESS ", "60"}},
        {",,,", {"", "", "", ""}},
        {"a,,b", {"a", "", "b"}},
        {"a,", {"a", ""}},
        {"a,   ", {"a", ""}},
        {"", {""}},
        {"   Status  ,\tTab", {"Status  ", "\tTab"}},
        {"\"Status, low\",FF", {"\"Status", "low\"", "FF"}},
        {std::string("\xb5V,\xff\x00x", 6), {"\xb5V", std::string("\xff\x00x", 3)}},
    };
    for (const auto& [text, fields] : cases) EXPECT_EQ(SplitRegisterLine(text), fields) << text;
}

// What a file's lines give: line 1 is the address line when it has two fields, every later
// line a row when it has exactly four; anything else is a bad line, named and not loaded.
TEST(ReadRegisterFile, JudgesEachLineByItsPlaceAndItsFields) {
    using Rows = std::map<int, RegisterFileRow>;
    const struct {
        const char* name;
        std::string text;
        std::optional<std::string> address;
        Rows rows;
        std::vector<int> bad;
        int lines;
    } cases[] = {
        {"good",
         "I2C ADDRESS , 60\r\n00,Status,00,--\r\n,,,\r\n",
         "60",
         Rows{{0, {"00", "Status", "00", "--"}}, {1, {"", "", "", ""}}},
         {},
         3},
        {"lone LF and CR",
         "I2C ADDRESS , 3C\n00,a,b,c\r01,d,e,f",
         "3C",
         Rows{{0, {"00", "a", "b", "c"}}, {1, {"01", "d", "e", "f"}}},
         {},
         3},
        {"CR CR LF is a line end, then an empty line",
         "I2C ADDRESS , 60\r\r\n00,a,b,c\r\n",
         "60",
         Rows{{1, {"00", "a", "b", "c"}}},
         {2},
         3},
        {"too few fields and a bad address line",
         "I2C ADDRESS , 60, 61\r\n00,a,b\r\n01,x,y,z\r\n",
         std::nullopt,
         Rows{{1, {"01", "x", "y", "z"}}},
         {1, 2},
         3},
        {"a script is no definitions file",
         "# gain test\r\n00, 12, 34\r\n`D 10\r\n",
         std::nullopt,
         Rows{},
         {1, 2, 3},
         3},
        {"empty", "", std::nullopt, Rows{}, {}, 0},
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
        EXPECT_EQ(read.isDefinitionsFile(), !c.rows.empty());
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

// A line longer than any definitions file holds (a binary file) is a bad line, not kept whole.
TEST(ReadRegisterFile, AnEndlessLineIsABadLine) {
    std::istringstream in("I2C ADDRESS , 60\r\n" + std::string(200000, 'x') + ",a,b,c\r\n00,a,b,c");
    const RegisterFileRead read = ReadRegisterFile(in);
    EXPECT_EQ(read.badLines, (std::vector<int>{2}));
    EXPECT_EQ(read.rows[1], (RegisterFileRow{"00", "a", "b", "c"}));
}

// A stream whose source fails after a number of bytes, as a file on a failing disk does.
class FailingBuffer : public std::streambuf {
public:
    FailingBuffer(std::string text, std::size_t failAfter)
        : text_(std::move(text)), failAfter_(failAfter) {}

protected:
    int_type underflow() override {
        if (pos_ >= failAfter_) throw std::ios_base::failure("read error");
        if (pos_ >= text_.size()) return traits_type::eof();
        return traits_type::to_int_type(text_[pos_]);
    }
    int_type uflow() override {
        const int_type c = underflow();
        if (!traits_type::eq_int_type(c, traits_type::eof())) ++pos_;
        return c;
    }

private:
    std::string text_;
    std::size_t failAfter_;
    std::size_t pos_ = 0;
};

TEST(ReadRegisterFile, AFailingStreamIsAReadErrorNotAnEndOfFile) {
    // Fails inside the description of row 0, after one line.
    const std::string text = "I2C ADDRESS , 60\r\n00,Status,00,--\r\n";
    FailingBuffer buffer(text, text.find("00,") + 5);
    std::istream in(&buffer);
    const RegisterFileRead read = ReadRegisterFile(in);
    EXPECT_EQ(read.stop, Stop::ReadError);
    EXPECT_EQ(read.lines, 1);
    EXPECT_EQ(read.address, "60");
}

// The address starts in column 15; the four texts are joined with single commas.
TEST(RegisterFileWriter, AddressAndRowLinesKeepTheirTextsAsTheyAre) {
    EXPECT_EQ(
        (Fields{RegisterFileAddressLine("60"), RegisterFileAddressLine(""),
                RegisterFileAddressLine("1c0 "), RegisterFileRowLine({"00", "Status", "00", "--"}),
                RegisterFileRowLine({"", "", "", ""}),
                RegisterFileRowLine({"01", " a, \"b\" ", "", "8F"})}),
        (Fields{"I2C ADDRESS , 60\r\n", "I2C ADDRESS , \r\n", "I2C ADDRESS , 1c0 \r\n",
                "00,Status,00,--\r\n", ",,,\r\n", "01, a, \"b\" ,,8F\r\n"}));
    EXPECT_EQ(RegisterFileAddressLine("60").find("60"), 14u);
}

TEST(RegisterFileRoundTrip, EveryTextWithoutCommasLineBreaksOrLeadingBlanksComesBack) {
    RegisterDefinitions table;
    table.address = "1c0";
    for (int k = 0; k < kRegisterFileRows; ++k) {
        table.rows[k] = {std::to_string(k), "Reg \"" + std::to_string(k) + "\" \xb5V  ",
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
