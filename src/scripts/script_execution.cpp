// Running script rows: one selected row, Run All Steps, Loop Cont and Abort.

#include <algorithm>
#include <chrono>

#include "foundation/hex_text.h"
#include "gpio/frm_gpio.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "workbench/bus_tools.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

constexpr int kIdleRowPauseMs = 100;
constexpr int kNotSelectedPauseMs = 200;
constexpr int kSettleYields = 1000;

// Pair k (from 0) of a row's hex text: two characters from the left, the last pair possibly
// one character, read as HexToInt reads them.
uint8_t Pair(const std::string& text, int k) {
    const std::size_t at = static_cast<std::size_t>(k) * 2;
    if (at >= text.size()) return 0;
    return static_cast<uint8_t>(HexToInt(std::string_view(text).substr(at, 2)) & 0xFF);
}

std::vector<uint8_t> Pairs(const std::string& text, int count) {
    std::vector<uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (int k = 0; k < count; ++k) bytes.push_back(Pair(text, k));
    return bytes;
}

int WriteCount(const ScriptRow& r) {
    return r.DataWrBytes == 0 ? 0 : r.RegAdrBytes + r.DataWrBytes;
}
int ReadTotal(const ScriptRow& r) {
    return r.DataRdBytes == 0 ? 0 : r.RegAdrBytes + r.DataRdBytes;
}

// Puts a value back when the scope ends, however it ends.
template <typename T>
class Restore {
public:
    Restore(T& place, T value) : place_(place), before_(place) { place_ = value; }
    ~Restore() { place_ = before_; }
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;

private:
    T& place_;
    T before_;
};

}  // namespace

const char* RowKindName(RowKind kind) {
    switch (kind) {
        case RowKind::NotRun:
            return "not run";
        case RowKind::NoTransfer:
            return "no transfer";
        case RowKind::InterruptEnable:
            return "interrupt enable";
        case RowKind::InterruptDisable:
            return "interrupt disable";
        case RowKind::SaveFile:
            return "save file";
        case RowKind::Pause:
            return "pause";
        case RowKind::Delay:
            return "delay";
        case RowKind::Write:
            return "write";
        case RowKind::Read:
            return "read";
        case RowKind::WriteRead:
            return "write and read";
        case RowKind::Gpio:
            return "GPIO";
        case RowKind::IllegalAddress:
            return "illegal address";
        case RowKind::NotSent:
            return "not sent";
    }
    return "unknown";
}

const char* PassEndName(PassEnd end) {
    switch (end) {
        case PassEnd::Completed:
            return "completed";
        case PassEnd::Aborted:
            return "aborted";
        case PassEnd::AbortOnFail:
            return "aborted on fail";
        case PassEnd::Cancelled:
            return "cancelled at a pause";
    }
    return "unknown";
}

int FrmScriptOps::counter(const TextBox& box) const {
    return std::max(0, static_cast<int>(std::strtol(box.text().c_str(), nullptr, 10)));
}

void FrmScriptOps::increment(TextBox& box) {
    box.setText(std::to_string(counter(box) + 1));
}

void FrmScriptOps::toggleSampleLamp() {
    ToggleSuccessLamp(shpISample[0], wb_.colors);
}

void FrmScriptOps::requestAbort(PassEnd cause) {
    wb_.script.AbortRequested = true;
    abortCause_ = cause;
}

// A stop request counts as an Abort from the moment it is seen.
bool FrmScriptOps::abortNow() {
    if (stop_ != nullptr && stop_->load() && !wb_.script.AbortRequested) {
        requestAbort(PassEnd::Aborted);
    }
    return wb_.script.AbortRequested;
}

