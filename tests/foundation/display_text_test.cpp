#include "foundation/display_text.h"

#include <gtest/gtest.h>

#include <string>

namespace i2cbridge {
namespace {

TEST(DisplayText, ValidUtf8IsShownAsItIsAndAnythingElseAsWindows1252) {
    const struct {
        std::string bytes;
        std::string shown;
    } cases[] = {
        {"", ""},
        {"Status 8F", "Status 8F"},
        {"Phase 90° at 10 µs", "Phase 90° at 10 µs"},
        {"\xF0\x9F\x98\x80 ok", "\xF0\x9F\x98\x80 ok"},  // four bytes
        {"Phase 90\xB0 at 10 \xB5s", "Phase 90° at 10 µs"},
        {"\x80\x81\x9F\xFF", "€\u0081Ÿÿ"},  // 81 is undefined in Windows-1252
        {"\xC0\x80", "À€"},                 // an overlong form
        {"\xED\xA0\x80", "í\u00A0€"},       // a surrogate
        {"\xE2\x82", "â‚"},                 // cut short
        {"\xF4\x90\x80\x80", "ô\u0090€€"},  // above U+10FFFF
    };
    for (const auto& c : cases) EXPECT_EQ(DisplayText(c.bytes), c.shown) << c.bytes;
}

TEST(DisplayText, EveryByteOfAWindowsFileComesBackFromWhatItShows) {
    for (int b = 0x80; b <= 0xFF; ++b) {
        const std::string bytes = {'x', static_cast<char>(b)};
        EXPECT_EQ(StoredText(DisplayText(bytes), bytes), bytes) << b;
    }
}

TEST(StoredText, TypedTextKeepsTheEncodingOfTheBoxWhereItCan) {
    const std::string windows = "Phase 90\xB0";
    const struct {
        std::string typed;
        std::string previous;
        std::string stored;
    } cases[] = {
        {"Phase 180°", windows, "Phase 180\xB0"},  // stays Windows-1252
        {"Phase 180°", "Phase", "Phase 180°"},     // was UTF-8, stays UTF-8
        {"日", windows, "日"},                     // no Windows-1252 byte for it
        {"Ã©", windows, "Ã©"},                     // its Windows-1252 bytes read as UTF-8 "é"
    };
    for (const auto& c : cases) {
        const std::string stored = StoredText(c.typed, c.previous);
        EXPECT_EQ(stored, c.stored) << c.typed;
        EXPECT_EQ(DisplayText(stored), c.typed) << c.typed;
    }
}

}  // namespace
}  // namespace i2cbridge
