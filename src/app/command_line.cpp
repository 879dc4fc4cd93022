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

constexpr const char* kBoardCommands = "read write dump scan gpio run";
constexpr const char* kListCommands = "list read write dump scan gpio run";

std::vector<OptionSpec> MakeTable() {
    const unsigned both = kBothPrograms, cli = kCliProgram;
    return {
        {"--simulate", "", "", both, kListCommands,
         "use the built-in simulated board instead of the board on USB", ""},
        {"--vid", "", "ID", both, kListCommands, "vendor identifier to match, hexadecimal",
         HexId(BoardVendorId)},
        {"--pid", "", "ID", both, kListCommands, "product identifier to match, hexadecimal",
         HexId(BoardProductId)},
        {"--board", "", "ID", both, kBoardCommands,
         "the board with this serial number or USB port path (1-2.3), when several are attached",
         ""},
        {"--log", "", "FILE", both, "", "append every program log entry to FILE as it is written",
         ""},
        {"--trace", "", "FILE", cli, kBoardCommands,
         "trace every transfer: text, or a usbmon capture for *.pcap", ""},
        {"--json", "", "", cli, "", "print one JSON document", ""},
        {"--quiet", "q", "", cli, "",
         "print results only: no progress, hints or result lines of run", ""},
        {"--verbose", "", "", cli, "", "also print the program log and progress to standard error",
         ""},
        {"--seven-bit", "7", "", cli, "read write dump",
         "ADDR is a 7-bit address (30 for the write address 60)", ""},
        {"--expect", "", "HH,HH", cli, "scan", "exit 1 unless exactly these write addresses answer",
         ""},
        {"--enables", "", "HHHH", cli, "gpio", "port B and port C output enables", ""},
        {"--address", "", "HH", cli, "show run", "the script window's I2C address", "60"},
        {"--loop", "", "N", cli, "run", "N passes, as Loop Cont would", "1"},
        {"--abort-on-fail", "", "", cli, "run", "stop at the first failed compare", ""},
        {"--pause", "", "continue|abort", cli, "run", "how a keypress pause is answered",
         "continue"},
        {"--junit", "", "FILE", cli, "run", "write a JUnit XML report", ""},
        {"--update-expected", "", "FILE", cli, "run",
         "write the script with the data read as expected data", ""},
        {"--append", "", "", cli, "run",
         "add to the --update-expected FILE instead of replacing it", ""},
        {"--record-dir", "", "DIR", cli, "run",
         "the \"_DL\" records of `S steps go to DIR (default: beside the script)", ""},
        {"--lenient", "", "", cli, "run", "run scripts with unreadable lines, listed on stderr",
         ""},
        {"--help", "h", "", both, "", "show this text", ""},
        {"--version", "Vv", "", both, "", "show the version", ""},
    };
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

const OptionSpec* FindShort(char letter, unsigned program) {
    for (const OptionSpec& spec : OptionTable()) {
        if ((spec.programs & program) && spec.shorts.find(letter) != std::string::npos)
            return &spec;
    }
    return nullptr;
}

}  // namespace

const std::vector<OptionSpec>& OptionTable() {
    static const std::vector<OptionSpec> table = MakeTable();
    return table;
}

const OptionSpec* FindOption(std::string_view name) {
    for (const OptionSpec& spec : OptionTable()) {
        if (spec.name == name) return &spec;
    }
    return nullptr;
}

bool TakesOption(const OptionSpec& spec, std::string_view command) {
    if (spec.commands.empty()) return true;
    std::size_t start = 0;
    while (start < spec.commands.size()) {
        const std::size_t end = std::min(spec.commands.find(' ', start), spec.commands.size());
        if (std::string_view(spec.commands).substr(start, end - start) == command) return true;
        start = end + 1;
    }
    return false;
}

bool ParsedArguments::has(std::string_view name) const {
    for (const Given& g : options) {
        if (g.spec->name == name) return true;
    }
    return false;
}

std::string ParsedArguments::value(std::string_view name) const {
    for (auto g = options.rbegin(); g != options.rend(); ++g) {
        if (g->spec->name == name) return g->value;
    }
    const OptionSpec* spec = FindOption(name);
    return spec ? spec->defaultValue : std::string();
}

