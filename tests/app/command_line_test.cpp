#include "app/command_line.h"

#include <gtest/gtest.h>

#include <sstream>

namespace i2cbridge {
namespace {

// Sixteen-bit hex with or without 0x; nothing else, not even a blank.
TEST(UsbIdText, TakesOnlySixteenBitHexNumbers) {
    const std::pair<const char*, std::optional<uint16_t>> cases[] = {
        {"0x0547", 0x0547}, {"0X2005", 0x2005}, {"547", 0x0547}, {"ffff", 0xFFFF}, {"0", 0},
        {"0x0", 0},         {"", {}},           {"0x", {}},      {"10000", {}},    {"0x10000", {}},
        {"05G7", {}},       {"-1", {}},         {" 547", {}},
    };
    for (const auto& [text, id] : cases) EXPECT_EQ(ParseUsbId(text), id) << text;
}

// What each command line sets, and the words a mistake is named with (empty: no mistake).
TEST(Options, EachCommandLineSetsItsOptionsOrNamesItsMistake) {
    const struct {
        std::vector<std::string> args;
        const char* error;
        bool simulate = false, help = false, version = false;
        std::optional<uint16_t> vendor = {}, product = {};
        const char* log = "";
    } rows[] = {
        {{"--simulate", "--vid", "0x1234", "--pid=ABCD"}, "", true, false, false, 0x1234, 0xABCD},
        // The toolkit's own arguments are left to it.
        {{"-platform", "offscreen", "-style=fusion", "-reverse", "--simulate"}, "", true},
        {{"--log", "run.log"}, "", false, false, false, {}, {}, "run.log"},
        {{"--help"}, "", false, true},
        {{"-h"}, "", false, true},
        {{"--version"}, "", false, false, true},
        {{"-V"}, "", false, false, true},
        {{"-v"}, "", false, false, true},
        {{"--log="}, "--log"},
        // The bad value, and an example of one that fits.
        {{"--vid", "0x5G47"}, "--vid 0x5G47 0x0547"},
        {{"--simulate", "--pid"}, "--pid needs a value"},
        {{"--simulat"}, "unknown option --simulat"},
        {{"-x"}, "unknown option -x"},
        {{"--simulate", "board"}, "unknown argument board"},
        {{"--simulate=yes"}, "takes no value"},
        // The value of an option is never read as an option.
        {{"--pid", "--simulate"}, "--simulate"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(::testing::PrintToString(r.args));
        const CommandLine cl = CommandLine::Parse(r.args);
        EXPECT_EQ(cl.error.empty(), !*r.error) << cl.error;
        std::istringstream words(r.error);
        for (std::string word; words >> word;) EXPECT_NE(cl.error.find(word), std::string::npos);
        EXPECT_EQ(std::tuple(cl.simulate, cl.help, cl.version, cl.vendorId, cl.productId),
                  std::tuple(r.simulate, r.help, r.version, r.vendor, r.product));
        EXPECT_EQ(cl.logFile, r.log);
    }
}

TEST(Options, HelpNamesEveryOptionAndTheDefaultsAndVersionIsTheBuilds) {
    const std::string text = UsageText("i2cbridge");
    for (const char* word : {"--simulate", "--vid", "--pid", "--log FILE", "-h, --help",
                             "-V, --version", "0x0547", "0x2005"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word;
    }
    EXPECT_EQ(VersionText("i2cbridge"), "i2cbridge " + std::to_string(I2CB_VERSION_MAJOR) + "." +
                                            std::to_string(I2CB_VERSION_MINOR) + "." +
                                            std::to_string(I2CB_VERSION_PATCH) + "\n");
}

}  // namespace
}  // namespace i2cbridge
