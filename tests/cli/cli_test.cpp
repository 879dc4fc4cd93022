// The command-line program as a process against the built-in board: what it prints and the
// exit status a test station acts on.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

struct Outcome {
    int status;
    std::string out;
};

// Runs the program with the arguments (a shell word list); stderr is dropped.
Outcome Cli(const std::string& args) {
    const std::string command = std::string(I2CB_CLI_PATH) + " " + args + " 2>/dev/null";
    Outcome run{-1, {}};
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 256> chunk{};
    while (std::fgets(chunk.data(), chunk.size(), pipe)) run.out += chunk.data();
    const int raw = pclose(pipe);
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return run;
}

TEST(Cli, ReadsTheIdentifierRegisterOfTheBuiltInDevice) {
    const Outcome run = Cli("read 60 02 --simulate");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "5A\n");
}

TEST(Cli, ExitStatusTellsWhatHappened) {
    struct Case {
        const char* args;
        int status;
    };
    const Case cases[] = {
        {"write 60 10 AA --simulate", 0},     {"write A0 0010 AA 55 --simulate", 0},
        {"read 60 10 3 --simulate", 0},       {"read 62 00 --simulate", 1},  // nobody answers at 62
        {"write 62 00 11 --simulate", 1},     {"read 60 --simulate", 2},     // no register
        {"read 6G 02 --simulate", 2},                                        // not hexadecimal
        {"read 60 02 0 --simulate", 2},                                      // count out of range
        {"read 60 02 256 --simulate", 2},     {"frobnicate --simulate", 2},
        {"read 60 02 --simulate --bogus", 2}, {"", 2},
    };
    for (const Case& c : cases) EXPECT_EQ(Cli(c.args).status, c.status) << c.args;
}

TEST(Cli, HelpAndVersionPrintAndSucceed) {
    for (const char* flag : {"--help", "-h"}) {
        const Outcome run = Cli(flag);
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.out.find("read ADDR REG [COUNT]"), std::string::npos);
    }
    for (const char* flag : {"--version", "-v"}) {
        const Outcome run = Cli(flag);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out.rfind("i2cbridge-cli ", 0), 0u);
    }
}

}  // namespace
