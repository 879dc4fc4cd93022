#include "registers/register_file_format.h"

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

TEST(RegisterFieldReader, SplitsAtCommasAndLineEnds) {
    EXPECT_EQ(AllFields("I2C ADDRESS , 60\r\n00,Status,00,--\r\n"),
              (Fields{"I2C ADDRESS ", "60", "00", "Status", "00", "--"}));
}

TEST(RegisterFieldReader, EmptyFieldsFromAdjacentCommasLineEndCommasAndEmptyLines) {
    EXPECT_EQ(AllFields(",,,\r\n"), (Fields{"", "", "", ""}));
    EXPECT_EQ(AllFields("a,,b"), (Fields{"a", "", "b"}));
    EXPECT_EQ(AllFields("a,\r\nb"), (Fields{"a", "", "b"}));
    EXPECT_EQ(AllFields("a\r\n\r\nb\r\n"), (Fields{"a", "", "b"}));
    EXPECT_EQ(AllFields("\r\n"), (Fields{""}));
}

TEST(RegisterFieldReader, AcceptsCrLfLoneLfAndLoneCrAsLineEnds) {
    EXPECT_EQ(AllFields("a,b\r\nc"), (Fields{"a", "b", "c"}));
    EXPECT_EQ(AllFields("a,b\nc"), (Fields{"a", "b", "c"}));
    EXPECT_EQ(AllFields("a,b\rc"), (Fields{"a", "b", "c"}));
    // CR CR LF: a line end, then an empty line.
    EXPECT_EQ(AllFields("a\r\r\nb"), (Fields{"a", "", "b"}));
    // LF CR: two line ends, the second closing an empty line.
    EXPECT_EQ(AllFields("a\n\rb"), (Fields{"a", "", "b"}));
}

TEST(RegisterFieldReader, DropsLeadingBlanksKeepsTrailingOnesAndTabs) {
    EXPECT_EQ(AllFields("   Status  ,\tTab"), (Fields{"Status  ", "\tTab"}));
    EXPECT_EQ(AllFields("a,   \r\nb"), (Fields{"a", "", "b"}));
}

TEST(RegisterFieldReader, TakesDoubleQuotesAsOrdinaryCharacters) {
    EXPECT_EQ(AllFields("\"Status, low\",FF"), (Fields{"\"Status", "low\"", "FF"}));
    EXPECT_EQ(AllFields("\"\",x\"y\""), (Fields{"\"\"", "x\"y\""}));
}

TEST(RegisterFieldReader, TheEndOfTheInputClosesAFieldButBlanksAloneMakeNone) {
    EXPECT_EQ(AllFields("last"), (Fields{"last"}));
    EXPECT_EQ(AllFields("a,"), (Fields{"a"}));
    EXPECT_EQ(AllFields("a,   "), (Fields{"a"}));
    EXPECT_EQ(AllFields(""), Fields{});
}

TEST(RegisterFieldReader, KeepsEightBitAndNulCharacters) {
    const std::string text("\xb5V,\xff\x00x", 6);
    EXPECT_EQ(AllFields(text), (Fields{"\xb5V", std::string("\xff\x00x", 3)}));
}

TEST(ReadRegisterFields, StopsAfterField130AndLeavesTheRestUnread) {
    std::istringstream in(NumberedFile(kRegisterFileFields) + "beyond,more\r\n");
    const RegisterFileFields read = ReadRegisterFields(in);
    EXPECT_EQ(read.stop, RegisterFileFields::Stop::Complete);
    ASSERT_EQ(read.fields.size(), 130u);
    EXPECT_EQ(read.fields.front(), "f0");
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
    std::istringstream in(NumberedFile(9));
    const RegisterFileFields read = ReadRegisterFields(in);
    EXPECT_EQ(read.stop, RegisterFileFields::Stop::EndOfFile);
    EXPECT_EQ(read.fields.size(), 9u);

    std::istringstream empty("");
    const RegisterFileFields none = ReadRegisterFields(empty);
    EXPECT_EQ(none.stop, RegisterFileFields::Stop::EndOfFile);
    EXPECT_TRUE(none.fields.empty());
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

TEST(RegisterFileWriter, AddressLineStartsTheAddressInColumn15) {
    const std::string line = RegisterFileAddressLine("60");
    EXPECT_EQ(line, "I2C ADDRESS , 60\r\n");
    EXPECT_EQ(line.find("60"), 14u);
    EXPECT_EQ(RegisterFileAddressLine(""), "I2C ADDRESS , \r\n");
    EXPECT_EQ(RegisterFileAddressLine("1c0 "), "I2C ADDRESS , 1c0 \r\n");
}

TEST(RegisterFileWriter, RowLineJoinsTheFourTextsWithSingleCommas) {
    EXPECT_EQ(RegisterFileRowLine({"00", "Status", "00", "--"}), "00,Status,00,--\r\n");
    EXPECT_EQ(RegisterFileRowLine({"", "", "", ""}), ",,,\r\n");
    EXPECT_EQ(RegisterFileRowLine({"01", " a, \"b\" ", "", "8F"}), "01, a, \"b\" ,,8F\r\n");
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
    EXPECT_EQ(table.address, "C0");
    EXPECT_EQ(table.rows[0], (RegisterFileRow{"00", "Status", "AA", "--"}));
    EXPECT_EQ(table.rows[1], (RegisterFileRow{"01", "", "", ""}));
    EXPECT_EQ(table.rows[31], RegisterFileRow{});

    RegisterDefinitions target;
    EXPECT_EQ(FieldTarget(target, 0), nullptr);
    EXPECT_EQ(FieldTarget(target, 1), &target.address);
    EXPECT_EQ(FieldTarget(target, 5), &target.rows[0].readValue);
    EXPECT_EQ(FieldTarget(target, 6), &target.rows[1].address);
    EXPECT_EQ(FieldTarget(target, 129), &target.rows[31].readValue);
    EXPECT_EQ(FieldTarget(target, 130), nullptr);
    EXPECT_EQ(FieldTarget(target, -1), nullptr);
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
