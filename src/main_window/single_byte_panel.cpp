// The I2C address box and the single-byte panel, and the helpers that every register
// operation of the main window shares: the connection bracket, the write-value check and the
// judging of a reply.

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "main_window/frm_i2c_general.h"
#include "main_window/panel_helpers.h"
#include "workbench/exchange.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {
// An address outside 00..FF is refused with a message box; the box and the stored addresses
// fall back to 00.
void RejectAddress(TextBox& box, I2CState& i2c, Dialogs& dialogs) {
    box.setText("00");
    i2c.setAddress(0);
    dialogs.messageBox("Illegal I2C Address, re-enter", kAppTitle, Dialogs::Buttons::Ok);
}

void PadAddress(TextBox& box) {
    std::string text = box.text();
    PadOneCharacter(text);
    box.setText(text);
}

}  // namespace

std::optional<uint8_t> FrmI2CGeneral::acceptWriteValue(TextBox& box) {
    box.setText(UpperCase(box.text()));
    if (HexToInt(box.text()) == 0) box.setText("00");
    const int value = HexToInt(box.text());
    if (value < 0 || value > 255) {
        box.setText("--");
        wb_.log.LogMessage("Invalid Write Value", kCrLf);
        return std::nullopt;
    }
    return static_cast<uint8_t>(value);
}

bool FrmI2CGeneral::judgeReply(uint8_t count, bool ok, Lamp& lamp) {
    lblReadCount.setCaption(DecText(count));
    if (ok) {
        ToggleSuccessLamp(lamp, wb_.colors);
    } else {
        lamp.setColor(wb_.colors.lightRed());
    }
    return ok;
}

bool FrmI2CGeneral::judgeSingleByte(uint8_t count, bool ok, Lamp& lamp) {
    judgeReply(count, ok, lamp);
    Shape3.setVisible(true);
    lblNak.setVisible(true);
    Shape3.setColor(ok ? wb_.colors.lightGreen() : wb_.colors.lightRed());
    if (!ok) txtReadByte.setText("--");
    return ok;
}

// Enter commits the address and, when it is a byte, runs the communications test; until the
// test says otherwise the result label shows "Fail".
void FrmI2CGeneral::txtI2CAdr_KeyPress(int& KeyAscii) {
    if (KeyAscii != kKeyEnter) return;
    txtI2CAdr.setText(UpperCase(txtI2CAdr.text()));
    lblCommTest.setBackColor(kRgbRed);
    lblCommTest.setForeColor(kRgbWhite);
    lblCommTest.setCaption("Fail");
    const int value = HexToInt(txtI2CAdr.text());
    if (value >= 0 && value <= 255) {
        PadAddress(txtI2CAdr);
        wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
        cmdTestComm_Click();
    } else {
        RejectAddress(txtI2CAdr, wb_.i2c, wb_.dialogs);
    }
    PadAddress(txtI2CAdr);
}

// Leaving the box commits the address the same way, without the test.
void FrmI2CGeneral::txtI2CAdr_LostFocus() {
    txtI2CAdr.setText(UpperCase(txtI2CAdr.text()));
    const int value = HexToInt(txtI2CAdr.text());
    if (value >= 0 && value <= 255) {
        wb_.i2c.setAddress(value);
    } else {
        RejectAddress(txtI2CAdr, wb_.i2c, wb_.dialogs);
    }
    PadAddress(txtI2CAdr);
}

// The register address is never range-checked: transfers use the low 8 bits of its value.
void FrmI2CGeneral::txtUserRegAdr_KeyPress(int& KeyAscii) {
    if (KeyAscii != kKeyEnter) return;
    txtUserRegAdr.setText(UpperCase(txtUserRegAdr.text()));
    if (HexToInt(txtUserRegAdr.text()) == 0) txtUserRegAdr.setText("00");
}

void FrmI2CGeneral::txtsbwr_KeyPress(int Index, int& KeyAscii) {
    if (KeyAscii != kKeyEnter) return;
    if (acceptWriteValue(txtsbwr[Index])) cmdWrite1Byte_Click(Index);
}

// Both single-byte transfers address the device by the text of the address box as it stands,
// not by the stored write address.
void FrmI2CGeneral::cmdWrite1Byte_Click(int Index) {
    if (!acceptWriteValue(txtsbwr[Index])) return;
    openBracket();
    wb_.pump.yield();

    const auto reply =
        SingleRegisterWrite(wb_.usb, wb_.i2c, EntryByte(txtI2CAdr.text()),
                            EntryByte(txtUserRegAdr.text()), EntryByte(txtsbwr[Index].text()));
    judgeSingleByte(reply[0], WriteReplyOk(reply[0], 1, 1), Shape2[Index]);

    closeBracket();
    wb_.pump.yield();
}

void FrmI2CGeneral::cmdRead_Click() {
    if (txtReadByte.text().empty()) txtReadByte.setText("00");
    openBracket();
    wb_.pump.yield();

    const auto reply = SingleRegisterRead(wb_.usb, wb_.i2c, LowByte(HexToInt(txtI2CAdr.text()) + 1),
                                          EntryByte(txtUserRegAdr.text()));
    txtReadByte.setText(HexByteText(reply[1]));
    judgeSingleByte(reply[0], ReadReplyOk(reply[0], 1), Shape2[2]);

    closeBracket();
    wb_.pump.yield();
}

}  // namespace i2cbridge
