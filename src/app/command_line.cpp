#include "app/command_line.h"

#include <cstdio>

#include "foundation/hex_text.h"
#include "usb/board_driver.h"

namespace i2cbridge {

namespace {
std::string HexId(uint16_t id) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", id);
    return text;
}
}  // namespace

std::optional<uint16_t> ParseUsbId(std::string_view text) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
    }
    const auto value = StrictHexValue(text, 0xFFFF);
    if (!value || text.size() > 4) return std::nullopt;
    return static_cast<uint16_t>(*value);
}

CommandLine CommandLine::Parse(std::span<const std::string> args) {
    CommandLine cl;
    for (std::size_t i = 0; i < args.size() && cl.error.empty(); ++i) {
        std::string name = args[i];
        if (name.rfind("--", 0) != 0) continue;
        std::optional<std::string> value;
        if (const auto eq = name.find('='); eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        const bool takesValue = name == "--vid" || name == "--pid" || name == "--screenshot";
        if (!takesValue && value) {
            cl.error = name + " takes no value";
            break;
        }
        if (takesValue && !value) {
            if (i + 1 >= args.size()) {
                cl.error = name + " needs a value";
                break;
            }
            value = args[++i];
        }
        if (name == "--simulate") {
            cl.simulate = true;
        } else if (name == "--help") {
            cl.help = true;
        } else if (name == "--vid" || name == "--pid") {
            const auto id = ParseUsbId(*value);
            if (!id) {
                cl.error = name + " wants a hexadecimal identifier from 0 to FFFF, such as " +
                           HexId(name == "--vid" ? BoardVendorId : BoardProductId) + ", not \"" +
                           *value + "\"";
            } else {
                (name == "--vid" ? cl.vendorId : cl.productId) = id;
            }
        } else if (name == "--screenshot") {
            if (value->empty()) cl.error = "--screenshot needs a folder";
            cl.screenshotDir = *value;
        } else {
            cl.error = "unknown option " + name;
        }
    }
    return cl;
}

std::string UsageText(std::string_view program) {
    std::string text = "Usage: ";
    text += program;
    text +=
        " [--simulate] [--vid ID] [--pid ID]\n"
        "\n"
        "Desktop tool for the USB-to-I2C bridge evaluation board.\n"
        "\n"
        "  --simulate   use the built-in simulated board instead of the board on USB\n"
        "  --vid ID     vendor identifier to match, hexadecimal (default " +
        HexId(BoardVendorId) +
        ")\n"
        "  --pid ID     product identifier to match, hexadecimal (default " +
        HexId(BoardProductId) +
        ")\n"
        "  --help       show this text\n";
    return text;
}

}  // namespace i2cbridge
