#pragma once

// Small rules shared by the main window's register panels: the text the user types into the
// entry boxes, the reply counts that mean success, the colours of the test result label.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/hex_text.h"

namespace i2cbridge {

inline constexpr uint32_t kRgbRed = 0xFF0000;
inline constexpr uint32_t kRgbWhite = 0xFFFFFF;
inline constexpr uint32_t kRgbGreen = 0x008000;

// Length in characters, not bytes: a row is active when its address is two characters long,
// and a one-character address gets a leading "0", however the characters are encoded.
inline std::size_t CharCount(std::string_view utf8) {
    std::size_t n = 0;
    for (char c : utf8) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
    }
    return n;
}

// A byte sent to the board is the low 8 bits of the entry's value.
inline uint8_t LowByte(int value) {
    return static_cast<uint8_t>(value & 0xFF);
}
inline uint8_t EntryByte(std::string_view text) {
    return LowByte(HexToInt(text));
}

// Puts "0" in front of a one-character text.
inline void PadOneCharacter(std::string& text) {
    if (CharCount(text) == 1) text.insert(text.begin(), '0');
}

}  // namespace i2cbridge
