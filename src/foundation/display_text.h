#pragma once

// Text the core keeps as the bytes it was given, shown as Unicode. Register definitions files
// written on Windows are 8-bit text in the Windows code page, while the tool itself writes
// UTF-8; the bytes stay as they are in the core, so that a file saves back unchanged, and only
// what the user sees (and types) is converted.

#include <string>
#include <string_view>

namespace i2cbridge {

bool IsValidUtf8(std::string_view bytes);

// UTF-8 to show for the bytes: the bytes themselves when they are valid UTF-8, otherwise each
// byte read as Windows-1252 (the five bytes that code page leaves undefined become the
// control characters of the same number, as Windows decodes them).
std::string DisplayText(std::string_view bytes);

// The bytes to keep for text the user typed (UTF-8) over `previous`, the bytes shown before.
// Text that was shown as Windows-1252 stays Windows-1252 where every character has a byte
// there; otherwise the UTF-8 as typed is kept. Either way DisplayText gives the typed text back.
std::string StoredText(std::string_view typed, std::string_view previous);

}  // namespace i2cbridge