RowOutcome FrmScriptOps::ExecuteScriptRow(int n, int /*column*/) {
    RowOutcome out;
    out.row = n;
    if (n < 1 || n > rowCount()) return out;
    const auto keep = keepAlive();
    UiPump& pump = wb_.pump;
    UsbConnection& usb = wb_.usb;

    FailsAtRowStart = counter(txtRdFails);
    pump.yield();
    if (vbalGrid1.selectedRow() != n) {
        if (!ScriptRunning) {
            if (usb.UsbOpen) {
                pump.sleepMs(kNotSelectedPauseMs);
                wb_.mainWindow().cmdUSBDisconnect_Click();
                usb.ManualUsbConnect = false;
            }
            pump.sleepMs(kNotSelectedPauseMs);
            for (int i = 0; i < kSettleYields; ++i) pump.yield();
        }
        return out;
    }
    const auto start = std::chrono::steady_clock::now();
    vbalGrid1.setBack(n, kColI2CAdr, kCellRed);
    lastExecutedRow = n;
    out.line = cellText(n, kColLine);
    out.address = cellText(n, kColI2CAdr);
    out.reg = cellText(n, kColRegAdr);
    out.inService = wb_.script.ServiceRunning;
    out.kind = RowKind::NoTransfer;
    // The pass lists rows in the order they start; a service routine's rows run inside this one.
    PassOutcome* const pass = pass_;
    const std::size_t slot = pass != nullptr ? pass->rows.size() : 0;
    if (pass != nullptr) pass->rows.emplace_back();
    if (onRowStarted) onRowStarted(n);

    const std::string operation = cellText(n, kColOperation);
    if (operation == "NOP") {
    } else if (operation == "Cmd: Save File") {
        out.kind = RowKind::SaveFile;
        const WriteBackOutcome saved = Auto_Script_Save();
        out.error = saved.error;
        out.reason = saved.reason;
        pump.yield();
    } else if (operation == "Cmd: Int Enable") {
        out.kind = RowKind::InterruptEnable;
        txtIEnableStep.setText(cellText(n, kColLine));
        chkISample.setChecked(true);
        pump.yield();
    } else if (operation == "Cmd: Int Disable") {
        out.kind = RowKind::InterruptDisable;
        txtIDisableStep.setText(cellText(n, kColLine));
        chkISample.setChecked(false);
        pump.yield();
    } else {
        transfer(n, out);
    }
    // The row's own work ends here; a sample after it, and the routine it may start, do not
    // belong to it.
    out.time = std::chrono::steady_clock::now() - start;
    if (pass != nullptr && slot < pass->rows.size()) pass->rows[slot] = out;
    if (onRowDone) onRowDone(out);
    endOfRow(n);
    return out;
}

