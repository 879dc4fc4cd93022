// A test station with two boards plugged in at once: a reference with a serial number behind
// a hub (port 1-2.3) and a target without one (port 1-4). Each session takes only the board it
// was given, whichever of them libusb announces first, and keeps it across a replug.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>

#include "libusb_rig.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

constexpr uint8_t kRefId = 0x11, kTargetId = 0x22;  // what register 2 holds on each

struct Station {
    explicit Station(int targetClaimErrno = 0)
        : ref({.port = "1-2.3", .serial = "REF-0001", .product = "I2C Bridge"}),
          target({.claimErrno = targetClaimErrno,
                  .port = "1-4",
                  .serial = "",
                  .product = "I2C Bridge"}) {
        ref.withModel([](BoardModel& m) { m.device(0x60)->registers[2] = kRefId; });
        target.withModel([](BoardModel& m) { m.device(0x60)->registers[2] = kTargetId; });
    }
    EmulatedBoard ref, target;
};

// One program's session on the board it names.
struct Session {
    explicit Session(std::string board) {
        wb.usb.BoardId = std::move(board);
        wb.usb.InitI2CPipe();
        wb.usb.open(nullptr);
    }
    ~Session() { wb.usb.close(nullptr); }
    // Register 2 of the device at 0x60, or -1 when the read did not reach a board.
    int identifier() {
        const Reply r = SingleRegisterRead(wb.usb, wb.i2c, 0x61, 0x02);
        return r.error() == CoreError::None ? r.bytes()[1] : -1;
    }
    std::size_t logged(const std::string& part) const {
        std::size_t n = 0;
        const std::string& text = wb.log.Txtlog.text();
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
        return n;
    }
    bool yieldUntil(const std::function<bool()>& done,
                    std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!done() && std::chrono::steady_clock::now() < deadline) {
            pump.yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return done();
    }

    LibusbDriver driver;
    FakePump pump{&driver};
    FakeDialogs dialogs;
    Workbench wb{driver, pump, dialogs};
};

// What list prints of each board is checked on the command line below; here, a board that
// another program holds.
TEST(SeveralBoards, ListSaysWhichBoardIsBusy) {
    Station station(EBUSY);
    LibusbDriver driver;
    std::vector<AttachedBoard> boards;
    ASSERT_EQ(driver.listBoards({BoardVendorId, BoardProductId}, boards), 0);
    ASSERT_EQ(boards.size(), 2u);
    EXPECT_EQ(boards[0].access, usb_status::kSuccess);
    EXPECT_EQ(boards[1].access, usb_status::kBusy);
    ASSERT_EQ(driver.listBoards({BoardVendorId, 0x2006}, boards), 0);
    EXPECT_TRUE(boards.empty()) << "other identifiers match neither";
}

TEST(SeveralBoards, TheChosenBoardIsTheOnlyOneTaken) {
    Station station;
    const struct {
        const char* id;
        int identifier;
        const char* ignored;  // the other board, as the log names it
    } cases[] = {
        {"REF-0001", kRefId, "1-4 (no serial)"},
        {"1-2.3", kRefId, "1-4 (no serial)"},
        {"1-4", kTargetId, "1-2.3 (serial REF-0001)"},  // no serial: chosen by its port
        {"REF-0002", -1, "1-2.3 (serial REF-0001)"},
    };
    for (const auto& c : cases) {
        Session session(c.id);
        EXPECT_EQ(session.identifier(), c.identifier) << c.id;
        EXPECT_EQ(session.logged(std::string("Ignoring the board at ") + c.ignored), 1u) << c.id;
    }
}

TEST(SeveralBoards, TwoSessionsInOneProcessKeepToTheirBoards) {
    Station station;
    Session ref("REF-0001"), target("1-4");
    for (uint8_t i = 0; i < 8; ++i) {
        SingleRegisterWrite(ref.wb.usb, ref.wb.i2c, 0x60, 0x10 + i, i);
        SingleRegisterWrite(target.wb.usb, target.wb.i2c, 0x60, 0x10 + i, 0x80 | i);
        ASSERT_EQ(ref.identifier(), kRefId);
        ASSERT_EQ(target.identifier(), kTargetId);
    }
    station.ref.withModel([](BoardModel& m) { EXPECT_EQ(m.device(0x60)->registers[0x17], 7); });
    station.target.withModel(
        [](BoardModel& m) { EXPECT_EQ(m.device(0x60)->registers[0x17], 0x80 | 7); });
}

