#include "gpio/frm_gpio.h"

#include "foundation/hex_text.h"
#include "workbench/connection_bracket.h"
#include "workbench/exchange.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {
constexpr const char* kUserNames[12] = {"BSTATUS", "BI2CMSTR",   "HVSYNC_POL", "HHSYNC_POL",
                                        "ASTATUS", "AI2CMSTR",   "AVSYNC_POL", "AHSYNC_POL",
                                        "DE_FLIP", "VSYNC_FLIP", "HSYNC_FLIP", "USB_SPLIT"};
constexpr const char* kPortBCaptions[8] = {"PB0 P1.02", "PB1 P1.03", "PB2 P1.04", "PB3 P1.05",
                                           "PB4 P1.06", "PB5 P1.07", "PB6 P1.08", "PB7 P1.09"};
constexpr const char* kPortCCaptions[4] = {"PC4 P2.05", "PC5 P2.04", "PC6 P2.03", "PC7 P2.02"};
constexpr const char* kLedCaptions[2] = {"Red Led", "Green Led"};

void SetBit(uint8_t& byte, int bit, bool on) {
    if (on) {
        byte = static_cast<uint8_t>(byte | (1u << bit));
    } else {
        byte = static_cast<uint8_t>(byte & ~(1u << bit));
    }
}
}  // namespace

// The check boxes start from fixed states, not from GpioState: every data box checked, every
// enable box unchecked, the LED enables hidden.
FrmGPIO::FrmGPIO(Workbench& wb) : wb_(wb) {
    for (int i = 0; i < 12; ++i) txtGPIOUserName[i].setText(kUserNames[i]);
    for (int i = 0; i < 8; ++i) {
        chkOutEn[i] = CheckBox(kPortBCaptions[i], false);
        ChkBData[i] = CheckBox(kPortBCaptions[i], true);
    }
    for (int i = 0; i < 4; ++i) {
        chkOutEnc[i] = CheckBox(kPortCCaptions[i], false);
        ChkCData[i] = CheckBox(kPortCCaptions[i], true);
    }
    for (int i = 0; i < 2; ++i) {
        ChLed1[i] = CheckBox(kLedCaptions[i], false);
        ChLed1[i].setVisible(false);
        ChKLedData[i] = CheckBox(kLedCaptions[i], true);
    }
    const char* hexTexts[4] = {"00", "--", "00", "--"};
    const char* hexDataTexts[4] = {"DD", "--", "DD", "--"};
    for (int i = 0; i < 4; ++i) {
        txtPCHex[i].setText(hexTexts[i]);
        txtPCHexData[i].setText(hexDataTexts[i]);
    }
    for (auto& lamp : shpGpioWr) lamp.setColor(qb::kBlack);
    shpGpioWr[1].setVisible(false);
}

void FrmGPIO::Form_Load() {
    const GpioBytes& g = wb_.GpioState;
    txtPCHex[0].setText(HexByteText(g.portBEnables));
    txtPCHex[2].setText(HexByteText(g.portCLedEnables));
    txtPCHexData[0].setText(HexByteText(g.portBData));
    txtPCHexData[2].setText(HexByteText(g.portCLedData));
}

void FrmGPIO::setChecked(CheckBox& box, bool checked, void (FrmGPIO::*click)(int), int index) {
    if (box.checked() == checked) return;
    box.setChecked(checked);
    (this->*click)(index);
}

void FrmGPIO::ChkBData_Click(int Index) {
    SetBit(wb_.GpioState.portBData, Index, ChkBData[Index].checked());
    txtPCHexData[0].setText(HexByteText(wb_.GpioState.portBData));
}

void FrmGPIO::ChkCData_Click(int Index) {
    SetBit(wb_.GpioState.portCLedData, Index + 4, ChkCData[Index].checked());
    txtPCHexData[2].setText(HexByteText(wb_.GpioState.portCLedData));
}

