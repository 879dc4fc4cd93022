#include <gtest/gtest.h>

#include <cstdio>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

class CommTest : public PanelTest {
protected:
    void test(const std::string& address) {
        win->txtI2CAdr.setText(address);
        win->cmdTestComm_Click();
    }
    static std::string hex(unsigned v, int digits) {
        char s[12];
        std::snprintf(s, sizeof s, "%0*X", digits, v);
        return s;
    }
    // The result label (caption, background, text colour), the two answer boxes and the
    // addresses shown: "Good 008000 default | 1 5A | 60 61".
    std::string shown() {
        auto rgb = [](RgbColor c) { return c ? hex(*c, 6) : std::string("default"); };
        const Label& l = win->lblCommTest;
        return l.caption() + " " + rgb(l.backColor()) + " " + rgb(l.foreColor()) + " | " +
               win->txtTstReg[0].text() + " " + win->txtTstReg[1].text() + " | " +
               win->txtActualWrtAddress.text() + " " + win->txtActualReadAddress.text();
    }
    // The LED byte and which of the GPIO screen's red and green LED boxes are ticked.
    std::string leds() {
        FrmGPIO& g = rig.gpio();
        return hex(rig.wb->GpioState.portCLedData, 2) + (g.ChKLedData[0].checked() ? " red" : "") +
               (g.ChKLedData[1].checked() ? " green" : "");
    }
    static std::size_t count(const std::string& text, const std::string& what) {
        std::size_t n = 0;
        for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
        return n;
    }
};

TEST_F(CommTest, GoodReadsRegisterTwoAndLightsTheGreenLedOnOneOpen) {
    test("60");
    // The test frame, then one enables-and-data GPIO frame with red off and green on.
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFE, 0x00, 0x00})}));
    EXPECT_EQ(shown(), "Good 008000 default | 1 5A | 60 61");
    EXPECT_EQ(leds(), "FE green");
    EXPECT_EQ(rig.wb->GpioState.portCLedEnables, 0x00);  // the LED enables are left alone
    EXPECT_EQ(rig.gpio().txtPCHexData[2].text(), "FE");
    // Automatic mode opens once; the nested GPIO open only logs.
    EXPECT_EQ(rig.board.initCount(), 3);  // probe, start-up GPIO write, this test
    EXPECT_EQ(rig.board.uninitCount(), 3);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(count(rig.logSinceMark(), Entry("Already Opened")), 1u);
    EXPECT_EQ(win->txthDriver.text(), "Closed");

    device60().registers[2] = 0x05;
    test("60");
    EXPECT_EQ(shown(), "Good 008000 default | 1 5 | 60 61");  // no leading zero
}

TEST_F(CommTest, NakFailsAndLightsTheRedLedAndAGoodTestTurnsTheLedsBack) {
    device60().nakAddress = true;
    test("60");
    EXPECT_EQ(shown(), "Fail FF0000 FFFFFF | 0 0 | 60 61");
    EXPECT_EQ(leds(), "FD red");
    device60().nakAddress = false;
    test("60");
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFD, 0x00, 0x00}),
                                      I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFE, 0x00, 0x00})}));
    EXPECT_EQ(shown(), "Good 008000 default | 1 5A | 60 61");
    EXPECT_EQ(leds(), "FE green");
}

TEST_F(CommTest, NoBoardFailsWithoutSendingAndKeepsGoing) {
    rig.board.unplug();
    test("60");
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(shown(), "Fail FF0000 FFFFFF | 0 0 | 60 61");
    EXPECT_EQ(leds(), "FD red");  // the red LED is still requested
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
        EXPECT_EQ(std::tuple(sent().front(), win->txtActualWrtAddress.text(),
                             win->txtActualReadAddress.text(), win->lblCommTest.caption()),
                  std::tuple(I2C({0x01, c.readAddress, 0x02}), c.shownWrite, c.shownRead, c.result))
            << c.typed;
    }
}

TEST_F(CommTest, FFAndAboveAreRefusedWithoutTransfer) {
    for (const char* address : {"FF", "100", "7FFF"}) {
        rig.markLog();
        win->lblCommTest.setCaption("Good");
        test(address);
        EXPECT_TRUE(sent().empty()) << address;
        EXPECT_EQ(count(rig.logSinceMark(), Entry("Address value too large")), 1u) << address;
        EXPECT_EQ(shown(), "Fail FF0000 FFFFFF |   | -- --") << address;
    }
    // The stored addresses and the LEDs keep what they had.
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0x61);
    EXPECT_EQ(leds(), "FF red green");
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

    rig.main().cmdUSBDisconnect_Click();
    rig.markLog();
    rig.clearSent();
    test("60");
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(shown().substr(0, 18), "Fail FF0000 FFFFFF");
    EXPECT_EQ(leds(), "FD red");
    EXPECT_EQ(rig.board.initCount(), 3);
    EXPECT_NE(rig.logSinceMark().find(Entry("Write GPIOPipe .. USB Not opened")),
              std::string::npos);
}

TEST_F(CommTest, ReloadedGpioScreenStillGetsBothLedBitsRight) {
    // The user cleared the green LED's box and closed the screen; the reloaded screen shows both
    // boxes checked again, so only the explicit clicks bring the green bit back.
    rig.gpio().setChecked(rig.gpio().ChKLedData[1], false, &FrmGPIO::ChKLedData_Click, 1);
    ASSERT_EQ(rig.wb->GpioState.portCLedData, 0xFD);
    rig.program->unloadGpioScreen();
    test("60");
    EXPECT_EQ(sent().back(), Gpio({0xFF, 0xFE, 0x00, 0x00}));
    EXPECT_EQ(leds(), "FE green");
}

}  // namespace
}  // namespace i2cbridge::testing
