#include "app/command_line.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace i2cbridge {
namespace {

CommandLine Parse(std::vector<std::string> args) {
    return CommandLine::Parse(args);
}

// Sixteen-bit hex with or without 0x; nothing else, not even a blank.
TEST(UsbIdText, TakesOnlySixteenBitHexNumbers) {
    const std::pair<const char*, std::optional<uint16_t>> cases[] = {
        {"0x0547", 0x0547}, {"0X2005", 0x2005}, {"547", 0x0547}, {"ffff", 0xFFFF}, {"0", 0},
        {"0x0", 0},         {"", {}},           {"0x", {}},      {"10000", {}},    {"0x10000", {}},
        {"05G7", {}},       {"-1", {}},         {" 547", {}},
    };
    for (const auto& [text, id] : cases) EXPECT_EQ(ParseUsbId(text), id) << text;
}

TEST(Options, SimulateAndIdentifiersInBothSpellings) {
    const CommandLine cl = Parse({"--simulate", "--vid", "0x1234", "--pid=ABCD"});
    EXPECT_TRUE(cl.error.empty()) << cl.error;
    EXPECT_TRUE(cl.simulate);
    EXPECT_EQ(cl.vendorId, 0x1234);
    EXPECT_EQ(cl.productId, 0xABCD);
}

TEST(Options, ToolkitArgumentsAreLeftAlone) {
    const CommandLine cl =
        Parse({"-platform", "offscreen", "-style=fusion", "-reverse", "--simulate"});
    EXPECT_TRUE(cl.error.empty()) << cl.error;
    EXPECT_TRUE(cl.simulate);
}

TEST(Options, LogFile) {
    EXPECT_EQ(Parse({"--log", "run.log"}).logFile, "run.log");
    EXPECT_FALSE(Parse({"--log="}).error.empty());
}

TEST(Options, MistakesAreNamedInTheError) {
    const CommandLine badId = Parse({"--vid", "0x5G47"});
    EXPECT_NE(badId.error.find("--vid"), std::string::npos);
    EXPECT_NE(badId.error.find("0x5G47"), std::string::npos);
    EXPECT_NE(badId.error.find("0x0547"), std::string::npos);  // an example of what fits
    EXPECT_FALSE(badId.vendorId);

    const CommandLine missing = Parse({"--simulate", "--pid"});
    EXPECT_NE(missing.error.find("--pid needs a value"), std::string::npos);

    EXPECT_NE(Parse({"--simulat"}).error.find("unknown option --simulat"), std::string::npos);
    EXPECT_NE(Parse({"-x"}).error.find("unknown option -x"), std::string::npos);
    EXPECT_NE(Parse({"--simulate", "board"}).error.find("unknown argument board"),
              std::string::npos);
    EXPECT_NE(Parse({"--simulate=yes"}).error.find("takes no value"), std::string::npos);
}

TEST(Options, ValueOfAnOptionIsNotReadAsAnOption) {
    // "--pid --simulate": the product identifier is missing, and "--simulate" is its bad value.
    const CommandLine cl = Parse({"--pid", "--simulate"});
    EXPECT_FALSE(cl.error.empty());
    EXPECT_FALSE(cl.simulate);
}

TEST(Options, HelpTextNamesEveryOptionAndTheDefaults) {
    const std::string text = UsageText("i2cbridge");
    for (const char* word : {"--simulate", "--vid", "--pid", "--log FILE", "-h, --help",
                             "-V, --version", "0x0547", "0x2005"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word;
    }
}

TEST(Options, HelpAndVersionInBothSpellings) {
    const struct {
        const char* arg;
        bool help;
        bool version;
    } cases[] = {{"--help", true, false},
                 {"-h", true, false},
                 {"--version", false, true},
                 {"-V", false, true},
                 {"-v", false, true}};
    for (const auto& c : cases) {
        const CommandLine cl = Parse({c.arg});
        EXPECT_TRUE(cl.error.empty()) << c.arg << ": " << cl.error;
        EXPECT_EQ(cl.help, c.help) << c.arg;
        EXPECT_EQ(cl.version, c.version) << c.arg;
    }
    EXPECT_EQ(VersionText("i2cbridge"), "i2cbridge " + std::to_string(I2CB_VERSION_MAJOR) + "." +
                                            std::to_string(I2CB_VERSION_MINOR) + "." +
                                            std::to_string(I2CB_VERSION_PATCH) + "\n");
}

}  // namespace
}  // namespace i2cbridge
