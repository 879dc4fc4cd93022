// Every kind of script row against every fault the simulated board can show while that row
// runs. Each run must end, close the board, count what the row really got, log what went
// wrong, and leave the script and its data log whole.

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

enum class Kind { Write, Read, WriteRead, Gpio, Delay, Keypress, SaveFile, Interrupt };
enum class Fault {
    UnplugBefore,      // the board goes before the row's first request
    UnplugBetween,     // the board goes once the row's first request is out
    Timeout,           // every reply of the row times out
    TransferError,     // every reply of the row fails on the bus
    EmptyReply,        // every reply of the row arrives empty
    ShortReply,        // only the first byte of every reply arrives
    NakAddress,        // the row's device refuses its address
    NakAfterData,      // the row's device takes one byte after the address and refuses the rest
    RefusedInterface,  // the board comes back while another program holds its interface
};

const char* const kKindNames[] = {"Write", "Read",     "WriteRead", "Gpio",
                                  "Delay", "Keypress", "SaveFile",  "Interrupt"};
const char* const kFaultNames[] = {"UnplugBefore",  "UnplugBetween", "Timeout",
                                   "TransferError", "EmptyReply",    "ShortReply",
                                   "NakAddress",    "NakAfterData",  "RefusedInterface"};

constexpr const char* kHeader = "# fault matrix";
// A row that would pass on a healthy board follows the row under test; the address command
// between them gives the board's news a few yields to arrive before it.
constexpr const char* kTail = "`A60\r\n02,,5A\r\n";
// The routine (rows 9 to 13) runs when the sample after row 5 sees the source at 40 fire; its
// read of the status register (row 11) releases the line. The run then resumes at row 6.
constexpr const char* kInterruptScript =
    "# fault matrix\r\n`GFFFF\r\n`IE\r\n`A40\r\n00,01\r\n`A60\r\n02,,5A\r\n`ENDM\r\n"
    "`EISTART\r\n`A40\r\n01,,01\r\n`A60\r\n`EIEND\r\n";

std::string Script(Kind kind) {
    if (kind == Kind::Interrupt) return kInterruptScript;
    const char* const rows[] = {"10,55", "02,,5A", "10,55,55", "`G5AA5FFFF", "`w10", "`w", "`S"};
    return std::string(kHeader) + "\r\n" + rows[static_cast<int>(kind)] + "\r\n" + kTail;
}

struct Expected {
    int target = 2;  // the row under test
    int sane = 4;    // the healthy read that follows it
    int passes = 1, fails = 0;
    bool compares = false, passed = false;  // the row's own compare of read data
    bool writeQtyError = false, readQtyError = false;
    int acknowledged = 0;       // the count a wrong write acknowledgement reports
    bool dataOnBoard = false;   // a write row's byte reached register 10 of the device at 60
    bool lineReleased = false;  // the routine's status read reached the source at 40
    std::vector<std::string> logged;
    int dataLogPasses = 0;
    CoreError rowError = CoreError::None;  // the row's outcome: what went wrong first
    bool rowFailed = false;                // the row's strict verdict
};

