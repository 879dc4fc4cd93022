#pragma once

// The GPIO screen "GPIO Control": the user edits GpioState bit by bit with check boxes, writes
// it to the board and sees what the board reports back. Other windows drive the same screen
// without showing it (the main window's start-up write, the communications test's LEDs).

#include <array>
#include <cstdint>

#include "foundation/controls.h"
#include "foundation/form.h"

namespace i2cbridge {

class Workbench;

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
    void cmdGPIO_Write_Click();
    void cmdWrite_GPIO_Data_Click();
    void ChKLedData_Click(int Index);
    void ChkBData_Click(int Index);
    void ChkCData_Click(int Index);
    void chkOutEn_Click(int Index);
    void chkOutEnc_Click(int Index);

    // Setting a box from code runs its click handler, as a user click would.
    void setChecked(CheckBox& box, bool checked, void (FrmGPIO::*click)(int), int index);

private:
    void writeAndReadBack(bool withEnables);

    Workbench& wb_;
};

}  // namespace i2cbridge
