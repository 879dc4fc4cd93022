// The register table "Active Device Registers" and the raw two-byte panel.

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "main_window/frm_i2c_general.h"
#include "main_window/panel_helpers.h"
#include "workbench/exchange.h"
#include "workbench/workbench.h"

namespace i2cbridge {

void FrmI2CGeneral::showRowWrite(int row, uint8_t count) {
    txtBWrite[row].setVisible(true);
    shpBwrite[row].setVisible(true);
    judgeReply(count, WriteReplyOk(count, 1, 1), shpBwrite[row]);
}

// A row takes part when its address is two characters long; nothing else is checked. The
// rows go out back to back on one connection, without a yield between them.
void FrmI2CGeneral::cmdReadRegs_Click() {
    openBracket();
    wb_.pump.yield();
    wb_.i2c.ReadByteCount = 1;
    for (int r = 0; r < kRegisterRows; ++r) {
        if (CharCount(Reg_Adr[r].text()) != 2) {
            txtRdByte[r].setVisible(false);
            Shape1[r].setColor(wb_.colors.off());
            Shape1[r].setVisible(false);
            continue;
        }
        const auto reply =
            SingleRegisterRead(wb_.usb, wb_.i2c, LowByte(HexToInt(txtI2CAdr.text()) + 1),
                               EntryByte(Reg_Adr[r].text()));
        txtRdByte[r].setText(HexByteText(reply[1]));
        txtRdByte[r].setVisible(true);
        Shape1[r].setVisible(true);
        if (!judgeReply(reply[0], ReadReplyOk(reply[0], 1), Shape1[r])) txtRdByte[r].setText("--");
    }
    closeBracket();
}

// Write All takes the boxes as they stand: no upper-casing, no range check, so a two-character
// text that is not hexadecimal writes the value of its leading hex digits (often 00).
void FrmI2CGeneral::cmdwriteAll_Click() {
    openBracket();
    wb_.pump.yield();
    for (int r = 0; r < kRegisterRows; ++r) {
        if (CharCount(Reg_Adr[r].text()) != 2 || CharCount(txtBWrite[r].text()) != 2) {
            shpBwrite[r].setColor(wb_.colors.off());
            shpBwrite[r].setVisible(false);
            continue;
        }
        const auto reply =
            SingleRegisterWrite(wb_.usb, wb_.i2c, EntryByte(txtI2CAdr.text()),
                                EntryByte(Reg_Adr[r].text()), EntryByte(txtBWrite[r].text()));
        showRowWrite(r, reply[0]);
    }
    closeBracket();
}

// A single row is written whatever its address text: an inactive row writes the register its
// text reads as (an empty address writes register 00). The value sent is the one checked: the
// open yields, and the box may be edited meanwhile.
void FrmI2CGeneral::writeRow(int row, WriteAddressFrom from) {
    const auto value = acceptWriteValue(txtBWrite[row]);
    if (!value) return;
    openBracket();
    const uint8_t address =
        from == WriteAddressFrom::Box ? EntryByte(txtI2CAdr.text()) : wb_.i2c.I2CWriteAddress;
    const auto reply =
        SingleRegisterWrite(wb_.usb, wb_.i2c, address, EntryByte(Reg_Adr[row].text()), *value);
    showRowWrite(row, reply[0]);
    closeBracket();
}

void FrmI2CGeneral::txtBWrite_DblClick(int Index) {
    writeRow(Index, WriteAddressFrom::Box);
}

void FrmI2CGeneral::txtBWrite_KeyPress(int Index, int& KeyAscii) {
    if (KeyAscii == kKeyEnter) writeRow(Index, WriteAddressFrom::Stored);
}

// Reading one row leaves the visibility alone: a row hidden by Read All stays hidden.
void FrmI2CGeneral::txtRdByte_Click(int Index) {
    if (txtRdByte[Index].text().empty()) txtRdByte[Index].setText("00");
    openBracket();
    const auto reply = SingleRegisterRead(wb_.usb, wb_.i2c, LowByte(HexToInt(txtI2CAdr.text()) + 1),
                                          EntryByte(Reg_Adr[Index].text()));
    txtRdByte[Index].setText(HexByteText(reply[1]));
    if (!judgeReply(reply[0], ReadReplyOk(reply[0], 1), Shape1[Index]))
        txtRdByte[Index].setText("--");
    closeBracket();
}

// Copies every read box as it is, "--" and empty included.
void FrmI2CGeneral::Command7_Click() {
    for (int r = 0; r < kRegisterRows; ++r) txtBWrite[r].setText(txtRdByte[r].text());
}

void FrmI2CGeneral::cbReset_Click() {
    wb_.log.LogMessage(
        "Press Reset Button On Evaluation Board, Software Reseting Control Registers to Reset "
        "Status",
        kCrLf);
}

// "Send All" and "Set Defaults" are on the window but have no action.
void FrmI2CGeneral::cbSend_Click() {}
void FrmI2CGeneral::cmdAppsSet_Click() {}

// The raw two-byte panel writes [address with bit 7 cleared, data] on pipe 4 and reads no
// answer. It uses whatever connection there is: no bracket, no lamps.
void FrmI2CGeneral::cmdWrite_Click() {
    wb_.usb.InitI2CPipe();
    if (txtAddr.text().empty()) txtAddr.setText("00");
    const auto address = StrictHexValue(txtAddr.text(), 0xFF);
    if (txtData.text().empty()) txtData.setText("00");
    const auto data = StrictHexValue(txtData.text(), 0xFF);
    if (!address || !data) {
        wb_.log.LogMessage("Invalid Write Value", kCrLf);
        return;
    }
    RawFrameWrite(wb_.usb, static_cast<uint8_t>(*address & 0x7F), static_cast<uint8_t>(*data));
}

}  // namespace i2cbridge
