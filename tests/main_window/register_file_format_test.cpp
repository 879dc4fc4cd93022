#include "main_window/register_file_format.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>

namespace i2cbridge {
namespace {

using Fields = std::vector<std::string>;

// Reads every field the reader gives, without the 130-field limit.
Fields AllFields(const std::string& text) {
    std::istringstream in(text);
    RegisterFieldReader reader(in);
    Fields fields;
    while (auto field = reader.next()) fields.push_back(*field);
    return fields;
}

// A text of n numbered fields, one line of four per row after the address line.
std::string NumberedFile(int n) {
    std::string text;
    for (int i = 0; i < n; ++i) {
        text += "f" + std::to_string(i);
        text += (i == 1 || (i > 1 && (i - 1) % 4 == 0)) ? "\r\n" : ",";
    }
    return text;
}

// Commas and line ends (CR LF, lone LF, lone CR) split; adjacent commas, a comma at a line's
// end and empty lines make empty fields; leading blanks go, trailing ones and tabs stay; double
// quotes, eight-bit and NUL characters are ordinary; the input's end closes a field, but blanks
// alone make none.
TEST(RegisterFieldReader, SplitsTheTextIntoFields) {
    const std::pair<std::string, Fields> cases[] = {
        {"I2C ADDRESS , 60\r\n00,Status,00,--\r\n",
         {"I2C ADDRESS ", "60", "00", "Status", "00", "--"}},
        {",,,\r\n", {"", "", "", ""}},
        {"a,,b", {"a", "", "b"}},
        {"a,\r\nb", {"a", "", "b"}},
        {"a\r\n\r\nb\r\n", {"a", "", "b"}},
        {"\r\n", {""}},
        {"a,b\r\nc", {"a", "b", "c"}},
        {"a,b\nc", {"a", "b", "c"}},
        {"a,b\rc", {"a", "b", "c"}},
        {"a\r\r\nb", {"a", "", "b"}},  // a line end, then an empty line
        {"a\n\rb", {"a", "", "b"}},    // two line ends, the second closing an empty line
        {"   Status  ,\tTab", {"Status  ", "\tTab"}},
        {"a,   \r\nb", {"a", "", "b"}},
        {"\"Status, low\",FF", {"\"Status", "low\"", "FF"}},
        {"\"\",x\"y\"", {"\"\"", "x\"y\""}},
        {"last", {"last"}},
        {"a,", {"a"}},
        {"a,   ", {"a"}},
        {"", {}},
        {std::string("\xb5V,\xff\x00x", 6), {"\xb5V", std::string("\xff\x00x", 3)}},
    };
    for (const auto& [text, fields] : cases) EXPECT_EQ(AllFields(text), fields) << text;
}

TEST(ReadRegisterFields, StopsAfterField130AndLeavesTheRestUnread) {
    std::istringstream in(NumberedFile(kRegisterFileFields) + "beyond,more\r\n");
    const RegisterFileFields read = ReadRegisterFields(in);
    EXPECT_EQ(read.stop, RegisterFileFields::Stop::Complete);
    std::istringstream whole(NumberedFile(kRegisterFileFields));
    EXPECT_EQ(read.fields, ReadRegisterFields(whole).fields);
    EXPECT_EQ(read.fields.back(), "f129");
    std::string rest;
    std::getline(in, rest);
    EXPECT_EQ(rest, "beyond,more\r");
}

TEST(ReadRegisterFields, TakesFieldsInOrderWhereverTheLinesBreak) {
    std::string oneFieldPerLine;
    std::string allOnOneLine;
    for (int i = 0; i < kRegisterFileFields; ++i) {
        oneFieldPerLine += "f" + std::to_string(i) + "\n";
        allOnOneLine += "f" + std::to_string(i) + ",";
    }
    std::istringstream a(oneFieldPerLine), b(allOnOneLine), c(NumberedFile(kRegisterFileFields));
    const auto fromLines = ReadRegisterFields(a).fields;
    EXPECT_EQ(fromLines, ReadRegisterFields(b).fields);
    EXPECT_EQ(fromLines, ReadRegisterFields(c).fields);
    EXPECT_EQ(fromLines.size(), 130u);
}

TEST(ReadRegisterFields, AShortFileSaysHowManyFieldsItHad) {
    for (int n : {9, 0}) {
        std::istringstream in(NumberedFile(n));
        const RegisterFileFields read = ReadRegisterFields(in);
        EXPECT_EQ(read.stop, RegisterFileFields::Stop::EndOfFile);
        EXPECT_EQ(read.fields.size(), static_cast<std::size_t>(n));
    }
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

TEST(ReadRegisterFields, AFailingStreamIsAReadErrorNotAnEndOfFile) {
    // Fails inside the description of row 0, after three fields.
    const std::string text = "I2C ADDRESS , 60\r\n00,Status,00,--\r\n";
    FailingBuffer buffer(text, text.find("00,") + 5);
    std::istream in(&buffer);
    const RegisterFileFields read = ReadRegisterFields(in);
    EXPECT_EQ(read.stop, RegisterFileFields::Stop::ReadError);
    EXPECT_EQ(read.fields, (Fields{"I2C ADDRESS ", "60", "00"}));
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

TEST(RegisterFileWriter, AWholeFileIs33CrLfLines) {
    RegisterDefinitions table;
    table.address = "60";
    table.rows[0] = {"00", "Status", "00", "--"};
    table.rows[1] = {"01", "Control", "8F", "8F"};
    const std::string text = FormatRegisterFile(table);
    std::string expected = "I2C ADDRESS , 60\r\n00,Status,00,--\r\n01,Control,8F,8F\r\n";
    for (int k = 2; k < kRegisterFileRows; ++k) expected += ",,,\r\n";
    EXPECT_EQ(text, expected);
}

TEST(DefinitionsFromFields, PlacesFieldsByPositionAndLeavesMissingOnesEmpty) {
    Fields fields = {"label", "C0", "00", "Status", "AA", "--", "01"};
    const RegisterDefinitions table = DefinitionsFromFields(fields);
    RegisterDefinitions want;
    want.address = "C0";
    want.rows[0] = {"00", "Status", "AA", "--"};
    want.rows[1] = {"01", "", "", ""};
    EXPECT_EQ(table, want);

    RegisterDefinitions t;
    std::vector<std::string*> targets;
    for (int field : {0, 1, 5, 6, 129, 130, -1}) targets.push_back(FieldTarget(t, field));
    EXPECT_EQ(targets, (std::vector<std::string*>{nullptr, &t.address, &t.rows[0].readValue,
                                                  &t.rows[1].address, &t.rows[31].readValue,
                                                  nullptr, nullptr}));
}

TEST(RegisterFileRoundTrip, EveryTextWithoutCommasLineBreaksOrLeadingBlanksComesBack) {
    RegisterDefinitions table;
    table.address = "1c0";
    for (int k = 0; k < kRegisterFileRows; ++k) {
        table.rows[k] = {std::to_string(k), "Reg \"" + std::to_string(k) + "\" \xb5V  ",
                         k % 3 == 0 ? "" : "G5", k % 2 == 0 ? "--" : "8F"};
    }
    std::istringstream in(FormatRegisterFile(table));
    const RegisterFileFields read = ReadRegisterFields(in);
    EXPECT_EQ(read.stop, RegisterFileFields::Stop::Complete);
    EXPECT_EQ(DefinitionsFromFields(read.fields), table);
}

}  // namespace
}  // namespace i2cbridge