ParsedArguments ParseArguments(std::span<const std::string> args, unsigned program) {
    ParsedArguments parsed;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            parsed.words.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        const OptionSpec* spec = nullptr;
        std::optional<std::string> value;
        if (arg[1] == '-') {
            const std::size_t eq = arg.find('=');
            spec = FindOption(std::string_view(arg).substr(0, eq));
            if (spec && !(spec->programs & program)) spec = nullptr;
            if (eq != std::string::npos) value = arg.substr(eq + 1);
        } else if (arg.size() == 2) {
            spec = FindShort(arg[1], program);
        }
        if (!spec) {
            if (program == kWindowProgram && arg[1] != '-') {
                if (const std::size_t taken = ToolkitArguments(args, i)) {
                    i += taken - 1;
                    continue;
                }
            }
            parsed.error = "unknown option " + arg.substr(0, arg.find('='));
            return parsed;
        }
        if (spec->value.empty() && value) {
            parsed.error = spec->name + " takes no value";
            return parsed;
        }
        if (!spec->value.empty() && !value) {
            if (i + 1 >= args.size()) {
                parsed.error = spec->name + " needs a value (" + spec->value + ")";
                return parsed;
            }
            value = args[++i];
        }
        parsed.options.push_back({spec, value.value_or("")});
    }
    return parsed;
}

std::string OptionHelp(unsigned program) {
    std::string text;
    for (const OptionSpec& spec : OptionTable()) {
        if (!(spec.programs & program)) continue;
        std::string left = "  ";
        if (!spec.shorts.empty()) left += std::string("-") + spec.shorts[0] + ", ";
        left += spec.name;
        if (!spec.value.empty()) left += " " + spec.value;
        std::string help = spec.help;
        if (program == kCliProgram && !spec.commands.empty() && spec.commands != kBoardCommands) {
            std::string commands = spec.commands;
            for (char& c : commands) c = c == ' ' ? '/' : c;
            help = commands + ": " + help;
        }
        if (!spec.defaultValue.empty()) help += " (default " + spec.defaultValue + ")";
        constexpr std::size_t kColumn = 26;
        text += left.size() + 1 < kColumn ? left + std::string(kColumn - left.size(), ' ')
                                          : left + "\n" + std::string(kColumn, ' ');
        text += help + "\n";
    }
    return text;
}

std::optional<unsigned> ParseHex(std::string_view text, unsigned max) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
    }
    // Leading zeros beyond the digits the maximum needs are still the same number, but a text
    // longer than 8 digits is not one anybody means.
    if (text.size() > 8) return std::nullopt;
    const auto value = StrictHexValue(text, max);
    if (!value) return std::nullopt;
    return *value;
}

std::optional<uint16_t> ParseUsbId(std::string_view text) {
    const auto value = ParseHex(text, 0xFFFF);
    if (!value) return std::nullopt;
    return static_cast<uint16_t>(*value);
}

CommandLine CommandLine::Parse(std::span<const std::string> args) {
    CommandLine cl;
    const ParsedArguments parsed = ParseArguments(args, kWindowProgram);
    cl.error = parsed.error;
    if (cl.error.empty() && !parsed.words.empty()) {
        cl.error = "unknown argument " + parsed.words.front();
    }
    for (const ParsedArguments::Given& g : parsed.options) {
        if (!cl.error.empty()) break;
        const std::string& name = g.spec->name;
        if (name == "--simulate") {
            cl.simulate = true;
        } else if (name == "--help") {
            cl.help = true;
        } else if (name == "--version") {
            cl.version = true;
        } else if (name == "--vid" || name == "--pid") {
            const auto id = ParseUsbId(g.value);
            if (!id) {
                cl.error = name + " wants a hexadecimal identifier from 0 to FFFF, such as " +
                           g.spec->defaultValue + ", not \"" + g.value + "\"";
            } else {
                (name == "--vid" ? cl.vendorId : cl.productId) = id;
            }
        } else if (name == "--board") {
            if (g.value.empty()) cl.error = name + " needs an " + g.spec->value;
            cl.board = g.value;
        } else if (name == "--log") {
            if (g.value.empty()) cl.error = name + " needs a " + g.spec->value;
            cl.logFile = g.value;
        }
    }
    return cl;
}

std::string UsageText(std::string_view program) {
    return "Usage: " + std::string(program) +
           " [OPTIONS]\n"
           "\n"
           "Desktop tool for the USB-to-I2C bridge evaluation board.\n"
           "\n"
           "Options:\n" +
           OptionHelp(kWindowProgram);
}

std::string VersionText(std::string_view program) {
    return std::string(program) + " " + std::to_string(I2CB_VERSION_MAJOR) + "." +
           std::to_string(I2CB_VERSION_MINOR) + "." + std::to_string(I2CB_VERSION_PATCH) + "\n";
}

}  // namespace i2cbridge
