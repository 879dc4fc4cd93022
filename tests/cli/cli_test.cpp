// The command-line program as a process against the built-in board: the exit status and the
// last line a test station acts on, the JSON, JUnit and capture files other tools read back
// (json.tool, xmllint with the schema, junitparser, tshark), and the option table against the
// manual pages.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "app/command_line.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

struct Outcome {
    int status;
    std::string out;  // stdout and stderr together
    std::string last() const {
        const auto end = out.find_last_not_of('\n');
        return end == std::string::npos ? ""
                                        : out.substr(0, end + 1).substr(out.rfind('\n', end) + 1);
    }
};

// Runs a bash snippet in `dir` with `cli` (and $CLI) standing for the program and `junit FILE`
// printing "tests failures errors skipped time-of-the-first-case" of a report the schema accepts,
// as junitparser reads it. A pipeline fails when any of its commands fails.
Outcome Bash(const std::string& dir, const std::string& snippet) {
    const char* under = std::getenv("I2CB_CLI_UNDER_TEST");  // another build, such as main's
    const std::string prelude =
        "set -o pipefail; cd '" + dir + "' || exit 99; CLI='" +
        std::string(under ? under : I2CB_CLI_PATH) +
        "'; cli() { \"$CLI\" \"$@\"; }; junit() { xmllint --noout --schema '" + I2CB_SOURCE_DIR +
        "/tests/cli/junit.xsd' \"$1\" 2>/dev/null && /usr/bin/python3 -c '"
        "import sys, junitparser\n"
        "x = junitparser.JUnitXml.fromfile(sys.argv[1])\n"
        "case = next(iter(next(iter(x))))\n"
        "print(x.tests, x.failures, x.errors, x.skipped, round(case.time, 1))' \"$1\"; }\n";
    std::ofstream(dir + "/snippet.sh") << prelude << snippet << "\n";
    Outcome outcome{-1, {}};
    FILE* pipe = popen(("bash '" + dir + "/snippet.sh' 2>&1").c_str(), "r");
    for (std::array<char, 512> chunk{}; pipe && std::fgets(chunk.data(), chunk.size(), pipe);)
        outcome.out += chunk.data();
    const int raw = pipe ? pclose(pipe) : -1;
    outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return outcome;
}

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        // clang-format off
        const std::pair<const char*, const char*> files[] = {
            {"t.txt", "02,,5A\r\n03,,77\r\n"}, {"pass.txt", "02,,5A\r\n"}, {"empty.txt", ""},
            {"absent_write.txt", "`A62\r\n10,AA\r\n"}, {"absent_read.txt", "`A62\r\n10,,00\r\n"},
            {"nobus.txt", "# nothing but a comment\r\n`w1\r\n"}, {"ff.txt", "`AFF\r\n02,,5A\r\n"},
            {"pause.txt", "02,,5A\r\n`w\r\n02,,5A\r\n"}, {"delay.txt", "`w200\r\n02,,5A\r\n"},
            {"s.txt", "02,,5A\r\n`S\r\n"}, {"s_DL.txt", "03,,77\r\n"},  // s_DL: an old record that fails
            {"junk.txt", "ZZ,QQ,RR\r\n"}, {"bom.txt", "\xEF\xBB\xBF" "02,,5A\r\n"},
        };
        // clang-format on
        for (const auto& [name, text] : files) WriteBytes(dir.file(name), text);
        std::filesystem::create_directories(dir.file("blocked/s_DL.txt"));
    }
    TempDir dir;
};

