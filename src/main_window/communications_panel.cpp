// The communications test: read register 2 of the device at the entered address, show the
// answer, say "Good" or "Fail", and light the board's green or red LED to match.

#include <optional>

#include "foundation/hex_text.h"
#include "gpio/frm_gpio.h"
#include "main_window/frm_i2c_general.h"
#include "main_window/panel_helpers.h"
#include "workbench/exchange.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

constexpr uint8_t kTestRegister = 2;
// The test asks for one byte but reads a three-byte answer; the third byte means nothing.
constexpr std::size_t kTestAnswerLength = 3;
constexpr int kRedLed = 0;
constexpr int kGreenLed = 1;

void ShowFail(Label& label) {
    label.setCaption("Fail");
    label.setBackColor(kRgbRed);
    label.setForeColor(kRgbWhite);
}

}  // namespace

// In automatic mode the test opens the board and closes it at the end, also when the address
// is refused. The GPIO write in between brings its own bracket: its open finds the board open
// and only logs "Already Opened", its close closes the board, and the test's own close then
// finds nothing to do.
void FrmI2CGeneral::cmdTestComm_Click() {
    UsbConnection& usb = wb_.usb;
    openBracket();
    wb_.pump.yield();
    usb.TransferPipe = static_cast<uint32_t>(usb.I2CPipe);

    // HexToInt is signed: four-digit texts from 8000 up come back negative and pass.
    const int value = HexToInt(txtI2CAdr.text());
    if (value >= 255) {
        wb_.log.LogMessage("Address value too large", kCrLf);
        txtActualWrtAddress.setText("--");
        txtActualReadAddress.setText("--");
        ShowFail(lblCommTest);
        closeBracket();
        return;
    }

    I2CState& i2c = wb_.i2c;
    i2c.setAddress(LowByte(value));
    txtActualWrtAddress.setText(HexText(i2c.I2CWriteAddress));
    txtActualReadAddress.setText(HexText(i2c.I2CReadAddress));

    i2c.ReadByteCount = 1;
    const uint8_t registerBytes[] = {kTestRegister};
    const Reply answer = I2CExchange(usb, RegisterReadRequest(1, i2c.I2CReadAddress, registerBytes),
                                     kTestAnswerLength);
    const uint8_t status = answer[0];
    txtTstReg[0].setText(HexText(status));
    txtTstReg[1].setText(HexText(answer[1]));

    const bool good = ReadReplyOk(status, 1);
    if (good) {
        lblCommTest.setCaption("Good");
        lblCommTest.setBackColor(kRgbGreen);
        lblCommTest.setForeColor(std::nullopt);
    } else {
        ShowFail(lblCommTest);
    }
    wb_.pump.yield();
    // The GPIO screen is fetched afresh at every step: a yield may have closed it, and the
    // next reference loads it again, unseen.
    {
        FrmGPIO& gpio = wb_.gpioScreen();
        gpio.setChecked(gpio.ChKLedData[kGreenLed], good, &FrmGPIO::ChKLedData_Click, kGreenLed);
        gpio.setChecked(gpio.ChKLedData[kRedLed], !good, &FrmGPIO::ChKLedData_Click, kRedLed);
    }
    wb_.pump.yield();
    {
        // Setting the boxes ran their click handlers only where they changed; run both so that
        // the LED bits follow the boxes whatever they showed before.
        FrmGPIO& gpio = wb_.gpioScreen();
        gpio.ChKLedData_Click(kRedLed);
        gpio.ChKLedData_Click(kGreenLed);
    }
    wb_.pump.yield();
    wb_.gpioScreen().cmdGPIO_Write_Click();

    closeBracket();
}

}  // namespace i2cbridge
