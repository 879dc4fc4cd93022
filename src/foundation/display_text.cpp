#include "foundation/display_text.h"

#include <array>
#include <cstdint>
#include <optional>

namespace i2cbridge {

namespace {

// Windows-1252 from 0x80 to 0x9F; 0xA0 to 0xFF are the same as in Unicode.
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t Cp1252ToUnicode(unsigned char byte) {
    return byte >= 0x80 && byte < 0xA0 ? kHighControls[byte - 0x80] : char32_t{byte};
}

std::optional<unsigned char> UnicodeToCp1252(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<unsigned char>(c);
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == c) return static_cast<unsigned char>(0x80 + i);
    }
    return std::nullopt;
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Decodes one character of valid UTF-8 at `pos` and moves past it; nothing when the bytes there
// are not UTF-8 (overlong forms, surrogates and values above U+10FFFF included).
std::optional<char32_t> NextUtf8(std::string_view s, std::size_t& pos) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char lead = byte(pos);
    if (lead < 0x80) {
        ++pos;
        return lead;
    }
    int extra = 0;
    char32_t c = 0;
    char32_t least = 0;  // below this the form is overlong
    if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        c = lead & 0x1F;
        least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        c = lead & 0x0F;
        least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        c = lead & 0x07;
        least = 0x10000;
    } else {
        return std::nullopt;
    }
    if (pos + static_cast<std::size_t>(extra) >= s.size()) return std::nullopt;
    for (int i = 1; i <= extra; ++i) {
        if ((byte(pos + i) & 0xC0) != 0x80) return std::nullopt;
        c = (c << 6) | (byte(pos + i) & 0x3F);
    }
    if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return std::nullopt;
    pos += static_cast<std::size_t>(extra) + 1;
    return c;
}

}  // namespace

bool IsValidUtf8(std::string_view bytes) {
    for (std::size_t pos = 0; pos < bytes.size();) {
        if (!NextUtf8(bytes, pos)) return false;
    }
    return true;
}

std::string DisplayText(std::string_view bytes) {
    if (IsValidUtf8(bytes)) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char b : bytes) AppendUtf8(out, Cp1252ToUnicode(static_cast<unsigned char>(b)));
    return out;
}

std::string StoredText(std::string_view typed, std::string_view previous) {
    if (IsValidUtf8(previous)) return std::string(typed);
    std::string bytes;
    bytes.reserve(typed.size());
    for (std::size_t pos = 0; pos < typed.size();) {
        const auto c = NextUtf8(typed, pos);
        const auto b = c ? UnicodeToCp1252(*c) : std::nullopt;
        if (!b) return std::string(typed);
        bytes += static_cast<char>(*b);
    }
    // Windows-1252 bytes that happen to be valid UTF-8 (such as "Ã©") would show differently.
    if (DisplayText(bytes) != typed) return std::string(typed);
    return bytes;
}

}  // namespace i2cbridge
