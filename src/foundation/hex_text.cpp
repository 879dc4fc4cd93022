#include "foundation/hex_text.h"

#include <cctype>
#include <cstdio>

namespace i2cbridge {

namespace {
int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

int16_t HexToInt(std::string_view text) {
    uint32_t value = 0;
    for (char c : text) {
        const int digit = HexDigitValue(c);
        if (digit < 0) break;
        value = value * 16 + static_cast<uint32_t>(digit);
        if (value > 0xFFFF) return 32767;
    }
    return static_cast<int16_t>(static_cast<uint16_t>(value));
}

std::optional<uint32_t> StrictHexValue(std::string_view text, uint32_t max) {
    if (text.empty()) return std::nullopt;
    uint64_t value = 0;
    for (char c : text) {
        const int digit = HexDigitValue(c);
        if (digit < 0) return std::nullopt;
        value = value * 16 + static_cast<uint64_t>(digit);
        if (value > max) return std::nullopt;
    }
    return static_cast<uint32_t>(value);
}

std::string HexByteText(int value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const unsigned byte = static_cast<unsigned>(value) & 0xFFu;
    return std::string{kDigits[byte >> 4], kDigits[byte & 0xF]};
}

int16_t SplitFields(std::string& text, std::span<std::string> fields, char delimiter) {
    for (auto& field : fields) field.clear();
    text.push_back(delimiter);
    if (text.size() <= 1 || fields.empty()) return 0;

    std::size_t position = 0;  // zero-based here; the stop test below is the one-based rule
    std::size_t index = 0;
    while (true) {
        std::size_t end = text.find(delimiter, position);
        if (end == std::string::npos) end = text.size();
        fields[index] = text.substr(position, end - position);
        position = end + 1;
        ++index;
        if (position + 1 >= text.size() || index >= fields.size()) break;
    }
    return static_cast<int16_t>(index - 1);
}

std::string HexText(int64_t value) {
    uint64_t v = value < 0 ? static_cast<uint32_t>(static_cast<int32_t>(value))
                           : static_cast<uint64_t>(value);
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char buffer[16];
    char* end = buffer + sizeof buffer;
    char* p = end;
    do {
        *--p = kDigits[v & 0xF];
        v >>= 4;
    } while (v != 0 && p != buffer);
    return std::string(p, end);
}

std::string DecText(int64_t value) {
    char buffer[24];
    const int n = std::snprintf(buffer, sizeof buffer, value < 0 ? "%lld" : " %lld",
                                static_cast<long long>(value));
    return std::string(buffer, static_cast<std::size_t>(n));
}

std::string UpperCase(std::string_view text) {
    std::string out(text);
    // ASCII only, whatever the process locale: bytes from 0x80 up are text of the file's own
    // code page and stay as they are.
    for (char& c : out) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return out;
}

}  // namespace i2cbridge
