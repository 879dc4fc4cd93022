#include "main_window/frm_i2c_general.h"

#include <algorithm>

#include "foundation/hex_text.h"
#include "gpio/frm_gpio.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {
// Size of a scroll bar across, in twips (17 pixels).
constexpr int kScrollBarThickness = 255;
// Band above the register view that holds the table's buttons.
constexpr int kViewTopBand = 400;
}  // namespace

FrmI2CGeneral::FrmI2CGeneral(Workbench& wb)
    : Txtlog(wb.log.Txtlog),
      shpLogStatus(wb.log.shpLogStatus),
      wb_(wb),
      bracket_(wb.usb, wb.pump, this) {
    Shape3.setVisible(false);
    lblNak.setVisible(false);
    TmrSample.setEnabled(false);
}

void FrmI2CGeneral::Form_Load() {
    UsbConnection& usb = wb_.usb;
    usb.CurrentForm = this;
    usb.ManualUsbConnect = false;
    wb_.GpioState = {0x00, 0x00, 0xFF, 0xFF};
    usb.UsbOpen = false;

    wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
    txtActualWrtAddress.setText(HexText(wb_.i2c.I2CWriteAddress));
    txtActualReadAddress.setText(HexText(wb_.i2c.I2CReadAddress));
    wb_.log.LogErrorFlag = false;

    // The probe runs before the colours are assigned, so the lamps it paints come out black.
    Connect_Usb();
    wb_.pump.yield();
    Disconnect_USB();
    wb_.pump.yield();

    cmdexit.setVisible(true);
    SSTab1.setTab(0);
    for (auto& frame : Frame1) frame.setVisible(true);
    cmdReadRegs.setVisible(true);
    Command7.setVisible(true);
    cmdwriteAll.setVisible(true);
    TmrSample.setEnabled(false);

    wb_.colors.InitColors();
    ShpAttach.setColor(wb_.colors.off());

    for (int i = 0; i < kRegisterRows; ++i) {
        Reg_Desc[i].setText("");
        txtBWrite[i].setText("");
        txtRdByte[i].setText("");
        txtBWrite[i].setToolTip("Double click, or press ENTER key to write to single register");
        txtRdByte[i].setToolTip("Single click to read register");
        shpBwrite[i].setColor(wb_.colors.off());
        Shape1[i].setColor(wb_.colors.off());
        Reg_Adr[i].setText(HexByteText(i));
        Reg_Adr[i].setToolTip("Register Address 0x00 to 0xFF");
    }
    cbSend.setVisible(false);
    cbReset.setVisible(false);

    wb_.pump.yield();
    wb_.gpioScreen().cmdGPIO_Write_Click();
    wb_.pump.yield();
}

void FrmI2CGeneral::Form_GotFocus() {
    wb_.usb.CurrentForm = this;
    wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
    wb_.pump.yield();
}

bool FrmI2CGeneral::Form_QueryUnload() {
    if (!wb_.usb.UsbOpen) return false;
    wb_.log.LogMessage("Form will not close until USB Connection is closed. Click USB Disconnect",
                       kCrLf);
    return true;
}

void FrmI2CGeneral::Form_Unload() {
    wb_.pump.yield();
    if (wb_.windows.endProgram) wb_.windows.endProgram();
}

void FrmI2CGeneral::cmdexit_Click() {
    if (!Form_QueryUnload()) Form_Unload();
}

void FrmI2CGeneral::Command1_Click() {}

void FrmI2CGeneral::frmAbout_Click() {
    if (wb_.windows.showAbout) wb_.windows.showAbout();
}

void FrmI2CGeneral::mnuGPIO_Click() {
    wb_.gpioScreen();
    if (wb_.windows.showGpioScreen) wb_.windows.showGpioScreen();
}

void FrmI2CGeneral::mnu_ScriptShow_Click() {
    Disconnect_USB();
    wb_.pump.yield();
    ChKManUsbConn.setChecked(false);
    ChKManUsbConn_Click();
    wb_.pump.yield();
    if (wb_.windows.showScriptWindow) wb_.windows.showScriptWindow();
}

// Window units are twips. Below 500 in either direction the layout is left alone.
void FrmI2CGeneral::Form_Resize(int innerWidth, int innerHeight) {
    if (innerWidth <= 500 || innerHeight <= 500) return;
    const int viewWidth = innerWidth - kScrollBarThickness;
    const int viewHeight = innerHeight - kScrollBarThickness;
    VScroll1.setRect({viewWidth, 0, kScrollBarThickness, viewHeight});
    HScroll1.setRect({0, viewHeight, viewWidth, kScrollBarThickness});
    PbForm.setRect({0, 0, viewWidth, viewHeight});
    pbouter.setRect({0, kViewTopBand, viewWidth, std::max(0, viewHeight - kViewTopBand)});

    auto fit = [](ScrollBar& bar, int outer, int inner) {
        if (outer >= inner) {
            bar.setVisible(false);
            return;
        }
        bar.setVisible(true);
        bar.setMax(inner - outer);
        bar.setLargeChange(2500);
        bar.setSmallChange(250);
    };
    fit(HScroll1, pbouter.rect().width, pbinner.rect().width);
    fit(VScroll1, pbouter.rect().height, pbinner.rect().height);
}

