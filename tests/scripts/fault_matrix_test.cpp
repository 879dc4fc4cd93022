// Every kind of row that talks to the board against every fault the simulated board can show
// while that row runs. Each run must end, close the board, count what the row really got, log
// what went wrong, and leave the script, its data log and its write-back whole. Each case also
// checks that the fault met a request of the row: a row that sends nothing tests nothing.

#include <stdexcept>
#include <tuple>

#include "script_fixture.h"
#include "scripts/script_reader.h"

namespace i2cbridge::testing {
namespace {

// The faults: the board goes before the row's first request, or once that request is out;
// every reply of the row times out, fails on the bus, arrives empty, or brings its first byte
// only; the row's device refuses its address, or takes one byte after it and refuses the rest;
// the board comes back while another program holds its interface.
enum class Kind { Write, Read, WriteRead, Gpio };
enum class Fault {
    UnplugBefore,
    UnplugBetween,
    Timeout,
    TransferError,
    EmptyReply,
    ShortReply,
    NakAddress,
    NakAfterData,
    RefusedInterface
};
const char* const kKindNames[] = {"Write", "Read", "WriteRead", "Gpio"};
const char* const kFaultNames[] = {"UnplugBefore",  "UnplugBetween", "Timeout",
                                   "TransferError", "EmptyReply",    "ShortReply",
                                   "NakAddress",    "NakAfterData",  "RefusedInterface"};

// Row 2 is under test. After it: an address command (its yields let the board's news arrive),
// a row that passes on a healthy board (row 4), and a Save File step that writes the data log.
std::string Script(Kind kind) {
    const char* const rows[] = {"10,55", "02,,5A", "10,55,55", "`G5AA5FFFF"};
    return std::string("# fault matrix\r\n") + rows[int(kind)] + "\r\n`A60\r\n02,,5A\r\n`S\r\n";
}

struct Expected {
    bool compares = false, passed = false;  // the row's own compare of read data
    int acknowledged = 3;                   // a write's count: address and bytes taken
    bool readQtyError = false;
    bool reached = false;                  // a write row's bytes reached the device
    CoreError rowError = CoreError::None;  // the row's outcome: what went wrong first
};

// What the row can get from the board under the fault: the rules of the board and of a row,
// one by one.
Expected Expect(Kind k, Fault f) {
    Expected e;
    const bool writes = k == Kind::Write || k == Kind::WriteRead;
    const bool gpio = k == Kind::Gpio;
    // No request leaves without a board whose interface is ours.
    const bool sent = f != Fault::UnplugBefore && f != Fault::RefusedInterface;
    // The reply buffer starts zeroed: a reply that never comes reads as a count of 0.
    const bool replyLost = !sent || f == Fault::UnplugBetween || f == Fault::Timeout ||
                           f == Fault::TransferError || f == Fault::EmptyReply;
    const bool nakAddress = f == Fault::NakAddress, nakData = f == Fault::NakAfterData;
    if (writes) {
        e.acknowledged = replyLost || nakAddress ? 0 : nakData ? 2 : 3;  // 3 for "10,55"
        e.reached = sent && !nakAddress && !nakData;
    }
    e.compares = k != Kind::Write;
    if (e.compares && !gpio) {
        e.readQtyError = replyLost || nakAddress;  // the count byte is the reply's first
        e.passed = !e.readQtyError && f != Fault::ShortReply && (!writes || e.reached);
    }
    if (gpio) e.passed = !replyLost && f != Fault::ShortReply;  // the read-back is 4 bytes
    e.rowError = e.acknowledged != 3 ? CoreError::NotAcknowledged
                 : e.readQtyError    ? CoreError::ShortRead
                                     : CoreError::None;
    // A GPIO row's error is its GPIO exchange's: no board, or a transfer the driver failed.
    if (gpio && (!sent || f == Fault::UnplugBetween)) e.rowError = CoreError::NoBoard;
    if (gpio && (f == Fault::Timeout || f == Fault::TransferError))
        e.rowError = CoreError::TransferFailed;
    return e;
}

// The file holds the script once, line for line: line 1 stamped, each row as it was up to its
// first comma (the data read replaces the expected).
void ExpectWhole(const std::string& file, const std::string& script) {
    const auto got = SplitScriptLines(file), want = SplitScriptLines(script);
    ASSERT_TRUE(file.ends_with("\r\n") && got.size() == want.size()) << file;
    EXPECT_TRUE(got[0].starts_with(want[0] + "# AutoUpdated: ")) << got[0];
    for (std::size_t i = 1; i < got.size(); ++i)
        EXPECT_TRUE(got[i].starts_with(want[i].substr(0, want[i].find(',')))) << got[i];
}

using Case = std::tuple<Kind, Fault>;

// No device refuses a GPIO row; a write's one-byte acknowledgement cannot come shorter.
std::vector<Case> Cases() {
    std::vector<Case> out;
    for (int k = 0; k < int(std::size(kKindNames)); ++k)
        for (int f = 0; f < int(std::size(kFaultNames)); ++f)
            if ((k != int(Kind::Gpio) || f < int(Fault::NakAddress) ||
                 f > int(Fault::NakAfterData)) &&
                (k != int(Kind::Write) || f != int(Fault::ShortReply)))
                out.emplace_back(Kind(k), Fault(f));
    return out;
}

struct FaultMatrix : ScriptRig, ::testing::TestWithParam<Case> {};

TEST_P(FaultMatrix, TheRunEndsCountsWhatTheRowGotAndKeepsTheFilesWhole) {
    const auto [kind, fault] = GetParam();
    const Expected e = Expect(kind, fault);
    const std::string script = Script(kind);
    FrmScriptOps& w = open(script, "fm.txt");

    SimulatedBoard& board = rig.board;
    const uint32_t requestPipe = kind == Kind::Gpio ? 1 : 2;
    I2CDevice& device = *board.model().device(0x60);
    bool inRow = false;
    // What the fault met: requests of the row it stopped, requests the board saw, replies it
    // spoilt. Zero means the row never gave the fault a chance.
    int injected = 0;
    std::size_t rowLogStart = 0;
    auto reenumerate = [&] { board.unplug(), board.plug(); };
    std::optional<RowOutcome> outcome;
    w.onRowDone = [&](const RowOutcome& r) {
        if (r.row != 2) return;
        outcome = r;
        if (fault != Fault::UnplugBefore && fault != Fault::RefusedInterface) return;
        for (const std::string& m : Messages(rig.log().substr(rowLogStart)))  // the row's own
            injected += m.starts_with("WritePipe: WDU_GetDeviceInfo() failed");
    };
    w.onRowStarted = [&](int row) {
        if (inRow && row != 2) {  // the row is over: a healthy board again
            inRow = false;
            device.nakAddress = false;
            device.nakAfterBytes.reset();
            board.refuseInterface(usb_status::kSuccess);
            if (fault == Fault::RefusedInterface || !board.plugged()) reenumerate();
        }
        if (row != 2) return;
        inRow = true;
        rowLogStart = rig.log().size();
        if (fault == Fault::UnplugBefore) board.unplug();
        if (fault == Fault::NakAddress) device.nakAddress = true;
        if (fault == Fault::NakAfterData) device.nakAfterBytes = 1;
        if (fault == Fault::RefusedInterface)
            board.refuseInterface(usb_status::kBusy), reenumerate();
    };
    // The reply faults: each request of the row gets its reply spoilt.
    SimulatedBoard::TransferFault reply;
    reply.pipe = requestPipe | 0x80;
    const bool spoils = fault >= Fault::Timeout && fault <= Fault::ShortReply;
    if (fault == Fault::Timeout) reply.status = usb_status::kTimeout;
    if (fault == Fault::EmptyReply || fault == Fault::ShortReply) {
        reply.status = usb_status::kSuccess;
        reply.truncateTo = fault == Fault::EmptyReply ? 0 : 1;
    }
    bool firstRequest = true;
    rig.wb->usb.onTransfer = [&](const TransferRecord& t) {
        if (!inRow) return;
        // A spoilt reply: every answer of these rows is longer than the cut.
        if (spoils && t.read && t.pipe == reply.pipe && t.status == reply.status)
            injected += !reply.truncateTo || t.data.size() == *reply.truncateTo;
        if (t.read || t.pipe != requestPipe || t.status != 0) return;
        // A request the board saw; a NAK counts where it went to the refusing device.
        if (fault == Fault::UnplugBetween && firstRequest) board.unplug(), ++injected;
        if (fault == Fault::NakAddress || fault == Fault::NakAfterData)
            injected += t.data.size() > 1 && (t.data[1] & 0xFE) == 0x60;
        firstRequest = false;
        if (spoils) board.injectTransferFault(reply);  // for the reply to this request
    };
    // A run that never ends would yield for ever: a fake pump never sleeps.
    bool guard = true;
    rig.pump.atYield(200000, [&] {
        if (guard) throw std::runtime_error("the run did not end");
    });
    rig.markLog();

    ASSERT_NO_THROW(w.cmdExecAll_Click());
    guard = false;
    EXPECT_GT(injected, 0) << "the fault met no request of row 2";

    EXPECT_EQ(std::tuple(w.txtRunning.text(), rig.wb->usb.UsbOpen, rig.wb->usb.ManualUsbConnect,
                         board.running(), tally(w)),
              std::tuple("Done", false, false, false,
                         !e.compares ? "1/0"
                         : e.passed  ? "2/0"
                                     : "1/1"));
    EXPECT_EQ(cell(w, 4, kColActRd), "5A");
    ASSERT_TRUE(outcome.has_value());
    EXPECT_EQ(std::pair(outcome->error, outcome->failed()),
              std::pair(e.rowError, e.rowError != CoreError::None || (e.compares && !e.passed)));

    // The run logs what the row got short, in order.
    std::vector<std::string> qty;
    if (e.acknowledged != 3)
        qty.push_back("Write Qty Error Script Line 2 Actual= " + std::to_string(e.acknowledged));
    if (e.readQtyError) qty.push_back("Read Qty Error Script Line 2 Actual :0");
    for (const std::string& m : rig.messagesSinceMark()) {
        if (m.find("Qty Error") == std::string::npos) continue;
        ASSERT_FALSE(qty.empty() || !m.starts_with(qty.front())) << m;  // in order
        qty.erase(qty.begin());
    }
    EXPECT_TRUE(qty.empty()) << qty.front();

    // The run leaves the script alone and logs one whole pass; a write-back after it writes
    // the script whole and keeps the one it replaces.
    EXPECT_EQ(ReadBytes(path), script);
    ExpectWhole(ReadBytes(dir.file("fm_DL.txt")), script);
    w.txtFilePath.setText(path);  // the Save File step left the data log there
    w.chkAppend.setChecked(false);
    EXPECT_TRUE(w.cmdStartRec_Click().written);
    ExpectWhole(ReadBytes(path), script);
    EXPECT_EQ(ReadBytes(path + "~"), script);
}

INSTANTIATE_TEST_SUITE_P(EveryRowEveryFault, FaultMatrix, ::testing::ValuesIn(Cases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return std::string(kKindNames[int(std::get<0>(info.param))]) + "_" +
                                    kFaultNames[int(std::get<1>(info.param))];
                         });

}  // namespace
}  // namespace i2cbridge::testing
