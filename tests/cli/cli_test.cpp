// The command-line program as a process against the built-in board: what it prints, the files
// it writes and the exit status a test station acts on. The JUnit report is checked against a
// schema with xmllint and the capture read back with tshark, as a CI server and Wireshark would.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

struct Outcome {
    int status;
    std::string out;
};

// Runs a shell command line; stderr is dropped.
Outcome Shell(const std::string& command) {
    Outcome outcome{-1, {}};
    FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe) return outcome;
    std::array<char, 512> chunk{};
    while (std::fgets(chunk.data(), chunk.size(), pipe)) outcome.out += chunk.data();
    const int raw = pclose(pipe);
    outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return outcome;
}

Outcome Cli(const std::string& args) {
    return Shell(std::string(I2CB_CLI_PATH) + " " + args);
}

std::string Example(const char* name) {
    return std::string(I2CB_EXAMPLES_DIR) + "/" + name;
}

TEST(Cli, ReadsTheIdentifierRegisterOfTheBuiltInDevice) {
    EXPECT_EQ(Cli("read 60 02 --simulate").out, "5A\n");
    EXPECT_EQ(Cli("read 60 02 --simulate --json").out,
              "{\"address\":\"60\",\"register\":\"02\",\"count\":1,\"read\":1,\"data\":\"5A\"}\n");
}

TEST(Cli, ExitStatusTellsWhatHappened) {
    TempDir dir;
    WriteBytes(dir.file("fails.txt"), "02,,5A\r\n03,,77\r\n");
    const std::string fails = dir.file("fails.txt");
    struct Case {
        std::string args;
        int status;
    };
    const Case cases[] = {
        {"write 60 10 AA --simulate", 0},
        {"write A0 0010 AA 55 --simulate", 0},
        {"read 62 00 --simulate", 1},  // nobody answers at 62
        {"write 62 00 11 --simulate", 1},
        {"dump 62 --simulate", 1},
        {"run " + Example("register_test.txt") + " --simulate", 0},
        {"run " + fails + " --simulate", 1},
        {"run " + fails + " " + dir.file("missing.txt") + " --simulate", 2},
        {"run --simulate", 2},
        {"read 60 --simulate", 2},     // no register
        {"read 6G 02 --simulate", 2},  // not hexadecimal
        {"read 60 02 256 --simulate", 2},
        {"scan --simulate --expect 4G", 2},
        {"frobnicate --simulate", 2},
        {"read 60 02 --simulate --bogus", 2},
        {"read 60 02 --simulate --log " + dir.file("no/such/folder/log"), 2},
        {"", 2},
        {"read 60 02 --simulate --vid 1234 --pid 5678", 0},  // the built-in board answers any
        {"read 60 02 --vid 1234 --pid 5678", 3},             // no such board on USB
        {"run " + fails + " --vid 1234 --pid 5678", 3},
    };
    for (const Case& c : cases) EXPECT_EQ(Cli(c.args).status, c.status) << c.args;
}

TEST(Cli, RunPrintsEveryCompareAndTheVerdictLast) {
    TempDir dir;
    WriteBytes(dir.file("t.txt"), "# t\r\n02,,5A # id\r\n`A60\r\n03,,77\r\n");
    const Outcome run = Cli("run " + dir.file("t.txt") + " --simulate --loop 2");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out,
              "002 60 02 5A 5A PASS\n004 60 03 77 00 FAIL\n"
              "002 60 02 5A 5A PASS\n004 60 03 77 00 FAIL\n2 passed, 2 failed\n");
    // Abort on fail ends the pass and, as Loop Cont, the loop.
    EXPECT_EQ(Cli("run " + dir.file("t.txt") + " --simulate --loop 2 --abort-on-fail").out,
              "002 60 02 5A 5A PASS\n004 60 03 77 00 FAIL\n1 passed, 1 failed\n");
}

TEST(Cli, ExamplesRunGreen) {
    const Outcome run =
        Cli("run " + Example("register_test.txt") + " " + Example("memory_test.txt") + " " +
            Example("gpio_walk.txt") + " " + Example("delay_endmain.txt") + " --simulate");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find(" 0 failed\n"), std::string::npos);
}

TEST(Cli, JUnitReportPassesTheSchemaAndNamesEachFailure) {
    TempDir dir;
    WriteBytes(dir.file("t.txt"), "02,,5A\r\n03,,77\r\n");
    const std::string junit = dir.file("report.xml");
    Cli("run " + dir.file("t.txt") + " " + Example("memory_test.txt") + " --simulate --junit " +
        junit);
    EXPECT_EQ(
        Shell("xmllint --noout --schema " + std::string(I2CB_JUNIT_SCHEMA) + " " + junit).status,
        0);
    const std::string xml = ReadBytes(junit);
    EXPECT_NE(xml.find("<testsuites name=\"i2cbridge-cli\" tests=\"5\" failures=\"1\""),
              std::string::npos);
    EXPECT_NE(xml.find("<testsuite name=\"t.txt\" tests=\"2\" failures=\"1\""), std::string::npos);
    EXPECT_NE(xml.find("<failure message=\"expected 77, read 00\""), std::string::npos);
}