// One row a point: the snippet, its exit status and the last line it prints.
TEST_F(Cli, EveryPointShowsInTheStatusAndTheLastLine) {
    struct Row {
        const char* point;
        std::string snippet;
        int status;
        std::string last;
    };
    const Row rows[] = {
        // A device that does not answer fails the run.
        {"1", "cli run absent_write.txt --simulate", 1, "0 passed, 1 failed, 0 skipped"},
        {"1", "cli run absent_read.txt --simulate | sed -n 1p", 1,
         "002 62 10 00 00 FAIL (read 0 of 1 bytes)"},
        // Nothing to run is not a pass.
        {"2", "cli run . --simulate", 2, "i2cbridge-cli: cannot read .: Is a directory"},
        {"2", "cli run empty.txt --simulate", 1, "0 passed, 0 failed, 0 skipped"},
        {"2", "cli run nobus.txt --simulate 2>&1 | sed -n 1p", 1,
         "i2cbridge-cli: nobus.txt has no step that writes or reads: nothing to run"},
        // An aborted run is not a pass.
        {"3", "cli run t.txt --simulate --loop 3 --abort-on-fail", 1,
         "1 passed, 1 failed, 2 skipped"},
        {"3", "cli run pause.txt --simulate --pause abort", 1, "1 passed, 0 failed, 1 skipped"},
        {"3", "cli run t.txt --simulate --loop 2 --abort-on-fail --junit j.xml; junit j.xml", 0,
         "4 1 0 2 0.0"},
        // Records go to --record-dir, their failure fails the run, a wildcard skips them.
        {"5", "cli run s.txt --simulate --record-dir rec >/dev/null && ls rec", 0, "s_DL.txt"},
        {"5", "cli run s.txt --simulate --record-dir blocked | sed -n 2p", 1,
         "002 60 - - - FAIL (record blocked/s_DL.txt not written: Is a directory)"},
        {"5", "cli run s.txt s_DL.txt --simulate --record-dir rec 2>&1 >/dev/null", 0,
         "i2cbridge-cli: not running s_DL.txt: a record of an earlier run"},
        // Junk is found when the script is read; --lenient runs it as the window would.
        {"6", "cli run junk.txt --simulate", 2,
         "i2cbridge-cli: junk.txt has lines that cannot be read cleanly; --lenient runs it anyway"},
        {"6",
         "cli show junk.txt --json | /usr/bin/python3 -c 'import json, sys; "
         "print(json.load(sys.stdin)[\"remarks\"][0][\"text\"])'",
         0, "Not hexadecimal: ZZ QQ RR"},
        {"6", "cli run bom.txt --simulate --lenient", 0, "1 passed, 0 failed, 0 skipped"},
        // run --json is one document; every command's JSON reads back.
        {"7",
         "cli run t.txt --simulate --json | /usr/bin/python3 -c 'import json, sys; "
         "d = json.load(sys.stdin); print(d[\"failed\"], "
         "d[\"scripts\"][0][\"rows\"][1][\"actual\"])'",
         1, "1 00"},
        {"7",
         "for c in 'read 60 02 --simulate' 'write 60 10 AA --simulate' 'dump 60 --simulate' "
         "'scan --simulate' 'gpio --simulate' 'show t.txt' 'run pass.txt --simulate'; do "
         "cli $c --json | /usr/bin/python3 -m json.tool >/dev/null || exit 9; done; echo valid",
         0, "valid"},
        // With several scripts, each result line names its script.
        {"8", "cli run t.txt pass.txt --simulate | sed -n 3p", 1, "pass.txt: 001 60 02 5A 5A PASS"},
        // Redirected, stderr stays quiet unless --verbose.
        {"9", "cli run t.txt --simulate --loop 3 2>&1 >/dev/null | wc -l", 1, "0"},
        {"9",
         "cli run absent_write.txt --simulate --verbose 2>&1 >/dev/null | grep -c 'log: Write'", 1,
         "1"},
        // JUnit times cover the delay before a compare.
        {"10", "cli run delay.txt --simulate --junit d.xml >/dev/null; junit d.xml", 0,
         "1 0 0 0 0.2"},
        // No board, trace by extension, messages as warnings.
        {"11", "cli read 60 02 --vid 1234 --pid 5678 2>&1 | sed -n 1p", 3,
         "i2cbridge-cli: no board found (vendor 1234, product 5678)"},
        {"11", "cli read 60 02 --vid 1234 --pid 5678 -q 2>&1 | wc -l", 3, "1"},  // no advice
        {"11",
         "cli read 60 02 --simulate --trace x.PCAP && tshark -r x.PCAP -T fields -e "
         "usb.endpoint_address | sed -n 1p",
         0, "0x02"},
        {"11", "cli run ff.txt --simulate 2>&1 | sed -n 1p", 1,
         "i2cbridge-cli: Illegal I2C address Script Row 1 Value = FF"},
        // One option table.
        {"13", "cli read 60 02 --junit x.xml", 2,
         "i2cbridge-cli: --junit does not apply to read (try --help)"},
        {"13", "cli read 60 02 --simulate --vid=0x0547 -q", 0, "5A"},
        {"13", "cli -V | cut -d' ' -f1", 0, "i2cbridge-cli"},
        {"13", "cli read 60 --simulate 2>&1 | wc -l", 2, "1"},
        // Addresses.
        {"14", "cli read 0x60 0x02 --simulate && cli read 30 02 -7 --simulate", 0, "5A"},
        {"14", "cli read 61 02 --simulate", 2,
         "i2cbridge-cli: ADDR 61 is a read address; give the write address 60, or the 7-bit "
         "address 30 with -7 (try --help)"},
        {"14", "cli dump 60 --simulate | sed -n 2p", 0,
         "00: 00 00 5A 00 00 00 00 00 00 00 00 00 00 00 00 00    ..Z............."},
        // What worked before and must keep working.
        {"-", "cli run t.txt --simulate --update-expected new.txt; cli run new.txt --simulate", 0,
         "2 passed, 0 failed, 0 skipped"},
        {"-", "cli scan --simulate --expect 40,60,A0", 0, "Write addresses: 40 60 A0"},
        {"-", "cli scan --simulate | sed -n 4p", 0,
         "20: 20 -- -- -- -- -- -- -- -- -- -- -- -- -- -- --"},  // no character column
        {"-", "cli scan --simulate --json", 0, R"({"found":["40","60","A0"]})"},
        {"-", "cli read 60 02 2 --simulate -q", 0, "5A 00"},
        {"-", "cli scan --simulate --expect 60,A0", 1,
         "i2cbridge-cli: expected 60 A0, found 40 60 A0"},
        {"-", "cli gpio --simulate --enables FFFF 5AA5", 0,
         "port B 5A  port C A5  enables B FF  C FF"},
        {"-", "cli show t.txt --address 3C | sed -n 1p", 0, "001\t3C\t02\t\t5A\t--\t Reg:1 R:1\t"},
        {"-", "cli read 60 02 --simulate --trace t.log && grep -c ' OUT 02 3/3 0 01 61 02$' t.log",
         0, "1"},
        // The built-in board answers to the board named: a serial number, or a port path.
        {"-", "cli read 60 02 --simulate --board SIM-7 --verbose 2>&1 | grep Board:", 0,
         "log: Board: 1-1 (serial SIM-7)"},
        {"-", "cli list --simulate --board 2-3.1 --json", 2,
         "i2cbridge-cli: --board does not apply to list (try --help)"},
        {"-", "cli read 60 02 --simulate --board 2-3.1 --verbose 2>&1 | grep Board:", 0,
         "log: Board: 2-3.1 (no serial)"},
        {"-", "cli list --simulate", 0,
         "1-1  bus 001 device 002  serial -  I2C Bridge (simulated)  ready"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = Bash(dir.path().string(), row.snippet);
        EXPECT_EQ(std::pair(outcome.status, outcome.last()), std::pair(row.status, row.last))
            << row.point << ": " << row.snippet << "\n"
            << outcome.out;
    }
}

// A CI job that times out: the run stops after its row and keeps what it has.
TEST_F(Cli, InterruptedRunReportsWhatItHas) {
    const Outcome outcome =
        Bash(dir.path().string(),
             "\"$CLI\" run pass.txt --simulate --loop 100000 --junit sig.xml >out.txt 2>&1 "
             "& sleep 1; kill -INT $!; wait $!; echo $?; grep -c 'stopped by SIGINT' out.txt; "
             "tail -1 out.txt; junit sig.xml");
    EXPECT_TRUE(std::regex_match(
        outcome.out,
        std::regex("130\n1\n[1-9][0-9]* passed, 0 failed, 1 skipped\n[1-9][0-9]* 0 0 1 0.0\n")))
        << outcome.out;
}

// Every example of the README runs as written (in a copy of the examples), and its CI job
// twice in a row gives the same green output.
TEST_F(Cli, ReadmeExamplesRunAsWritten) {
    std::ifstream readme(std::string(I2CB_SOURCE_DIR) + "/README.md");
    std::string line, commands, ciJob;
    while (std::getline(readme, line)) {
        if (line.rfind("    build/i2cbridge-cli ", 0) == 0) {
            const std::string command = line.substr(23, line.find(" #") - 23);
            commands += "cli" + command + " >/dev/null || echo failed: " + command + "\n";
        }
        // The first CI job; the station's needs two boards.
        if (const auto at = line.find("- i2cbridge-cli run ");
            at != std::string::npos && ciJob.empty()) {
            ciJob = "cli" + line.substr(at + 15);
        }
    }
    ASSERT_FALSE(commands.empty());
    ASSERT_FALSE(ciJob.empty());
    const std::string copy = "cp -r '" + std::string(I2CB_SOURCE_DIR) +
                             "/examples' . && mkdir -p tests && cp examples/*.txt tests/\n";
    EXPECT_EQ(Bash(dir.path().string(), copy + commands + "echo done").out, "done\n");
    // The job runs on a station with the board; here the built-in board stands in for it.
    const Outcome first = Bash(dir.path().string(), ciJob + " --simulate");
    const Outcome second = Bash(dir.path().string(), ciJob + " --simulate");
    EXPECT_EQ(std::tuple(first.status, second.status, first.out), std::tuple(0, 0, second.out));
}

// The manual pages list exactly the options of the table, program by program.
TEST(CliOptions, ManualPagesListTheTableOptions) {
    for (const auto& [page, program] :
         {std::pair{"i2cbridge.1", kWindowProgram}, std::pair{"i2cbridge-cli.1", kCliProgram}}) {
        std::ifstream in(std::string(I2CB_SOURCE_DIR) + "/packaging/" + page);
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        text = std::regex_replace(text, std::regex(R"(\\-)"), "-");
        const auto begin = text.find(".SH OPTIONS");
        ASSERT_NE(begin, std::string::npos) << page;
        const std::string options = text.substr(begin, text.find(".SH", begin + 1) - begin);
        std::set<std::string> listed, table;
        const std::regex option(R"((^|[\s,])(--[a-z0-9][a-z0-9-]*|-[A-Za-z0-9])\b)");
        for (std::sregex_iterator m(options.begin(), options.end(), option), none; m != none; ++m) {
            listed.insert((*m)[2]);
        }
        for (const OptionSpec& spec : OptionTable()) {
            if (!(spec.programs & program)) continue;
            table.insert(spec.name);
            for (const char c : spec.shorts) table.insert(std::string("-") + c);
        }
        EXPECT_EQ(listed, table) << page;
    }
}

}  // namespace
}  // namespace i2cbridge::testing
