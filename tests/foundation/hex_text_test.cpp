#include "foundation/hex_text.h"

#include <gtest/gtest.h>

#include <array>

namespace i2cbridge {
namespace {

TEST(HexToInt, ReadsHexDigitsUpToTheFirstOtherCharacter) {
    EXPECT_EQ(HexToInt(""), 0);
    EXPECT_EQ(HexToInt("G"), 0);
    EXPECT_EQ(HexToInt("ZZ"), 0);
    EXPECT_EQ(HexToInt("-1"), 0);
    EXPECT_EQ(HexToInt("&H"), 0);
    EXPECT_EQ(HexToInt("1G"), 1);
    EXPECT_EQ(HexToInt("a5"), 165);
    EXPECT_EQ(HexToInt("ff"), 255);
    EXPECT_EQ(HexToInt("0FF"), 255);
    EXPECT_EQ(HexToInt("100"), 256);
    EXPECT_EQ(HexToInt("1 F"), 1);
}

TEST(HexToInt, SixteenBitValuesWrapToNegativeAndLargerOnesAreOutOfByteRange) {
    EXPECT_EQ(HexToInt("7FFF"), 32767);
    EXPECT_EQ(HexToInt("8000"), -32768);
    EXPECT_EQ(HexToInt("FFFF"), -1);
    EXPECT_EQ(HexToInt("0000FFFF"), -1);
    const int16_t big = HexToInt("10000");
    EXPECT_TRUE(big < 0 || big > 255);
    EXPECT_GT(HexToInt("FFFFFFFFFFFF"), 255);
}

TEST(HexByteText, TwoUpperCaseDigits) {
    EXPECT_EQ(HexByteText(0), "00");
    EXPECT_EQ(HexByteText(10), "0A");
    EXPECT_EQ(HexByteText(15), "0F");
    EXPECT_EQ(HexByteText(160), "A0");
    EXPECT_EQ(HexByteText(255), "FF");
}

TEST(HexText, StatusCodesAndHandles) {
    EXPECT_EQ(HexText(0), "0");
    EXPECT_EQ(HexText(0x2005), "2005");
    EXPECT_EQ(HexText(0x60), "60");
    EXPECT_EQ(HexText(8), "8");
    EXPECT_EQ(HexText(-7), "FFFFFFF9");
    EXPECT_EQ(HexText(-1), "FFFFFFFF");
}

TEST(DecText, BlankInPlaceOfThePlusSign) {
    EXPECT_EQ(DecText(0), " 0");
    EXPECT_EQ(DecText(1000), " 1000");
    EXPECT_EQ(DecText(-3), "-3");
}

class SplitFieldsTest : public ::testing::Test {
protected:
    std::array<std::string, 11> fields;
    int16_t split(std::string& text) { return SplitFields(text, fields, ','); }
};

TEST_F(SplitFieldsTest, EmptyFieldBetweenDelimitersKeepsItsElement) {
    std::string text = "1A,,FF";
    EXPECT_EQ(split(text), 2);
    EXPECT_EQ(fields[0], "1A");
    EXPECT_EQ(fields[1], "");
    EXPECT_EQ(fields[2], "FF");
    for (std::size_t i = 3; i < fields.size(); ++i) EXPECT_EQ(fields[i], "");
    EXPECT_EQ(text, "1A,,FF,");
}

TEST_F(SplitFieldsTest, TrailingDelimiterAddsNoField) {
    std::string text = "a,b,";
    EXPECT_EQ(split(text), 1);
    EXPECT_EQ(fields[0], "a");
    EXPECT_EQ(fields[1], "b");
    EXPECT_EQ(fields[2], "");
}

TEST_F(SplitFieldsTest, OneFieldNoneAndALoneDelimiterAllReturnZero) {
    std::string one = "abc";
    EXPECT_EQ(split(one), 0);
    EXPECT_EQ(fields[0], "abc");
    std::string none;
    fields[0] = "stale";
    EXPECT_EQ(split(none), 0);
    EXPECT_EQ(fields[0], "");
    EXPECT_EQ(none, ",");
    std::string comma = ",";
    EXPECT_EQ(split(comma), 0);
    EXPECT_EQ(fields[0], "");
}

TEST_F(SplitFieldsTest, ExtraFieldsBeyondTheArrayAreDropped) {
    std::string text = "0,1,2,3,4,5,6,7,8,9,10,11";
    EXPECT_EQ(split(text), 10);
    EXPECT_EQ(fields[0], "0");
    EXPECT_EQ(fields[10], "10");
}

TEST_F(SplitFieldsTest, FieldsAreClearedBeforeSplitting) {
    std::string first = "a,b,c";
    split(first);
    std::string second = "x";
    split(second);
    EXPECT_EQ(fields[0], "x");
    EXPECT_EQ(fields[1], "");
    EXPECT_EQ(fields[2], "");
}

}  // namespace
}  // namespace i2cbridge
