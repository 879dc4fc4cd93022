// The exchanges hand back a copy of the answer checked for size, whatever a handler that ran
// inside a transfer's yield did to the shared buffer; and a closed window's model lives only
// as long as a handler still runs on it.

#include "workbench/exchange.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

// With the connection closed by hand, a read logs and yields. The raw two-byte panel's Write
// can run inside that yield and leave a two-byte buffer behind; the GPIO read-back reads bytes
// 2 and 3 of its answer all the same.
TEST(NestedExchange, RawWriteInsideTheGpioReadBackYieldLeavesTheAnswerWhole) {
    Rig rig;
    FrmI2CGeneral& main = rig.main();
    main.ChKManUsbConn.setChecked(true);
    main.ChKManUsbConn_Click();
    ASSERT_FALSE(rig.wb->usb.UsbOpen);
    FrmGPIO& gpio = rig.gpio();

    // The handler yields once after its bracket; the second yield is the read's, where the raw
    // write runs (before the fix, AddressSanitizer reported the read-back past its copy here).
    bool nested = false;
    rig.pump.atYield(2, [&] {
        main.cmdWrite_Click();
        nested = rig.wb->usb.TransferBuffer.size() == 2;
    });
    gpio.cmdGPIO_Write_Click();

    EXPECT_TRUE(nested);
    // Nothing came back: every read-back box shows the zero of a lost answer.
    EXPECT_EQ(gpio.txtPCHex[1].text(), "00");
    EXPECT_EQ(gpio.txtPCHex[3].text(), "00");
    EXPECT_EQ(gpio.txtPCHexData[1].text(), "00");
}

TEST(WindowLifetime, ModelClosedInsideItsOwnHandlersYieldIsFreedWhenTheHandlerReturns) {
    Rig rig;
    std::weak_ptr<FrmGPIO> closed = rig.program->gpioScreenModel();
    // Called through a plain pointer: only the handler itself may hold the model.
    FrmGPIO* gpio = closed.lock().get();
    bool aliveDuringHandler = false;
    rig.pump.atYield(0, [&] {
        rig.program->unloadGpioScreen();
        aliveDuringHandler = !closed.expired();
    });
    gpio->cmdWrite_GPIO_Data_Click();

    EXPECT_TRUE(aliveDuringHandler);
    EXPECT_TRUE(closed.expired());
    EXPECT_FALSE(rig.program->hasGpioScreen());
}

}  // namespace
}  // namespace i2cbridge::testing