void FrmI2CGeneral::VScroll1_Change() {
    Rect r = pbinner.rect();
    r.top = -VScroll1.value();
    pbinner.setRect(r);
}

void FrmI2CGeneral::HScroll1_Change() {
    wb_.pump.yield();
    Rect r = pbinner.rect();
    r.left = -HScroll1.value();
    pbinner.setRect(r);
}

void FrmI2CGeneral::SSTab1_Click() {
    [[maybe_unused]] const int tab = SSTab1.tab();
    wb_.pump.yield();
    wb_.pump.yield();
}

void FrmI2CGeneral::cmdClearLog_Click() {
    wb_.log.Clear();
}

BusScan FrmI2CGeneral::mnuScanBus_Click() {
    const auto keep = keepAlive();
    ConnectionBracket bracket(wb_.usb, wb_.pump);
    bracket.open();
    BusScan scan = ScanBus(wb_.usb, wb_.i2c);
    bracket.close();
    wb_.log.LogMessage(BusScanText(scan));
    return scan;
}

TraceStart FrmI2CGeneral::mnuTraceStart_Click() {
    traceDialog_.title = "Trace Transfers To";
    traceDialog_.filter = "Text trace (*.txt)|*.txt|Capture for Wireshark (*.pcap)|*.pcap";
    traceDialog_.defaultExt = "txt";
    TraceStart outcome;
    if (!wb_.dialogs.saveFile(traceDialog_) || traceDialog_.fileName.empty()) return outcome;
    mnuTraceStop_Click();
    outcome.path = traceDialog_.fileName;
    if (wb_.startTrace) {
        trace_ = wb_.startTrace(outcome.path, outcome.reason);
    } else {
        outcome.reason = "this program keeps no traces";
    }
    if (!trace_) {
        outcome.error = CoreError::FileUnwritable;
        wb_.log.LogMessage("Trace not started: " + outcome.path + ": " + outcome.reason);
        return outcome;
    }
    wb_.log.LogMessage("Trace started: " + outcome.path);
    return outcome;
}

std::string FrmI2CGeneral::mnuTraceStop_Click() {
    if (!trace_) return {};
    const std::string path = trace_->path();
    trace_.reset();
    wb_.log.LogMessage("Trace stopped: " + path);
    return path;
}

void FrmI2CGeneral::driverStarted(UsbDriverHandle handle) {
    txthDriver.setText(DecText(handle));
}
void FrmI2CGeneral::driverFailed() {
    cbNoc.setCaption("USB Board won't intialize");
}
void FrmI2CGeneral::opening() {
    shpUSBCon[0].setColor(wb_.colors.lightGreen());
    shpUSBCon[1].setColor(wb_.colors.off());
}
void FrmI2CGeneral::opened() {
    cbNoc.setVisible(false);
    ShpHandleStatus.setColor(wb_.colors.lightGreen());
}
void FrmI2CGeneral::closed() {
    shpUSBCon[1].setColor(wb_.colors.lightGreen());
    shpUSBCon[0].setColor(wb_.colors.off());
}
void FrmI2CGeneral::connectClicked() {
    cmdexit.setVisible(false);
}
void FrmI2CGeneral::disconnectClicked() {
    cbNoc.setCaption("USB Board Interface Closed");
    ShpHandleStatus.setColor(wb_.colors.off());
    txthDriver.setText("Closed");
    cbSend.setVisible(false);
    cbReset.setVisible(false);
    cmdexit.setVisible(true);
}

void FrmI2CGeneral::Connect_Usb() {
    wb_.usb.open(this);
}
void FrmI2CGeneral::Disconnect_USB() {
    wb_.usb.close(this);
}
void FrmI2CGeneral::cmdUSBConnect_Click() {
    Connect_Usb();
    connectClicked();
}
void FrmI2CGeneral::cmdUSBDisconnect_Click() {
    Disconnect_USB();
    disconnectClicked();
}
void FrmI2CGeneral::ChKManUsbConn_Click() {
    wb_.usb.ManualUsbConnect = ChKManUsbConn.checked();
}

}  // namespace i2cbridge