TEST(SeveralBoards, UnpluggingOneLeavesTheOtherRunningAndAReplugComesBack) {
    Station station;
    Session ref("REF-0001"), target("1-4");
    for (int round = 0; round < 2; ++round) {
        station.target.unplug();
        ASSERT_TRUE(
            target.yieldUntil([&] { return target.wb.usb.DriverContext.DeviceHandle == 0; }));
        EXPECT_EQ(target.identifier(), -1);
        for (int i = 0; i < 5; ++i) EXPECT_EQ(ref.identifier(), kRefId);
        station.target.plug();
        ASSERT_TRUE(
            target.yieldUntil([&] { return target.wb.usb.DriverContext.DeviceHandle != 0; }));
        EXPECT_EQ(target.identifier(), kTargetId);
        ref.yieldUntil([] { return false; }, std::chrono::milliseconds(100));
    }
    // The reference's session heard the target come and go twice, and said so once.
    EXPECT_EQ(ref.logged("Ignoring the board at 1-4"), 1u);
    EXPECT_EQ(ref.logged("DeviceDetach"), 0u);
    EXPECT_EQ(target.logged("DeviceAttach: Received and accepted"), 3u);
}

// The command line on the station: list names both boards, and a command that uses a board
// takes the one named, or refuses to guess.
TEST(SeveralBoards, CommandLinePicksByIdAndNeverGuesses) {
    auto run = [](const std::string& command) {
        std::string out;
        FILE* pipe = popen((command + " 2>&1").c_str(), "r");
        std::array<char, 512> chunk{};
        while (pipe && std::fgets(chunk.data(), chunk.size(), pipe)) out += chunk.data();
        const int raw = pipe ? pclose(pipe) : -1;
        return std::pair{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, out};
    };
    // Under AddressSanitizer the program, like this test, must accept umockdev's preload first.
    auto cli = [&](const std::string& args) {
        return run("ASAN_OPTIONS=verify_asan_link_order=0 " I2CB_CLI_PATH " " + args);
    };
    EXPECT_EQ(cli("list").first, 3) << "nothing attached";
    Station station;
    const struct {
        const char* args;
        int status;
        const char* out;
    } cases[] = {
        {"list", 0,
         "1-2.3  bus 001 device 003  serial REF-0001  I2C Bridge  ready\n"
         "1-4  bus 001 device 004  serial -  I2C Bridge  ready\n"},
        {"list --json", 0,
         R"({"boards":[{"port":"1-2.3","bus":1,"device":3,"serial":"REF-0001",)"
         R"("product":"I2C Bridge","access":"ready"},{"port":"1-4","bus":1,"device":4,)"
         R"("serial":null,"product":"I2C Bridge","access":"ready"}]})"
         "\n"},
        {"read 60 02", 2,
         "i2cbridge-cli: 2 boards attached; choose one with --board ID (its serial number or "
         "port):\n"
         "  1-2.3  bus 001 device 003  serial REF-0001  I2C Bridge  ready\n"
         "  1-4  bus 001 device 004  serial -  I2C Bridge  ready\n"},
        {"read 60 02 --board REF-0001", 0, "11\n"},
        {"read 60 02 --board 1-4", 0, "22\n"},
        {"read 60 02 --board REF-0002 --quiet", 3,
         "i2cbridge-cli: no board found (vendor 0547, product 2005)\n"
         "i2cbridge-cli: no board REF-0002 among them\n"},
    };
    // The trace and the JUnit report name the board.
    TempDir dir;
    WriteBytes(dir.file("t.txt"), "02,,22\r\n");
    const std::string trace = dir.file("t.log"), junit = dir.file("t.xml");
    ASSERT_EQ(
        cli("run " + dir.file("t.txt") + " --board 1-4 -q --trace " + trace + " --junit " + junit)
            .first,
        0);
    EXPECT_NE(ReadBytes(trace).find("\n# board 1-4 (no serial)\n"), std::string::npos);
    EXPECT_NE(ReadBytes(junit).find("<property name=\"board\" value=\"1-4 (no serial)\"/>"),
              std::string::npos);
    for (const auto& c : cases) {
        const auto [status, out] = cli(c.args);
        EXPECT_EQ(status, c.status) << c.args << "\n" << out;
        EXPECT_EQ(out, c.out) << c.args;
    }
#ifdef I2CB_PYTHON_DIR
    // Python refuses the same way, and takes the board named.
    const auto python = run("PYTHONPATH=" I2CB_PYTHON_DIR
                            " /usr/bin/python3 -c '"
                            "import i2cbridge\n"
                            "try: i2cbridge.open()\n"
                            "except ValueError as e: print(e)\n"
                            "print(i2cbridge.SMBus(board=\"1-4\").read_byte_data(0x30, 2))'");
    EXPECT_EQ(python.second,
              "2 boards attached; choose one with board=ID (its serial number or port):\n"
              "  1-2.3  bus 001 device 003  serial REF-0001  I2C Bridge  ready\n"
              "  1-4  bus 001 device 004  serial -  I2C Bridge  ready\n34\n");
#endif
}

}  // namespace
}  // namespace i2cbridge::testing