// Delays, keypress pauses, GPIO rows and I2C rows.
void FrmScriptOps::transfer(int n, RowOutcome& out) {
    UiPump& pump = wb_.pump;
    UsbConnection& usb = wb_.usb;
    const ScriptRow& r = row(n);

    if (r.StepDelay == -1) {
        out.kind = RowKind::Pause;
        vbalGrid1.setText(n, kColActRd, "Delay Keypress");
        pump.yield();
        const auto answer = wb_.dialogs.messageBox(
            "Script Pause Line :" + std::to_string(n) + " Click OK to Continue, Cancel to Abort",
            kAppTitle, Dialogs::Buttons::OkCancel);
        if (answer == Dialogs::Answer::Cancel) {
            out.cancelled = true;
            requestAbort(PassEnd::Cancelled);
        }
        pump.yield();
        pump.sleepMs(100);
        pump.yield();
        pump.sleepMs(100);
        pump.yield();
        return;
    }
    if (r.StepDelay > 0) {
        out.kind = RowKind::Delay;
        vbalGrid1.setText(n, kColActRd, "Delay " + std::to_string(r.StepDelay));
        pump.yield();
        pump.sleepMs(r.StepDelay);
        return;
    }

    const std::string address = cellText(n, kColI2CAdr);
    // A GPIO row has no I2C address: taking "GPIO" as address 0 would send the rows of the next
    // load to the general call address, which every device on the bus obeys.
    const bool gpioRow = address == "GPIO";
    const int value = HexToInt(address);
    const int writeCount = WriteCount(r);
    const int readTotal = ReadTotal(r);
    if (!gpioRow && (value < 0 || value >= 255)) {
        wb_.dialogs.messageBox(
            "Illegal I2C address Script Row " + std::to_string(n) + " Value = " + address,
            kAppTitle, Dialogs::Buttons::Ok);
        // Only a row with something to send loses a step by it.
        if (writeCount != 0 || readTotal != 0) {
            out.kind = RowKind::IllegalAddress;
            out.error = CoreError::IllegalAddress;
        }
        return;
    }
    if (!gpioRow) wb_.i2c.setAddress(value);

    if (!ScriptRunning) {
        pump.sleepMs(kIdleRowPauseMs);
        if (!usb.UsbOpen) {
            wb_.mainWindow().cmdUSBConnect_Click();
            usb.ManualUsbConnect = true;
        }
        pump.sleepMs(kIdleRowPauseMs);
        for (int i = 0; i < kSettleYields; ++i) pump.yield();
    }
    if (writeCount == 0 && readTotal == 0) return;
    if (gpioRow) {
        out.kind = RowKind::Gpio;
        GPIO_SET(n, out);
        pump.yield();
        return;
    }
    // A frame's count byte cannot carry more than 255 bytes; such a row is never sent cut.
    if (writeCount > kMaxFrameCount || r.DataRdBytes > kMaxFrameCount) {
        out.kind = RowKind::NotSent;
        out.error = CoreError::NotSent;
        vbalGrid1.setBack(n, kColOperation, kCellRed);
        static constexpr std::string_view kNotSent = " Not sent: more than 255 bytes for one frame";
        const std::string& comment = cellText(n, kColComment);
        // Once per load: a row run again keeps its one remark.
        if (!comment.ends_with(kNotSent)) {
            vbalGrid1.setText(n, kColComment, comment + std::string(kNotSent));
        }
        return;
    }
    out.kind = readTotal == 0    ? RowKind::Write
               : writeCount == 0 ? RowKind::Read
                                 : RowKind::WriteRead;
    if (writeCount >= 1) {
        // Not open: nothing was sent, so nothing was acknowledged.
        out.write = TransferOutcome{writeCount + 1, 0, CoreError::NoBoard};
        if (usb.UsbOpen) Write_I2C(n, out);
        out.error = out.write->error;
    }
    vbalGrid1.setText(n, kColActRd, "");
    if (readTotal == 0) {
        pump.yield();
        return;
    }
    out.read = TransferOutcome{r.DataRdBytes, 0, CoreError::NoBoard};
    if (usb.UsbOpen) Read_I2C(n, out);
    if (out.error == CoreError::None) out.error = out.read->error;
    compare(n, out);
}

void FrmScriptOps::Write_I2C(int n, RowOutcome& out) {
    const ScriptRow& r = row(n);
    wb_.pump.yield();
    const auto reg = Pairs(cellText(n, kColRegAdr), r.RegAdrBytes);
    const auto data = Pairs(cellText(n, kColDataWr), r.DataWrBytes);
    uint8_t acknowledged = 0;
    const bool ok =
        WriteRegisterBytes(wb_.usb, wb_.i2c, wb_.i2c.I2CWriteAddress, reg, data, acknowledged);
    out.write = TransferOutcome{r.RegAdrBytes + r.DataWrBytes + 1, acknowledged,
                                ok ? CoreError::None : CoreError::NotAcknowledged};
    if (!ok) {
        vbalGrid1.setBack(n, kColDataWr, kCellRed);
        wb_.log.LogMessage("Write Qty Error Script Line " + std::to_string(n) +
                               " Actual= " + std::to_string(acknowledged),
                           kCrLf);
    }
}

// The data bytes are taken even from a reply with a wrong count: the compare decides on what
// arrived.
void FrmScriptOps::Read_I2C(int n, RowOutcome& out) {
    const ScriptRow& r = row(n);
    const auto reg = Pairs(cellText(n, kColRegAdr), r.RegAdrBytes);
    const Reply reply =
        ReadRegisterBytes(wb_.usb, wb_.i2c, wb_.i2c.I2CWriteAddress, reg, r.DataRdBytes);
    const bool ok = ReadReplyOk(reply[0], r.DataRdBytes);
    out.read =
        TransferOutcome{r.DataRdBytes, reply[0], ok ? CoreError::None : CoreError::ShortRead};
    if (!ok) {
        vbalGrid1.setBack(n, kColDataRd, kCellRed);
        wb_.log.LogMessage("Read Qty Error Script Line " + std::to_string(n) +
                               " Actual :" + std::to_string(reply[0]),
                           kCrLf);
    }
    std::string actual;
    for (int i = 1; i <= r.DataRdBytes; ++i) actual += HexByteText(reply[i]);
    vbalGrid1.setText(n, kColActRd, actual);
    wb_.pump.yield();
}

