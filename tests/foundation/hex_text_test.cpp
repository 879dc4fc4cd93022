#include "foundation/hex_text.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>

namespace i2cbridge {
namespace {

// Digits up to the first character that is not one; 8000..FFFF wrap to negative; anything
// wider is out of byte range, so every caller refuses it.
TEST(HexToInt, ReadsLeadingHexDigitsAsASixteenBitValue) {
    const std::pair<const char*, int> cases[] = {
        {"", 0},    {"G", 0},        {"ZZ", 0},        {"-1", 0},    {"&H", 0},
        {"1G", 1},  {"a5", 165},     {"ff", 255},      {"0FF", 255}, {"100", 256},
        {"1 F", 1}, {"7FFF", 32767}, {"8000", -32768}, {"FFFF", -1}, {"0000FFFF", -1},
    };
    for (const auto& [text, value] : cases) EXPECT_EQ(HexToInt(text), value) << text;
    for (const char* wide : {"10000", "FFFFFFFFFFFF"}) {
        const int16_t v = HexToInt(wide);
        EXPECT_TRUE(v < 0 || v > 255) << wide;
    }
}

// The whole text must be hex digits, without prefix or blanks, and at most max.
TEST(StrictHexValue, AcceptsOnlyWholeHexTextUpToTheLimit) {
    const struct {
        const char* text;
        uint32_t max;
        std::optional<uint32_t> value;
    } cases[] = {
        // clang-format off
        {"a5", 0xFF, 0xA5}, {"00", 0xFF, 0}, {"FF", 0xFF, 0xFF}, {"0FF", 0xFF, 0xFF},
        {"100", 0xFF, {}}, {"ffff", 0xFFFF, 0xFFFF}, {"10000", 0xFFFF, {}}, {"", 0xFF, {}},
        {"G5", 0xFF, {}}, {"1 2", 0xFF, {}}, {" 1", 0xFF, {}}, {"-1", 0xFF, {}},
        {"0x1", 0xFF, {}}, {"&H1", 0xFF, {}}, {"00000000000000001", 0xFF, 1},
        {"FFFFFFFFFFFF", 0xFFFF, {}},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(StrictHexValue(c.text, c.max), c.value) << c.text;
}

TEST(NumberTexts, BytesStatusCodesHandlesAndDecimals) {
    for (const auto& [value, text] : std::initializer_list<std::pair<int, const char*>>{
             {0, "00"}, {10, "0A"}, {15, "0F"}, {160, "A0"}, {255, "FF"}, {0x1A5, "A5"}})
        EXPECT_EQ(HexByteText(value), text) << value;
    for (const auto& [value, text] : std::initializer_list<std::pair<int64_t, const char*>>{
             {0, "0"}, {0x2005, "2005"}, {8, "8"}, {-7, "FFFFFFF9"}, {-1, "FFFFFFFF"}})
        EXPECT_EQ(HexText(value), text) << value;
    EXPECT_EQ(DecText(0) + DecText(1000) + DecText(-3), " 0 1000-3");
    EXPECT_EQ(UpperCase("az0 \xb5x"), "AZ0 \xb5X");
}

// Fields are cleared first, the delimiter is appended to the text, and the index of the last
// field written comes back (0 when nothing was written).
TEST(SplitFields, FillsFieldsInOrderAndSaysWhereItStopped) {
    const struct {
        std::string text;
        int16_t last;
        std::vector<std::string> fields;
    } cases[] = {
        {"1A,,FF", 2, {"1A", "", "FF"}},
        {"a,b,", 1, {"a", "b"}},
        {"abc", 0, {"abc"}},
        {"", 0, {}},
        {",", 0, {}},
        {"0,1,2,3,4,5,6,7,8,9,10,11", 10, {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}},
    };
    for (const auto& c : cases) {
        std::array<std::string, 11> fields;
        fields.fill("stale");
        std::string text = c.text;
        EXPECT_EQ(SplitFields(text, fields, ','), c.last) << c.text;
        EXPECT_EQ(text, c.text + ",");
        for (std::size_t i = 0; i < fields.size(); ++i)
            EXPECT_EQ(fields[i], i < c.fields.size() ? c.fields[i] : "") << c.text << " " << i;
    }
}

}  // namespace
}  // namespace i2cbridge
