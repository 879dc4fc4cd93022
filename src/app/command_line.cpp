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

// The options Qt's application object reads and removes itself.
constexpr std::string_view kToolkitOptionsWithValue[] = {
    "-platform",    "-platformpluginpath", "-platformtheme", "-plugin", "-qwindowgeometry",
    "-qwindowicon", "-qwindowtitle",       "-session",       "-style",  "-stylesheet",
    "-display",     "-geometry",           "-title",         "-name"};
constexpr std::string_view kToolkitFlags[] = {"-reverse", "-widgetcount", "-nograb", "-dograb",
                                              "-sync"};

bool OneOf(std::string_view name, std::span<const std::string_view> names) {
    for (const std::string_view n : names) {
        if (n == name) return true;
    }
    return false;
}

// How many arguments a toolkit option at args[i] takes up (itself and its value), or 0 when it
// is not one. "-style=fusion" is one argument.
std::size_t ToolkitArguments(std::span<const std::string> args, std::size_t i) {
    const std::string& arg = args[i];
    if (OneOf(arg, kToolkitFlags)) return 1;
    const std::string_view name = std::string_view(arg).substr(0, arg.find('='));
    if (!OneOf(name, kToolkitOptionsWithValue)) return 0;
    return name.size() < arg.size() || i + 1 >= args.size() ? 1 : 2;
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
        if (name == "-h") name = "--help";
        if (name == "-v") name = "--version";
        if (name.rfind("--", 0) != 0) {
            if (const std::size_t taken = ToolkitArguments(args, i)) {
                i += taken - 1;
                continue;
            }
            cl.error = (name.rfind('-', 0) == 0 ? "unknown option " : "unknown argument ") + name;
            break;
        }
        std::optional<std::string> value;
        if (const auto eq = name.find('='); eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        const bool takesValue = name == "--vid" || name == "--pid" || name == "--log";
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
        } else if (name == "--version") {
            cl.version = true;
        } else if (name == "--vid" || name == "--pid") {
            const auto id = ParseUsbId(*value);
            if (!id) {
                cl.error = name + " wants a hexadecimal identifier from 0 to FFFF, such as " +
                           HexId(name == "--vid" ? BoardVendorId : BoardProductId) + ", not \"" +
                           *value + "\"";
            } else {
                (name == "--vid" ? cl.vendorId : cl.productId) = id;
            }
        } else if (name == "--log") {
            if (value->empty()) cl.error = "--log needs a file name";
            cl.logFile = *value;
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
        " [--simulate] [--vid ID] [--pid ID] [--log FILE]\n"
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
        "  --log FILE   append every log entry to FILE as it is written\n"
        "  -h, --help   show this text\n"
        "  -v, --version\n"
        "               show the program's version\n";
    return text;
}

std::string VersionText(std::string_view program) {
    return std::string(program) + " " + std::to_string(I2CB_VERSION_MAJOR) + "." +
           std::to_string(I2CB_VERSION_MINOR) + "." + std::to_string(I2CB_VERSION_PATCH) + "\n";
}

}  // namespace i2cbridge
