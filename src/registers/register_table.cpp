// The register table "Active Device Registers" and the raw two-byte panel.

#include <optional>

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "registers/frm_i2c_general.h"
#include "registers/i2c_frames.h"
#include "registers/panel_helpers.h"
#include "shell/workbench.h"

namespace i2cbridge {

namespace {

// The raw panel takes only hexadecimal text with a value up to FF; anything else has no
// sensible byte to send.
std::optional<uint8_t> StrictHexByte(std::string_view text) {
    int value = 0;
    for (char c : text) {
        int digit;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        } else if (c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else {
            return std::nullopt;
        }
        value = value * 16 + digit;
        if (value > 0xFF) return std::nullopt;
    }
    return static_cast<uint8_t>(value);
}

}  // namespace

void FrmI2CGeneral::showRowWrite(int row, uint8_t count) {
    txtBWrite[row].setVisible(true);
    shpBwrite[row].setVisible(true);
    judgeReply(count, kWriteOk, shpBwrite[row]);
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
        txtRdByte[r].setText(HexByteText(ReplyByte(reply, 1)));
        txtRdByte[r].setVisible(true);
        Shape1[r].setVisible(true);
        if (!judgeReply(ReplyByte(reply, 0), kReadOk, Shape1[r])) txtRdByte[r].setText("--");
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
        showRowWrite(r, ReplyByte(reply, 0));
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
    showRowWrite(row, ReplyByte(reply, 0));
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
    txtRdByte[Index].setText(HexByteText(ReplyByte(reply, 1)));
    if (!judgeReply(ReplyByte(reply, 0), kReadOk, Shape1[Index])) txtRdByte[Index].setText("--");
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
    const auto address = StrictHexByte(txtAddr.text());
    if (txtData.text().empty()) txtData.setText("00");
    const auto data = StrictHexByte(txtData.text());
    if (!address || !data) {
        wb_.log.LogMessage("Invalid Write Value", kCrLf);
        return;
    }
    UsbConnection& usb = wb_.usb;
    usb.TransferPipe = 4;
    usb.TransferLength = 2;
    usb.Redim(2);
    usb.TransferBuffer[0] = static_cast<uint8_t>(*address & 0x7F);
    usb.TransferBuffer[1] = *data;
    writePipe();
}

}  // namespace i2cbridge
