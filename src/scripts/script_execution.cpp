// Running script rows: one selected row, Run All Steps, Loop Cont and Abort.

#include <algorithm>

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

}  // namespace

int FrmScriptOps::counter(const TextBox& box) const {
    return std::max(0, static_cast<int>(std::strtol(box.text().c_str(), nullptr, 10)));
}

void FrmScriptOps::increment(TextBox& box) {
    box.setText(std::to_string(counter(box) + 1));
}

void FrmScriptOps::toggleSampleLamp() {
    ToggleSuccessLamp(shpISample[0], wb_.colors);
}

void FrmScriptOps::ExecuteScriptRow(int n, int /*column*/) {
    if (n < 1 || n > rowCount()) return;
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
        return;
    }
    vbalGrid1.setBack(n, kColI2CAdr, kCellRed);
    lastExecutedRow = n;
    if (onRowStarted) onRowStarted(n);

    const std::string operation = cellText(n, kColOperation);
    if (operation == "NOP") {
    } else if (operation == "Cmd: Save File") {
        Auto_Script_Save();
        pump.yield();
    } else if (operation == "Cmd: Int Enable") {
        txtIEnableStep.setText(cellText(n, kColLine));
        chkISample.setChecked(true);
        pump.yield();
    } else if (operation == "Cmd: Int Disable") {
        txtIDisableStep.setText(cellText(n, kColLine));
        chkISample.setChecked(false);
        pump.yield();
    } else {
        transfer(n);
    }
    endOfRow(n);
}

// Delays, keypress pauses, GPIO rows and I2C rows.
void FrmScriptOps::transfer(int n) {
    UiPump& pump = wb_.pump;
    UsbConnection& usb = wb_.usb;
    const ScriptRow& r = row(n);

    if (r.StepDelay == -1) {
        vbalGrid1.setText(n, kColActRd, "Delay Keypress");
        pump.yield();
        const auto answer = wb_.dialogs.messageBox(
            "Script Pause Line :" + std::to_string(n) + " Click OK to Continue, Cancel to Abort",
            kAppTitle, Dialogs::Buttons::OkCancel);
        if (answer == Dialogs::Answer::Cancel) wb_.script.AbortRequested = true;
        pump.yield();
        pump.sleepMs(100);
        pump.yield();
        pump.sleepMs(100);
        pump.yield();
        return;
    }
    if (r.StepDelay > 0) {
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
    if (!gpioRow && (value < 0 || value >= 255)) {
        wb_.dialogs.messageBox(
            "Illegal I2C address Script Row " + std::to_string(n) + " Value = " + address,
            kAppTitle, Dialogs::Buttons::Ok);
        return;
    }
    if (!gpioRow) wb_.i2c.setAddress(value);
    const int writeCount = WriteCount(r);
    const int readTotal = ReadTotal(r);

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
        GPIO_SET(n);
        pump.yield();
        return;
    }
    // A frame's count byte cannot carry more than 255 bytes; such a row is never sent cut.
    if (writeCount > kMaxFrameCount || r.DataRdBytes > kMaxFrameCount) {
        vbalGrid1.setBack(n, kColOperation, kCellRed);
        static constexpr std::string_view kNotSent = " Not sent: more than 255 bytes for one frame";
        const std::string& comment = cellText(n, kColComment);
        // Once per load: a row run again keeps its one remark.
        if (!comment.ends_with(kNotSent)) {
            vbalGrid1.setText(n, kColComment, comment + std::string(kNotSent));
        }
        return;
    }
    if (writeCount >= 1 && usb.UsbOpen) Write_I2C(n);
    vbalGrid1.setText(n, kColActRd, "");
    if (readTotal == 0) {
        pump.yield();
        return;
    }
    if (usb.UsbOpen) Read_I2C(n);
    compare(n);
}

void FrmScriptOps::Write_I2C(int n) {
    const ScriptRow& r = row(n);
    wb_.pump.yield();
    const auto reg = Pairs(cellText(n, kColRegAdr), r.RegAdrBytes);
    const auto data = Pairs(cellText(n, kColDataWr), r.DataWrBytes);
    uint8_t acknowledged = 0;
    if (!WriteRegisterBytes(wb_.usb, wb_.i2c, wb_.i2c.I2CWriteAddress, reg, data, acknowledged)) {
        vbalGrid1.setBack(n, kColDataWr, kCellRed);
        wb_.log.LogMessage("Write Qty Error Script Line " + std::to_string(n) +
                               " Actual= " + std::to_string(acknowledged),
                           kCrLf);
    }
}

// The data bytes are taken even from a reply with a wrong count: the compare decides on what
// arrived.
void FrmScriptOps::Read_I2C(int n) {
    const ScriptRow& r = row(n);
    const auto reg = Pairs(cellText(n, kColRegAdr), r.RegAdrBytes);
    const Reply reply =
        ReadRegisterBytes(wb_.usb, wb_.i2c, wb_.i2c.I2CWriteAddress, reg, r.DataRdBytes);
    if (!ReadReplyOk(reply[0], r.DataRdBytes)) {
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
void FrmScriptOps::compare(int n) {
    const bool passed = cellText(n, kColDataRd) == cellText(n, kColActRd);
    if (onCompared) onCompared(n, passed);
    if (passed) {
        increment(txtRdPass);
        vbalGrid1.setBack(n, kColActRd, kCellGreen);
    } else {
        vbalGrid1.setBack(n, kColActRd, kCellRed);
        increment(txtRdFails);
        if (chkAOF.checked() && counter(txtRdFails) > FailsAtRowStart) {
            wb_.script.AbortRequested = true;
        }
    }
    wb_.pump.yield();
    wb_.pump.yield();
}

// A GPIO row goes through the GPIO screen, fetched afresh at each use: a yield may have closed
// it, and the next reference loads it again, unseen.
void FrmScriptOps::GPIO_SET(int n) {
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
    compare(n);
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

void FrmScriptOps::cmdExecAll_Click() {
    const auto keep = keepAlive();
    UiPump& pump = wb_.pump;
    ScriptRunState& run = wb_.script;
    run.AbortRequested = false;
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
    for (run.CurrentStep = 1; run.CurrentStep <= last; ++run.CurrentStep) {
        const int step = run.CurrentStep;
        vbalGrid1.setSelectedRow(step);
        ExecuteScriptRow(step, 1);
        pump.yield();
        txtRunning.setText(std::to_string(run.CurrentStep));
        pump.yield();
        if (run.AbortRequested) break;
    }

    cmdAbort.setVisible(false);
    txtRunning.setText("Done");
    wb_.mainWindow().cmdUSBDisconnect_Click();
    wb_.usb.ManualUsbConnect = false;
    pump.yield();
    frmDataRecord.setVisible(true);
    cmdExecAll.setVisible(true);
    cmdRunContinuous.setVisible(true);
    ScriptRunning = false;
}

void FrmScriptOps::cmdRunContinuous_Click() {
    const auto keep = keepAlive();
    txtLoopCount.setText("0");
    int passes = 0;
    wb_.script.AbortRequested = false;
    while (!wb_.script.AbortRequested) {
        cmdRunContinuous.setVisible(false);
        cmdExecAll_Click();
        ++passes;
        txtLoopCount.setText(std::to_string(passes));
        wb_.pump.yield();
        wb_.pump.yield();
    }
    cmdAbort.setVisible(false);
    cmdRunContinuous.setVisible(true);
}

void FrmScriptOps::cmdAbort_Click() {
    wb_.script.AbortRequested = true;
    wb_.pump.yield();
}

}  // namespace i2cbridge
