#pragma once

// The program's options: which board to talk to and how to match it.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace i2cbridge {

struct CommandLine {
    bool simulate = false;  // the built-in board instead of the one on USB
    bool help = false;      // --help or -h
    bool version = false;   // --version or -v
    std::optional<uint16_t> vendorId;
    std::optional<uint16_t> productId;
    std::string logFile;  // every log entry is appended there as it is written
    std::string error;    // what was wrong with the options; empty when all is well

    // Reads the options after the program name. The toolkit's own options (a single dash:
    // "-platform offscreen", "-style fusion") are left to it; anything else is an error.
    static CommandLine Parse(std::span<const std::string> args);
};

// A USB identifier as hexadecimal text, with or without "0x": 0 to FFFF.
std::optional<uint16_t> ParseUsbId(std::string_view text);

std::string UsageText(std::string_view program);
// The program's name and version, such as "i2cbridge 1.0.0".
std::string VersionText(std::string_view program);

}  // namespace i2cbridge
