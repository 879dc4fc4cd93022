#include <gtest/gtest.h>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

constexpr uint32_t kRed = 0xFF0000;
constexpr uint32_t kWhite = 0xFFFFFF;
constexpr uint32_t kGreen = 0x008000;

class CommTest : public PanelTest {
protected:
    void test(const std::string& address) {
        win->txtI2CAdr.setText(address);
        win->cmdTestComm_Click();
    }
    void expectFail() {
        EXPECT_EQ(win->lblCommTest.caption(), "Fail");
        EXPECT_EQ(win->lblCommTest.backColor(), RgbColor(kRed));
        EXPECT_EQ(win->lblCommTest.foreColor(), RgbColor(kWhite));
    }
    uint8_t ledByte() { return rig.wb->GpioState[3]; }
    static std::size_t count(const std::string& text, const std::string& what) {
        std::size_t n = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
        return n;
    }
};

TEST_F(CommTest, GoodReadsRegisterTwoAndLightsTheGreenLed) {
    test("60");
    // The test frame, then one enables-and-data GPIO frame with red off and green on.
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFE, 0x00, 0x00})}));
    EXPECT_EQ(win->lblCommTest.caption(), "Good");
    EXPECT_EQ(win->lblCommTest.backColor(), RgbColor(kGreen));
    EXPECT_EQ(win->lblCommTest.foreColor(), RgbColor(std::nullopt));
    EXPECT_EQ(win->txtTstReg[0].text(), "1");
    EXPECT_EQ(win->txtTstReg[1].text(), "5A");
    EXPECT_EQ(win->txtActualWrtAddress.text(), "60");
    EXPECT_EQ(win->txtActualReadAddress.text(), "61");
    EXPECT_EQ(ledByte(), 0xFE);
    EXPECT_EQ(rig.wb->GpioState[1], 0x00);  // the LED enables are left alone
    EXPECT_TRUE(rig.gpio().ChKLedData[1].checked());
    EXPECT_FALSE(rig.gpio().ChKLedData[0].checked());
    EXPECT_EQ(rig.gpio().txtPCHexData[2].text(), "FE");
}

TEST_F(CommTest, AutomaticModeOpensOnceAndTheNestedGpioOpenOnlyLogs) {
    test("60");
    EXPECT_EQ(rig.board.initCount(), 3);  // probe, start-up GPIO write, this test
    EXPECT_EQ(rig.board.uninitCount(), 3);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(count(rig.logSinceMark(), Entry("Already Opened")), 1u);
    EXPECT_EQ(win->txthDriver.text(), "Closed");
}

TEST_F(CommTest, AnswerValueIsShownWithoutLeadingZero) {
    device60().registers[2] = 0x05;
    test("60");
    EXPECT_EQ(win->txtTstReg[1].text(), "5");
    EXPECT_EQ(win->lblCommTest.caption(), "Good");
}

TEST_F(CommTest, NakFailsAndLightsTheRedLed) {
    device60().nakAddress = true;
    test("60");
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFD, 0x00, 0x00})}));
    expectFail();
    EXPECT_EQ(win->txtTstReg[0].text(), "0");
    EXPECT_EQ(win->txtTstReg[1].text(), "0");
    EXPECT_EQ(ledByte(), 0xFD);
    EXPECT_FALSE(rig.gpio().ChKLedData[1].checked());
    EXPECT_TRUE(rig.gpio().ChKLedData[0].checked());
}

TEST_F(CommTest, GoodAfterFailTurnsTheLedsBack) {
    device60().nakAddress = true;
    test("60");
    device60().nakAddress = false;
    rig.board.model().clearSent();
    test("60");
    EXPECT_EQ(sent().back(), Gpio({0xFF, 0xFE, 0x00, 0x00}));
    EXPECT_EQ(win->lblCommTest.caption(), "Good");
}

TEST_F(CommTest, NoBoardFailsWithoutSendingAndKeepsGoing) {
    rig.board.unplug();
    test("60");
    EXPECT_TRUE(sent().empty());
    expectFail();
    EXPECT_EQ(win->txtTstReg[0].text(), "0");
    EXPECT_EQ(win->txtTstReg[1].text(), "0");
    EXPECT_EQ(ledByte(), 0xFD);  // the red LED is still requested
    const std::string log = rig.logSinceMark();
    EXPECT_NE(log.find("WriteGPIOPipe: WDU_GetDeviceInfo() failed:"), std::string::npos);
    EXPECT_NE(log.find("ReadPipe: WDU_GetDeviceInfo() failed:"), std::string::npos);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_TRUE(rig.dialogs.messages.empty());
}