// What the row can get from the board under the fault: the rules of the board and of a row,
// one by one.
Expected Expect(Kind k, Fault f) {
    Expected e;
    const bool writes = k == Kind::Write || k == Kind::WriteRead;
    const bool reads = k == Kind::Read || k == Kind::WriteRead || k == Kind::Interrupt;
    const bool gpio = k == Kind::Gpio;
    const bool transfers = writes || reads || gpio;
    if (k == Kind::Interrupt) {
        e.target = 11;
        e.sane = 7;
        e.passes = 2;  // the GPIO row passes too
    }
    if (k == Kind::SaveFile) e.dataLogPasses = 1;

    // No request leaves without a board whose interface is ours.
    const bool sent = f != Fault::UnplugBefore && f != Fault::RefusedInterface;
    // The reply buffer starts zeroed: a reply that never comes reads as a count of 0.
    const bool replyLost = !sent || f == Fault::UnplugBetween || f == Fault::Timeout ||
                           f == Fault::TransferError || f == Fault::EmptyReply;
    const bool nakAddress = (writes || reads) && f == Fault::NakAddress;
    const bool nakData = (writes || reads) && f == Fault::NakAfterData;

    if (writes) {
        // The device acknowledges its address and each byte it takes: 3 for "10,55".
        e.acknowledged = replyLost || nakAddress ? 0 : nakData ? 2 : 3;
        e.writeQtyError = e.acknowledged != 3;
        e.dataOnBoard = sent && !nakAddress && !nakData;
    }
    bool& passed = e.passed;
    if (reads) {
        e.readQtyError = replyLost || nakAddress;  // the count byte is the reply's first
        const bool dataArrived = !e.readQtyError && f != Fault::ShortReply;
        passed = dataArrived && (k != Kind::WriteRead || e.dataOnBoard);
        e.lineReleased = sent && !nakAddress;
    }
    if (gpio) passed = !replyLost && f != Fault::ShortReply;  // the read-back is 4 bytes
    e.compares = reads || gpio;
    if (e.compares) (passed ? e.passes : e.fails) += 1;
    e.rowError = e.writeQtyError  ? CoreError::NotAcknowledged
                 : e.readQtyError ? CoreError::ShortRead
                                  : CoreError::None;
    // A GPIO row's error is its GPIO exchange's: no board, or a transfer the driver failed.
    if (gpio && (!sent || f == Fault::UnplugBetween)) e.rowError = CoreError::NoBoard;
    if (gpio && (f == Fault::Timeout || f == Fault::TransferError))
        e.rowError = CoreError::TransferFailed;
    e.rowFailed = e.rowError != CoreError::None || (e.compares && !passed);

    const std::string row = std::to_string(e.target);
    if (f == Fault::UnplugBefore) e.logged.push_back("DeviceDetach: Received detach");
    if (f == Fault::RefusedInterface) e.logged.push_back("DeviceAttach: WDU_SetInterface failed");
    if (transfers && !sent) e.logged.push_back("WritePipe: WDU_GetDeviceInfo() failed");
    if (transfers && f == Fault::UnplugBetween)
        e.logged.push_back("ReadPipe: WDU_GetDeviceInfo() failed");
    if (transfers && (f == Fault::Timeout || f == Fault::TransferError)) {
        const int32_t status = f == Fault::Timeout ? usb_status::kTimeout : usb_status::kIo;
        e.logged.push_back("ReadPipe: WDU_Transfer() failed: error &H");
        e.logged.push_back("(" + usb_status::Name(status) + ")");
    }
    if (e.writeQtyError)
        e.logged.push_back("Write Qty Error Script Line " + row +
                           " Actual= " + std::to_string(e.acknowledged));
    if (e.readQtyError) e.logged.push_back("Read Qty Error Script Line " + row + " Actual :0");
    return e;
}

// How many whole copies of the script the data log holds (each with line 1 stamped), or -1
// when any line is missing, torn or out of place.
int WholePasses(const std::string& log, const std::string& script) {
    auto lines = [](const std::string& text) {
        std::vector<std::string> out;
        for (std::size_t at = 0; at < text.size(); at = text.find("\r\n", at) + 2)
            out.push_back(text.substr(at, text.find("\r\n", at) - at));
        return out;
    };
    if (!log.ends_with("\r\n")) return -1;
    const auto want = lines(script), got = lines(log);
    if (got.size() % want.size() != 0) return -1;
    for (std::size_t i = 0; i < got.size(); ++i) {
        const std::string& line = want[i % want.size()];
        const std::string start =
            i % want.size() == 0 ? line + "# AutoUpdated: " : line.substr(0, line.find(','));
        if (!got[i].starts_with(start)) return -1;
    }
    return static_cast<int>(got.size() / want.size());
}

// Kinds and faults by their number, so that a case can be named and counted from the tables.
using Case = std::tuple<int, int>;

struct FaultMatrix : ::testing::TestWithParam<Case> {};