TEST(Cli, UpdateExpectedWritesTheDataRead) {
    TempDir dir;
    WriteBytes(dir.file("t.txt"), "03,,77 # stale\r\n");
    const std::string out = dir.file("new.txt");
    EXPECT_EQ(Cli("run " + dir.file("t.txt") + " --simulate --update-expected " + out).status, 1);
    const std::string written = ReadBytes(out);
    EXPECT_EQ(written.substr(0, 6), "03,,00");
    EXPECT_NE(written.find(" # stale# AutoUpdated: "), std::string::npos);
    EXPECT_EQ(Cli("run " + out + " --simulate").status, 0);
}

TEST(Cli, ScanFindsExactlyTheSimulatedDevices) {
    EXPECT_EQ(Cli("scan --simulate --json").out, "{\"found\":[\"40\",\"60\",\"A0\"]}\n");
    EXPECT_EQ(Cli("scan --simulate --expect 40,60,A0").status, 0);
    EXPECT_EQ(Cli("scan --simulate --expect 60,A0").status, 1);
    const Outcome grid = Cli("scan --simulate");
    EXPECT_NE(grid.out.find("\n30: 30 -- --"), std::string::npos);
    EXPECT_NE(grid.out.find("Write addresses: 40 60 A0\n"), std::string::npos);
}

TEST(Cli, ShowPrintsTheGridRows) {
    TempDir dir;
    WriteBytes(dir.file("t.txt"), "01,,3c  # id\r\n`A88\r\n");
    EXPECT_EQ(Cli("show " + dir.file("t.txt") + " --address 3C").out,
              "001\t3C\t01\t\t3C\t--\t Reg:1 R:1\t# id\n002\t88\t\t\t\t\tCmd:Set I2C Adr\t\n");
    EXPECT_EQ(
        Cli("show " + dir.file("t.txt") + " --json").out,
        "{\"rows\":[{\"line\":\"001\",\"i2cAdr\":\"60\",\"regAdr\":\"01\",\"dataWr\":\"\","
        "\"dataRd\":\"3C\",\"actRd\":\"--\",\"operation\":\" Reg:1 R:1\",\"comment\":\"# id\","
        "\"regAdrBytes\":1,\"dataWrBytes\":0,\"dataRdBytes\":1,\"stepDelay\":0},"
        "{\"line\":\"002\",\"i2cAdr\":\"88\",\"regAdr\":\"\",\"dataWr\":\"\",\"dataRd\":\"\","
        "\"actRd\":\"\",\"operation\":\"Cmd:Set I2C Adr\",\"comment\":\"\",\"regAdrBytes\":0,"
        "\"dataWrBytes\":0,\"dataRdBytes\":0,\"stepDelay\":0}],\"totalReads\":1,"
        "\"endMainLine\":2,\"intStartLine\":0,\"intEndLine\":0}\n");
}

TEST(Cli, GpioWritesAndReadsBack) {
    EXPECT_EQ(Cli("gpio --simulate --enables FFFF 5AA5").out,
              "port B 5A  port C A5  enables B FF  C FF\n");
    EXPECT_EQ(Cli("gpio --simulate --json").out, "{\"portB\":\"FF\",\"portC\":\"FF\"}\n");
}

TEST(Cli, TraceShowsTheFramesAndTsharkReadsTheCapture) {
    TempDir dir;
    Cli("read 60 02 --simulate --trace " + dir.file("t.txt"));
    const std::string text = ReadBytes(dir.file("t.txt"));
    EXPECT_NE(text.find(" OUT 02 3/3 0 01 61 02\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" IN  82 2/2 0 01 5A\n"), std::string::npos) << text;

    Cli("read 60 02 --simulate --trace " + dir.file("t.pcap"));
    const Outcome fields = Shell("tshark -r " + dir.file("t.pcap") +
                                 " -T fields -e usb.endpoint_address -e usb.urb_type");
    ASSERT_EQ(fields.status, 0);
    EXPECT_NE(fields.out.find("0x02\t'S'"), std::string::npos) << fields.out;
    EXPECT_NE(fields.out.find("0x82\t'C'"), std::string::npos) << fields.out;
}

TEST(Cli, HelpAndVersionPrintAndSucceed) {
    for (const char* flag : {"--help", "-h"}) {
        const Outcome run = Cli(flag);
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.out.find("run SCRIPT..."), std::string::npos);
    }
    for (const char* flag : {"--version", "-v"}) {
        const Outcome run = Cli(flag);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out.rfind("i2cbridge-cli ", 0), 0u);
    }
}

}  // namespace
}  // namespace i2cbridge::testing