// The address text is read as sixteen bits, so four digits may wrap to a negative value whose
// low byte is the address; only FF and above (as a positive value) are refused.
TEST_F(CommTest, AcceptedAddressesAreTestedAtTheirLowByte) {
    addDevice(0xFE);
    const struct {
        const char* typed;
        uint8_t readAddress;
        const char *shownWrite, *shownRead, *result;
    } cases[] = {{"FE", 0xFF, "FE", "FF", "Good"},
                 {"FFFF", 0x00, "FF", "0", "Fail"},
                 {"8060", 0x61, "60", "61", "Good"},
                 {"", 0x01, "0", "1", "Fail"}};
    for (const auto& c : cases) {
        rig.clearSent();
        test(c.typed);
        EXPECT_EQ(sent().front(), I2C({0x01, c.readAddress, 0x02})) << c.typed;
        EXPECT_EQ(win->txtActualWrtAddress.text(), c.shownWrite) << c.typed;
        EXPECT_EQ(win->txtActualReadAddress.text(), c.shownRead) << c.typed;
        EXPECT_EQ(win->lblCommTest.caption(), c.result) << c.typed;
    }
}

TEST_F(CommTest, FFAndAboveAreRefusedWithoutTransfer) {
    for (const char* address : {"FF", "100", "7FFF"}) {
        rig.markLog();
        win->lblCommTest.setCaption("Good");
        test(address);
        EXPECT_TRUE(sent().empty()) << address;
        EXPECT_EQ(count(rig.logSinceMark(), Entry("Address value too large")), 1u) << address;
        EXPECT_EQ(win->txtActualWrtAddress.text(), "--");
        EXPECT_EQ(win->txtActualReadAddress.text(), "--");
        expectFail();
    }
    // The stored addresses and the LEDs keep what they had.
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0x61);
    EXPECT_EQ(ledByte(), 0xFF);
    // Opened and closed all the same, once per test.
    EXPECT_EQ(rig.board.initCount(), 2 + 3);
    EXPECT_EQ(rig.board.uninitCount(), 2 + 3);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
}

TEST_F(CommTest, ManualModeUsesTheConnectionAsTheUserLeftIt) {
    manualMode(true);
    test("60");
    EXPECT_EQ(sent().size(), 2u);
    EXPECT_EQ(win->lblCommTest.caption(), "Good");
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.board.initCount(), 3);  // only the user's open
    EXPECT_EQ(rig.logSinceMark().find("Already Opened"), std::string::npos);
}

TEST_F(CommTest, ManualModeWithTheConnectionClosedFails) {
    manualMode(false);
    test("60");
    EXPECT_TRUE(sent().empty());
    expectFail();
    EXPECT_EQ(ledByte(), 0xFD);
    EXPECT_EQ(rig.board.initCount(), 2);
    EXPECT_NE(rig.logSinceMark().find(Entry("Write GPIOPipe .. USB Not opened")),
              std::string::npos);
}

TEST_F(CommTest, ReloadedGpioScreenStillGetsBothLedBitsRight) {
    // The user cleared the green LED's box and closed the screen; the reloaded screen shows both
    // boxes checked again, so only the explicit clicks bring the green bit back.
    rig.gpio().setChecked(rig.gpio().ChKLedData[1], false, &FrmGPIO::ChKLedData_Click, 1);
    ASSERT_EQ(ledByte(), 0xFD);
    rig.program->unloadGpioScreen();
    test("60");
    EXPECT_EQ(ledByte(), 0xFE);
    EXPECT_EQ(sent().back(), Gpio({0xFF, 0xFE, 0x00, 0x00}));
    EXPECT_TRUE(rig.gpio().ChKLedData[1].checked());
    EXPECT_FALSE(rig.gpio().ChKLedData[0].checked());
}

}  // namespace
}  // namespace i2cbridge::testing