// Expected and actual read data compared as texts, exactly.
void FrmScriptOps::compare(int n, RowOutcome& out) {
    const bool passed = cellText(n, kColDataRd) == cellText(n, kColActRd);
    out.compare = CompareOutcome{cellText(n, kColDataRd), cellText(n, kColActRd), passed};
    if (passed) {
        increment(txtRdPass);
        vbalGrid1.setBack(n, kColActRd, kCellGreen);
    } else {
        vbalGrid1.setBack(n, kColActRd, kCellRed);
        increment(txtRdFails);
        if (chkAOF.checked() && counter(txtRdFails) > FailsAtRowStart) {
            requestAbort(PassEnd::AbortOnFail);
        }
    }
    wb_.pump.yield();
    wb_.pump.yield();
}

// A GPIO row goes through the GPIO screen, fetched afresh at each use: a yield may have closed
// it, and the next reference loads it again, unseen.
void FrmScriptOps::GPIO_SET(int n, RowOutcome& out) {
    const std::string data = cellText(n, kColDataWr);
    txtIDefault.setText(data.substr(0, 4));
    GpioBytes& gpio = wb_.GpioState;
    gpio.portBData = Pair(data, 0);
    gpio.portCLedData = Pair(data, 1);
    const bool withEnables = data.size() >= 5;
    if (withEnables) {
        gpio.portBEnables = Pair(data, 2);
        gpio.portCLedEnables = Pair(data, 3);
    }
    const GpioOutcome outcome = wb_.gpioScreen().writeAndReadBack(
        withEnables ? GpioFrame::EnablesAndData : GpioFrame::DataOnly);
    const std::string readBack = outcome.readBackText();
    txtLastRead.setText(readBack.substr(0, 4));
    vbalGrid1.setText(n, kColActRd, readBack);
    out.error = outcome.error;
    compare(n, out);
    toggleSampleLamp();
}

void FrmScriptOps::endOfRow(int n) {
    UiPump& pump = wb_.pump;
    UsbConnection& usb = wb_.usb;
    if (chkISample.checked()) {
        cmdISample_Click();
        pump.yield();
    }
    if (n <= vbalGrid1.rowCount()) vbalGrid1.setBack(n, kColI2CAdr, kCellGreen);
    pump.yield();
    if (usb.UsbOpen) {
        if (!ScriptRunning) {
            wb_.mainWindow().cmdUSBDisconnect_Click();
            usb.ManualUsbConnect = false;
            pump.sleepMs(kIdleRowPauseMs);
        }
        pump.yield();
    }
}

PassOutcome FrmScriptOps::cmdExecAll_Click() {
    return runPass(false);
}