void FrmGPIO::ChKLedData_Click(int Index) {
    SetBit(wb_.GpioState.portCLedData, Index, ChKLedData[Index].checked());
    txtPCHexData[2].setText(HexByteText(wb_.GpioState.portCLedData));
}

// An unchecked enable leaves its data box greyed with its check state kept.
void FrmGPIO::chkOutEn_Click(int Index) {
    const bool on = chkOutEn[Index].checked();
    ChkBData[Index].setEnabled(on);
    SetBit(wb_.GpioState.portBEnables, Index, on);
    txtPCHex[0].setText(HexByteText(wb_.GpioState.portBEnables));
}

void FrmGPIO::chkOutEnc_Click(int Index) {
    const bool on = chkOutEnc[Index].checked();
    ChkCData[Index].setEnabled(on);
    SetBit(wb_.GpioState.portCLedEnables, Index + 4, on);
    txtPCHex[2].setText(HexByteText(wb_.GpioState.portCLedEnables));
}

std::string GpioOutcome::readBackText() const {
    std::string text = HexByteText(readBack.portBData) + HexByteText(readBack.portCLedData);
    if (frame == GpioFrame::EnablesAndData)
        text += HexByteText(readBack.portBEnables) + HexByteText(readBack.portCLedEnables);
    return text;
}

// The two frames carry no command byte: the board tells them apart by length, data first.
// WriteByteCount is left at the frame's length for the next I2C write to find.
GpioOutcome FrmGPIO::writeAndReadBack(GpioFrame frame) {
    const auto keep = keepAlive();
    const bool withEnables = frame == GpioFrame::EnablesAndData;
    ConnectionBracket bracket(wb_.usb, wb_.pump);
    bracket.open();
    wb_.pump.yield();

    GpioOutcome outcome;
    outcome.frame = frame;
    outcome.written = wb_.GpioState;
    const GpioBytes& g = outcome.written;
    std::vector<uint8_t> bytes{g.portBData, g.portCLedData};
    if (withEnables) bytes.insert(bytes.end(), {g.portBEnables, g.portCLedEnables});
    wb_.i2c.WriteByteCount = static_cast<int16_t>(bytes.size());
    const Reply answer = GpioExchange(wb_.usb, bytes);
    outcome.error = answer.error();
    outcome.readBack.portBData = answer[0];
    outcome.readBack.portCLedData = answer[1];
    if (withEnables) {
        outcome.readBack.portBEnables = answer[2];
        outcome.readBack.portCLedEnables = answer[3];
    }

    // The lamps compare with the state as it is now: a handler that ran inside the exchange's
    // yields may have changed it.
    const GpioBytes& now = wb_.GpioState;
    const GpioBytes& r = outcome.readBack;
    const ColorSet& c = wb_.colors;
    txtPCHexData[1].setText(HexByteText(r.portBData));
    txtPCHexData[3].setText(HexByteText(r.portCLedData));
    if (withEnables) {
        txtPCHex[1].setText(HexByteText(r.portBEnables));
        txtPCHex[3].setText(HexByteText(r.portCLedEnables));
        shpGpioWr[2].setColor(r.portBEnables == now.portBEnables ? c.lightGreen() : c.lightRed());
        shpGpioWr[3].setColor(r.portCLedEnables == now.portCLedEnables ? c.lightGreen()
                                                                       : c.lightRed());
    }
    ToggleSuccessLamp(shpGpioWr[4], c);
    ToggleSuccessLamp(shpGpioWr[5], c);
    if (withEnables) ToggleSuccessLamp(shpGpioWr[0], c);

    bracket.close();
    wb_.pump.yield();
    return outcome;
}

GpioOutcome FrmGPIO::cmdGPIO_Write_Click() {
    return writeAndReadBack(GpioFrame::EnablesAndData);
}
GpioOutcome FrmGPIO::cmdWrite_GPIO_Data_Click() {
    return writeAndReadBack(GpioFrame::DataOnly);
}

}  // namespace i2cbridge
