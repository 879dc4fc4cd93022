#pragma once

// The options of both programs, the window program (i2cbridge) and the command line
// (i2cbridge-cli), in one table: the parsing, the --help texts and the manual pages all follow
// it. "--opt value" and "--opt=value" are the same; a short option stands alone ("-7", "-q").

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace i2cbridge {

// Which program takes an option.
enum OptionProgram : unsigned { kWindowProgram = 1, kCliProgram = 2, kBothPrograms = 3 };

struct OptionSpec {
    std::string name;          // with its dashes: "--vid"
    std::string shorts;        // short letters, the first shown in the help: "Vv" is -V and -v
    std::string value;         // the value's name in the help ("ID"); empty for a flag
    unsigned programs = 0;     // OptionProgram bits
    std::string commands;      // command-line commands that take it, blank-separated; "" all
    std::string help;          // one line of help
    std::string defaultValue;  // shown as "(default ...)" and used when the option is absent
};

const std::vector<OptionSpec>& OptionTable();
const OptionSpec* FindOption(std::string_view name);  // by long name, "--loop"

// True when the command-line command takes the option.
bool TakesOption(const OptionSpec& spec, std::string_view command);

struct ParsedArguments {
    struct Given {
        const OptionSpec* spec;
        std::string value;
    };
    std::vector<Given> options;      // in the order given
    std::vector<std::string> words;  // everything that is not an option
    std::string error;               // one line; empty when all is well

    bool has(std::string_view name) const;
    // The last value given for the option, or its default.
    std::string value(std::string_view name) const;
};

// Reads the arguments after the program name. For the window program, the toolkit's own
// options (a single dash: "-platform offscreen", "-style fusion") are left to it; "--" ends
// the options.
ParsedArguments ParseArguments(std::span<const std::string> args, unsigned program);

// The options part of --help for one program.
std::string OptionHelp(unsigned program);

// The window program's options, read from the table.
struct CommandLine {
    bool simulate = false;  // the built-in board instead of the one on USB
    bool help = false;      // --help or -h
    bool version = false;   // --version, -V or -v
    std::optional<uint16_t> vendorId;
    std::optional<uint16_t> productId;
    std::string board;    // a serial number or a port path; empty: the only board attached
    std::string logFile;  // every log entry is appended there as it is written
    std::string error;    // what was wrong with the options; empty when all is well

    static CommandLine Parse(std::span<const std::string> args);
};

// A number as hexadecimal text, with or without "0x", from 0 to max; nullopt otherwise.
std::optional<unsigned> ParseHex(std::string_view text, unsigned max);
// A USB identifier: 0 to FFFF, with or without "0x".
std::optional<uint16_t> ParseUsbId(std::string_view text);

std::string UsageText(std::string_view program);
// The program's name and version, such as "i2cbridge 1.0.0".
std::string VersionText(std::string_view program);

}  // namespace i2cbridge
