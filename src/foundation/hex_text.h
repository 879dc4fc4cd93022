#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace i2cbridge {

// Hexadecimal text as the user types it, read as a signed 16-bit value: digits are read from
// the start up to the first character that is not a hex digit (so "1G" is 1, "ZZ" and "" are
// 0); 8000..FFFF come back negative (FFFF is -1). Text whose value does not fit in 16 bits
// saturates at 32767, which every caller rejects as a byte.
int16_t HexToInt(std::string_view text);

// Text that must be hexadecimal as a whole (no prefix, at least one digit) with a value up to
// max; nullopt otherwise. For entries that have no sensible value to fall back on: the raw
// two-byte frame, USB identifiers, command-line arguments.
std::optional<uint32_t> StrictHexValue(std::string_view text, uint32_t max);

// A byte as exactly two upper-case hex digits ("00", "0A", "FF"). Only the low 8 bits count.
std::string HexByteText(int value);

// Splits text at a single-character delimiter into fields[0..], clearing every field first.
// The delimiter is appended to the caller's text (which is why it is taken by reference).
// Returns the index of the last field written, or 0 when nothing was written.
int16_t SplitFields(std::string& text, std::span<std::string> fields, char delimiter);

// Upper-case hex without leading zeros, the way status codes and handles are printed:
// a negative 32-bit value prints as its eight-digit two's complement.
std::string HexText(int64_t value);

// Decimal with a blank where the sign of a non-negative number would be (" 0", "-3").
std::string DecText(int64_t value);

// ASCII upper-casing of entry text; other characters pass unchanged.
std::string UpperCase(std::string_view text);

}  // namespace i2cbridge
