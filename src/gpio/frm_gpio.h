#pragma once

// The GPIO screen "GPIO Control": the user edits GpioState bit by bit with check boxes, writes
// it to the board and sees what the board reports back. Other windows drive the same screen
// without showing it (the main window's start-up write, the communications test's LEDs).

#include <array>
#include <cstdint>

#include "foundation/controls.h"
#include "foundation/core_error.h"
#include "foundation/form.h"
#include "workbench/workbench.h"

namespace i2cbridge {

// Which GPIO frame a write-and-read-back sends: the data bytes alone (2 bytes), or the data
// bytes and then the enables (4 bytes).
enum class GpioFrame { DataOnly, EnablesAndData };

// What one GPIO write-and-read-back did. `written` is GpioState as it was sent; `readBack` is
// the board's answer put into the same order (its enables only for EnablesAndData, else 0).
// NoBoard: no board was open; TransferFailed: the driver failed the write or the read. The
// read-back of a failed exchange is the zeros the screen shows.
struct GpioOutcome {
    GpioFrame frame = GpioFrame::DataOnly;
    GpioBytes written;
    GpioBytes readBack;
    CoreError error = CoreError::None;
    bool ok() const { return error == CoreError::None; }
    // The data read back as the screen shows it: port B then port C, two digits each
    // ("FF53"); with the enables ("FF530080") for EnablesAndData.
    std::string readBackText() const;
};

class FrmGPIO : public Form {
public:
    explicit FrmGPIO(Workbench& wb);

    Label Caption{"GPIO Control"};

    // Frame "GPIO Usage": free notes per pin row; the tool never reads them.
    std::array<TextBox, 12> txtGPIOUserName;
    // Frame "Enable": output enables of PB0..PB7 and PC4..PC7; the LED enables are hidden.
    std::array<CheckBox, 8> chkOutEn;
    std::array<CheckBox, 4> chkOutEnc;
    std::array<CheckBox, 2> ChLed1;
    // Frame "Data".
    std::array<CheckBox, 8> ChkBData;
    std::array<CheckBox, 4> ChkCData;
    std::array<CheckBox, 2> ChKLedData;
    // Hex boxes: 0 PB written, 1 PB read back, 2 PC written, 3 PC read back.
    std::array<TextBox, 4> txtPCHex;      // enables
    std::array<TextBox, 4> txtPCHexData;  // data
    // Lamps 0, 2, 3, 4, 5 (there is no lamp 1; it stays hidden).
    std::array<Lamp, 6> shpGpioWr;
    Button cmdGPIO_Write{"Write / Read Enables and Data"};
    Button cmdWrite_GPIO_Data{"Write / Read Data Only"};

    void Form_Load();
    // The two buttons; each is writeAndReadBack with its frame.
    GpioOutcome cmdGPIO_Write_Click();
    GpioOutcome cmdWrite_GPIO_Data_Click();
    // The one GPIO write-and-read-back, for the buttons, script rows, interrupt sampling and
    // the command line's gpio: opens the board unless the user holds it, sends GpioState as
    // it stands in the frame asked for, reads the 25-byte answer, paints the read-back boxes
    // and lamps, closes the board again, and says what happened. Set GpioState first.
    GpioOutcome writeAndReadBack(GpioFrame frame);
    void ChKLedData_Click(int Index);
    void ChkBData_Click(int Index);
    void ChkCData_Click(int Index);
    void chkOutEn_Click(int Index);
    void chkOutEnc_Click(int Index);

    // Setting a box from code runs its click handler, as a user click would.
    void setChecked(CheckBox& box, bool checked, void (FrmGPIO::*click)(int), int index);

private:
    Workbench& wb_;
};

}  // namespace i2cbridge