TEST_P(FaultMatrix, TheRunEndsCountsWhatTheRowGotAndKeepsTheFilesWhole) {
    const auto kind = static_cast<Kind>(std::get<0>(GetParam()));
    const auto fault = static_cast<Fault>(std::get<1>(GetParam()));
    const Expected e = Expect(kind, fault);
    Rig rig;
    TempDir dir;
    const std::string path = dir.file("fm.txt");
    const std::string script = Script(kind);
    WriteBytes(path, script);
    rig.main();
    auto w = rig.program->newScriptWindow();
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();
    ASSERT_EQ(w->rowCount(), kind == Kind::Interrupt ? 13 : 4);

    SimulatedBoard& board = rig.board;
    const uint32_t requestPipe = kind == Kind::Gpio ? 1 : 2;
    // The device the row talks to. A row that talks to none gets the NAK on the one at 60 all
    // the same: nothing of that row may reach it.
    I2CDevice& device = *board.model().device(kind == Kind::Interrupt ? 0x40 : 0x60);
    bool inRow = false;
    auto reenumerate = [&] { board.unplug(), board.plug(); };
    std::optional<RowOutcome> outcome;
    w->onRowDone = [&](const RowOutcome& r) {
        if (r.row == e.target) outcome = r;
    };
    w->onRowStarted = [&](int row) {
        if (inRow && row != e.target) {  // the row is over: a healthy board again
            inRow = false;
            device.nakAddress = false;
            device.nakAfterBytes.reset();
            board.refuseInterface(usb_status::kSuccess);
            if (fault == Fault::RefusedInterface || !board.plugged()) reenumerate();
        }
        if (row != e.target) return;
        inRow = true;
        if (fault == Fault::UnplugBefore) board.unplug();
        if (fault == Fault::NakAddress) device.nakAddress = true;
        if (fault == Fault::NakAfterData) device.nakAfterBytes = 1;
        if (fault == Fault::RefusedInterface) {
            board.refuseInterface(usb_status::kBusy);
            reenumerate();
        }
    };
    bool firstRequest = true;
    rig.wb->usb.onTransfer = [&](const TransferRecord& t) {
        if (!inRow || t.read || t.pipe != requestPipe) return;
        if (fault == Fault::UnplugBetween && firstRequest) board.unplug();
        firstRequest = false;
        SimulatedBoard::TransferFault reply;
        reply.pipe = requestPipe | 0x80;
        if (fault == Fault::Timeout) reply.status = usb_status::kTimeout;
        if (fault == Fault::EmptyReply || fault == Fault::ShortReply) {
            reply.status = usb_status::kSuccess;
            reply.truncateTo = fault == Fault::EmptyReply ? 0 : 1;
        }
        if (fault == Fault::Timeout || fault == Fault::TransferError ||
            fault == Fault::EmptyReply || fault == Fault::ShortReply)
            board.injectTransferFault(reply);
    };
    // A run that never ends would yield for ever: a fake pump never sleeps.
    bool guard = true;
    rig.pump.atYield(200000, [&] {
        if (guard) throw std::runtime_error("the run did not end");
    });
    rig.markLog();

    ASSERT_NO_THROW(w->cmdExecAll_Click());
    guard = false;

    const std::string log = rig.logSinceMark();
    EXPECT_EQ(
        std::tuple(w->txtRunning.text(), rig.wb->usb.UsbOpen, rig.wb->usb.ManualUsbConnect,
                   board.running(), w->txtRdPass.text(), w->txtRdFails.text()),
        std::tuple("Done", false, false, false, std::to_string(e.passes), std::to_string(e.fails)));
    auto back = [&](int column) { return w->vbalGrid1.cell(e.target, column).back; };
    const RgbColor red(kCellRed), green(kCellGreen);
    // The read data's colour only where the row compares.
    EXPECT_EQ(std::tuple(back(kColI2CAdr), back(kColDataWr) == red, back(kColDataRd) == red,
                         e.compares ? back(kColActRd) : RgbColor()),
              std::tuple(green, e.writeQtyError, e.readQtyError,
                         e.compares ? (e.passed ? green : red) : RgbColor()));
    EXPECT_EQ(w->vbalGrid1.cell(e.sane, kColActRd).text, "5A");
    ASSERT_TRUE(outcome.has_value());
    EXPECT_EQ(std::tuple(outcome->error, outcome->failed(), outcome->inService),
              std::tuple(e.rowError, e.rowFailed, kind == Kind::Interrupt));
    if (kind == Kind::Write || kind == Kind::WriteRead) {
        EXPECT_EQ(board.model().device(0x60)->registers[0x10], e.dataOnBoard ? 0x55 : 0x00);
    }
    if (kind == Kind::Interrupt) {
        EXPECT_EQ(board.model().interrupt().active, !e.lineReleased);
    }

    bool failureExpected = false;
    for (const std::string& line : e.logged) {
        EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
        failureExpected |= line.find("failed") != std::string::npos;
    }
    EXPECT_EQ(log.find("failed") != std::string::npos, failureExpected) << log;
    EXPECT_EQ(log.find("Write Qty Error") != std::string::npos, e.writeQtyError) << log;
    EXPECT_EQ(log.find("Read Qty Error") != std::string::npos, e.readQtyError) << log;

    EXPECT_EQ(ReadBytes(path), script);
    const std::string dataLog = dir.file("fm_DL.txt");
    EXPECT_EQ(std::filesystem::exists(dataLog) ? WholePasses(ReadBytes(dataLog), script) : 0,
              e.dataLogPasses);
}

INSTANTIATE_TEST_SUITE_P(
    EveryRowEveryFault, FaultMatrix,
    ::testing::Combine(::testing::Range(0, static_cast<int>(std::size(kKindNames))),
                       ::testing::Range(0, static_cast<int>(std::size(kFaultNames)))),
    [](const ::testing::TestParamInfo<Case>& info) {
        return std::string(kKindNames[std::get<0>(info.param)]) + "_" +
               kFaultNames[std::get<1>(info.param)];
    });

}  // namespace
}  // namespace i2cbridge::testing
