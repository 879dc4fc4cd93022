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

// Byte indexes into GpioState.
constexpr int kPbEnables = 0, kPcEnables = 1, kPbData = 2, kPcData = 3;

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
    const auto& g = wb_.GpioState;
    txtPCHex[0].setText(HexByteText(g[kPbEnables]));
    txtPCHex[2].setText(HexByteText(g[kPcEnables]));
    txtPCHexData[0].setText(HexByteText(g[kPbData]));
    txtPCHexData[2].setText(HexByteText(g[kPcData]));
}

void FrmGPIO::setChecked(CheckBox& box, bool checked, void (FrmGPIO::*click)(int), int index) {
    if (box.checked() == checked) return;
    box.setChecked(checked);
    (this->*click)(index);
}

void FrmGPIO::ChkBData_Click(int Index) {
    SetBit(wb_.GpioState[kPbData], Index, ChkBData[Index].checked());
    txtPCHexData[0].setText(HexByteText(wb_.GpioState[kPbData]));
}

void FrmGPIO::ChkCData_Click(int Index) {
    SetBit(wb_.GpioState[kPcData], Index + 4, ChkCData[Index].checked());
    txtPCHexData[2].setText(HexByteText(wb_.GpioState[kPcData]));
}

void FrmGPIO::ChKLedData_Click(int Index) {
    SetBit(wb_.GpioState[kPcData], Index, ChKLedData[Index].checked());
    txtPCHexData[2].setText(HexByteText(wb_.GpioState[kPcData]));
}

// An unchecked enable leaves its data box greyed with its check state kept.
void FrmGPIO::chkOutEn_Click(int Index) {
    const bool on = chkOutEn[Index].checked();
    ChkBData[Index].setEnabled(on);
    SetBit(wb_.GpioState[kPbEnables], Index, on);
    txtPCHex[0].setText(HexByteText(wb_.GpioState[kPbEnables]));
}

void FrmGPIO::chkOutEnc_Click(int Index) {
    const bool on = chkOutEnc[Index].checked();
    ChkCData[Index].setEnabled(on);
    SetBit(wb_.GpioState[kPcEnables], Index + 4, on);
    txtPCHex[2].setText(HexByteText(wb_.GpioState[kPcEnables]));
}

// The two frames carry no command byte: the board tells them apart by length, data first.
// WriteByteCount is left at the frame's length for the next I2C write to find.
void FrmGPIO::writeAndReadBack(bool withEnables) {
    const auto keep = keepAlive();
    ConnectionBracket bracket(wb_.usb, wb_.pump);
    bracket.open();
    wb_.pump.yield();

    const auto& g = wb_.GpioState;
    std::vector<uint8_t> frame{g[kPbData], g[kPcData]};
    if (withEnables) frame.insert(frame.end(), {g[kPbEnables], g[kPcEnables]});
    wb_.i2c.WriteByteCount = static_cast<int16_t>(frame.size());
    const Reply answer = GpioExchange(wb_.usb, frame);

    const ColorSet& c = wb_.colors;
    txtPCHexData[1].setText(HexByteText(answer[0]));
    txtPCHexData[3].setText(HexByteText(answer[1]));
    if (withEnables) {
        txtPCHex[1].setText(HexByteText(answer[2]));
        txtPCHex[3].setText(HexByteText(answer[3]));
        shpGpioWr[2].setColor(answer[2] == g[kPbEnables] ? c.lightGreen() : c.lightRed());
        shpGpioWr[3].setColor(answer[3] == g[kPcEnables] ? c.lightGreen() : c.lightRed());
    }
    ToggleSuccessLamp(shpGpioWr[4], c);
    ToggleSuccessLamp(shpGpioWr[5], c);
    if (withEnables) ToggleSuccessLamp(shpGpioWr[0], c);

    bracket.close();
    wb_.pump.yield();
}

void FrmGPIO::cmdGPIO_Write_Click() {
    writeAndReadBack(true);
}
void FrmGPIO::cmdWrite_GPIO_Data_Click() {
    writeAndReadBack(false);
}

}  // namespace i2cbridge