// One pass of Run All Steps. Within a Loop Cont (looping) an Abort asked for at any moment
// counts: the pass leaves the request as it finds it, and Abort stays on show between passes.
PassOutcome FrmScriptOps::runPass(bool looping) {
    const auto keep = keepAlive();
    UiPump& pump = wb_.pump;
    ScriptRunState& run = wb_.script;
    PassOutcome pass;
    const Restore<PassOutcome*> collecting(pass_, &pass);
    if (!looping) run.AbortRequested = false;
    if (!run.AbortRequested) abortCause_ = PassEnd::Aborted;
    cmdRunContinuous.setVisible(false);
    cmdExecAll.setVisible(false);
    cmdAbort.setVisible(true);

    wb_.mainWindow().cmdUSBConnect_Click();
    wb_.usb.ManualUsbConnect = true;
    ScriptRunning = true;
    pump.yield();
    wb_.usb.CurrentForm = this;

    txtRdFails.setText("0");
    txtRdPass.setText("0");
    txtTotLines.setText(std::to_string(run.EndMainLine));

    // The End Main row itself is not part of the main part; without one, every row is.
    int last = std::min<int>(run.EndMainLine, rowCount());
    if (last >= 1 && cellText(last, kColOperation) == "Cmd: End Main") --last;
    pass.lastMainRow = std::max(last, 0);
    bool cut = false;
    for (run.CurrentStep = 1; run.CurrentStep <= last; ++run.CurrentStep) {
        const int step = run.CurrentStep;
        vbalGrid1.setSelectedRow(step);
        ExecuteScriptRow(step, 1);
        pump.yield();
        txtRunning.setText(std::to_string(run.CurrentStep));
        pump.yield();
        if (abortNow()) {
            cut = run.CurrentStep < last;
            break;
        }
    }

    if (!looping) cmdAbort.setVisible(false);
    txtRunning.setText("Done");
    wb_.mainWindow().cmdUSBDisconnect_Click();
    wb_.usb.ManualUsbConnect = false;
    pump.yield();
    frmDataRecord.setVisible(true);
    if (!looping) {
        cmdExecAll.setVisible(true);
        cmdRunContinuous.setVisible(true);
    }
    ScriptRunning = false;

    if (cut) pass.end = abortCause_;
    std::vector<bool> ran(static_cast<std::size_t>(pass.lastMainRow) + 1, false);
    for (const RowOutcome& r : pass.rows) {
        if (r.row >= 1 && r.row <= pass.lastMainRow) ran[static_cast<std::size_t>(r.row)] = true;
        if (r.failed()) ++pass.failed;
        if (r.passed()) ++pass.passed;
    }
    for (int n = 1; n <= pass.lastMainRow; ++n) {
        if (!ran[static_cast<std::size_t>(n)]) pass.rowsNotRun.push_back(n);
    }
    return pass;
}

// Loop Cont: passes until an Abort (from the button, a pause's Cancel, a failure with Abort On
// fail, or the request's stop) or the request's number of passes. The loop count counts every
// pass that started, the cut-off one too; when the loop ends, the Pass and Fail boxes show the
// totals of all those passes instead of the last pass's alone.
LoopOutcome FrmScriptOps::RunLoop(const LoopRequest& request) {
    const auto keep = keepAlive();
    const Restore<const std::atomic<bool>*> stopping(stop_, request.stop);
    LoopOutcome loop;
    int comparesPassed = 0, comparesFailed = 0;
    txtLoopCount.setText("0");
    wb_.script.AbortRequested = false;
    abortCause_ = PassEnd::Aborted;
    while (!abortNow() && (request.maxPasses <= 0 || loop.passesRun < request.maxPasses)) {
        cmdRunContinuous.setVisible(false);
        PassOutcome pass = runPass(true);
        ++loop.passesRun;
        txtLoopCount.setText(std::to_string(loop.passesRun));
        for (const RowOutcome& r : pass.rows) {
            if (r.compare) ++(r.compare->passed ? comparesPassed : comparesFailed);
        }
        loop.passed += pass.passed;
        loop.failed += pass.failed;
        loop.end = pass.end;
        if (request.onPass) request.onPass(pass);
        if (!request.keepPasses) loop.passes.clear();
        loop.passes.push_back(std::move(pass));
        wb_.pump.yield();
        wb_.pump.yield();
    }
    loop.aborted = wb_.script.AbortRequested;
    loop.comparesPassed = comparesPassed;
    loop.comparesFailed = comparesFailed;
    txtRdPass.setText(std::to_string(comparesPassed));
    txtRdFails.setText(std::to_string(comparesFailed));
    cmdAbort.setVisible(false);
    cmdExecAll.setVisible(true);
    cmdRunContinuous.setVisible(true);
    return loop;
}

void FrmScriptOps::cmdAbort_Click() {
    requestAbort(PassEnd::Aborted);
    wb_.pump.yield();
}

}  // namespace i2cbridge
