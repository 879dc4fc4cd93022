// The communications test: register 2 of the device, "Good" or "Fail", and the board's LEDs.

#include <gtest/gtest.h>

#include <algorithm>

#include "foundation/hex_text.h"
#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

class CommTest : public PanelTest {
protected:
    void test(const std::string& address) {
        win->txtI2CAdr.setText(address);
        win->cmdTestComm_Click();
    }
    // The result label (caption, background, text colour), the two answer boxes and the
    // addresses shown: "Good 8000 default | 1 5A | 60 61".
    std::string shown() {
        auto rgb = [](RgbColor c) { return c ? HexText(*c) : std::string("default"); };
        const Label& l = win->lblCommTest;
        return l.caption() + " " + rgb(l.backColor()) + " " + rgb(l.foreColor()) + " | " +
               win->txtTstReg[0].text() + " " + win->txtTstReg[1].text() + " | " +
               win->txtActualWrtAddress.text() + " " + win->txtActualReadAddress.text();
    }
    // The LED byte and which of the GPIO screen's red and green LED boxes are ticked.
    std::string leds() {
        FrmGPIO& g = rig.gpio();
        return HexByteText(rig.wb->GpioState.portCLedData) +
               (g.ChKLedData[0].checked() ? " red" : "") +
               (g.ChKLedData[1].checked() ? " green" : "");
    }
    long logCount(const std::string& message) {
        const Texts log = logged();
        return std::count(log.begin(), log.end(), message);
    }
};

// A failed test asks for the red LED, a good one for the green; each sends the test frame and
// one enables-and-data GPIO frame. Automatic mode opens once; the nested GPIO open only logs.
TEST_F(CommTest, TheTestReadsRegisterTwoAndLightsTheLedThatSaysHowItWent) {
    device60().nakAddress = true;
    test("60");
    EXPECT_EQ(shown(), "Fail FF0000 FFFFFF | 0 0 | 60 61");
    EXPECT_EQ(leds(), "FD red");
    device60().nakAddress = false;
    test("60");
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFD, 0x00, 0x00}),
                              I2C({0x01, 0x61, 0x02}), Gpio({0xFF, 0xFE, 0x00, 0x00})}));
    EXPECT_EQ(shown(), "Good 8000 default | 1 5A | 60 61");
    EXPECT_EQ(leds() + rig.gpio().txtPCHexData[2].text(), "FE greenFE");
    EXPECT_EQ(std::pair(rig.board.initCount(), rig.board.uninitCount()), std::pair(4, 4));
    EXPECT_EQ(std::pair(rig.wb->usb.UsbOpen, logCount("Already Opened")), std::pair(false, 2l));
    device60().registers[2] = 0x05;
    test("60");
    EXPECT_EQ(shown(), "Good 8000 default | 1 5 | 60 61");  // no leading zero
}

// The address text is read as sixteen bits, so four digits may wrap to a negative value whose
// low byte is the address; only FF and above (as a positive value) are refused, the board opened
// and closed all the same.
TEST_F(CommTest, AddressesAreTestedAtTheirLowByteAndFFAndAboveRefused) {
    addDevice(0xFE);
    const struct {
        const char* typed;
        int readAddress;  // -1: refused, nothing sent
        const char* shown;
    } cases[] = {{"FF", -1, "Fail FF0000 FFFFFF |   | -- --"},
                 {"7FFF", -1, "Fail FF0000 FFFFFF |   | -- --"},
                 {"FE", 0xFF, "Good 8000 default | 1 5A | FE FF"},
                 {"FFFF", 0x00, "Fail FF0000 FFFFFF | 0 0 | FF 0"},
                 {"8060", 0x61, "Good 8000 default | 1 5A | 60 61"},
                 {"", 0x01, "Fail FF0000 FFFFFF | 0 0 | 0 1"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        const bool refused = c.readAddress < 0;
        rig.clearSent();
        rig.markLog();
        const int inits = rig.board.initCount();
        const auto before = std::pair(rig.wb->i2c.I2CWriteAddress, leds());  // kept if refused
        test(c.typed);
        EXPECT_EQ(shown(), c.shown);
        EXPECT_EQ(sent().empty() ? -1 : sent().front().bytes.at(1), c.readAddress);
        EXPECT_EQ(logCount("Address value too large"), refused ? 1 : 0);
        EXPECT_EQ(std::pair(rig.board.initCount() - inits, rig.wb->usb.UsbOpen),
                  std::pair(1, false));
        if (refused) {
            EXPECT_EQ(std::pair(rig.wb->i2c.I2CWriteAddress, leds()), before);
        }
    }
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
