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
    const CommandLine cl = Parse({"-platform", "offscreen", "--simulate"});
    EXPECT_TRUE(cl.error.empty()) << cl.error;
    EXPECT_TRUE(cl.simulate);
}

TEST(Options, ScreenshotFolder) {
    EXPECT_EQ(Parse({"--screenshot", "docs/screenshots"}).screenshotDir, "docs/screenshots");
    EXPECT_FALSE(Parse({"--screenshot="}).error.empty());
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
    for (const char* word : {"--simulate", "--vid", "--pid", "--help", "0x0547", "0x2005"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word;
    }
    EXPECT_TRUE(Parse({"--help"}).help);
}

}  // namespace
}  // namespace i2cbridge
