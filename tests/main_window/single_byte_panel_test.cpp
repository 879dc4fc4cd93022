// The I2C address box and the single-byte panel.

#include <gtest/gtest.h>

#include <functional>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

using qb::kGreen;
using qb::kLightGreen;
using qb::kLightRed;

// The read box, the count, the button's lamp and the outcome lamp.
auto Outcome(FrmI2CGeneral& w, int button) {
    return std::tuple(w.txtReadByte.text(), w.lblReadCount.caption(), w.Shape2[button].color(),
                      w.Shape3.color());
}
using Shown = std::tuple<std::string, std::string, int, int>;

class SingleBytePanel : public PanelTest {
protected:
    void read() { win->cmdRead_Click(); }
    void write(int i) { win->cmdWrite1Byte_Click(i); }
};

// Both transfers address the device by the address box as it stands, not the stored address.
// Successes light the button's lamp and the outcome lamp light green; the outcome lamp does
// not alternate.
TEST_F(SingleBytePanel, ReadAndWriteSendTheirFramesAndShowTheOutcome) {
    addDevice(0x42).registers[0x11] = 0x07;
    win->txtI2CAdr.setText("42");  // typed, not committed: I2CWriteAddress is still 60
    win->txtUserRegAdr.setText("11");
    read();
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x43, 0x11})}));
    EXPECT_EQ(Outcome(*win, 2), Shown("07", " 1", kLightGreen, kLightGreen));
    // Automatic mode: opened for the read and closed after it.
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(std::pair(rig.board.initCount(), rig.board.uninitCount()), std::pair(3, 3));

    rig.clearSent();
    win->txtUserRegAdr.setText("10");
    write(1);  // "55"
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x42, 0x10, 0x55})}));
    EXPECT_EQ(Outcome(*win, 1), Shown("07", " 3", kLightGreen, kLightGreen));
    EXPECT_EQ(win->Shape2[0].color(), Lamp::kDesignColor);  // the other button's lamp
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
}

// However an exchange fails, both buttons show "--", a count of 0 and light red.
TEST(SingleBytePanelFailure, EveryKindOfFailureShowsDashesAndCountZero) {
    using W = FrmI2CGeneral;
    constexpr int32_t kIo = usb_status::kIo;
    const std::pair<const char*, std::function<void(Rig&, W&)>> failures[] = {
        // clang-format off
        {"nak", [](Rig& r, W&) { r.board.model().device(0x60)->nakAddress = true; }},
        {"lost reply", [](Rig& r, W&) { r.board.injectTransferFault({0x82u, kIo, {}}); }},
        {"lost request", [](Rig& r, W&) { r.board.injectTransferFault({0x02u, kIo, {}}); }},
        {"unplugged", [](Rig& r, W&) { r.board.unplug(); }},
        {"manual mode, closed", [](Rig&, W& w) { w.ChKManUsbConn.setChecked(true), w.ChKManUsbConn_Click(); }},
        // clang-format on
    };
    for (const auto& [name, fail] : failures) {
        SCOPED_TRACE(name);
        Rig rig;
        FrmI2CGeneral& w = rig.main();
        fail(rig, w);
        fail(rig, w);  // once for each button
        for (int button : {0, 2}) {
            w.txtReadByte.setText("77");
            button == 2 ? w.cmdRead_Click() : w.cmdWrite1Byte_Click(0);
            EXPECT_EQ(Outcome(w, button), Shown("--", " 0", kLightRed, kLightRed));
        }
    }
}

// The button and Enter in its box tidy the value; a value past a byte is refused with "--" and
// a log line before anything is opened.
TEST_F(SingleBytePanel, WriteValuesAreTidiedOrRefused) {
    const struct {
        const char* typed;
        bool byEnter;
        const char* shown;
        int sentValue;  // -1: refused
    } cases[] = {{"", false, "00", 0x00},   {"c3", false, "C3", 0xC3}, {"zz", false, "00", 0x00},
                 {"3c", true, "3C", 0x3C},  {"1FF", false, "--", -1},  {"100", true, "--", -1},
                 {"FFFF", false, "--", -1}, {"8000", false, "--", -1}, {"ff", false, "FF", 0xFF}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        rig.clearSent();
        rig.markLog();
        const int inits = rig.board.initCount();
        win->txtsbwr[1].setText(c.typed);
        if (c.byEnter)
            pressEnter([&](int& k) { win->txtsbwr_KeyPress(1, k); });
        else
            write(1);
        EXPECT_EQ(win->txtsbwr[1].text(), c.shown);
        const bool refused = c.sentValue < 0;
        EXPECT_EQ(sent(), refused ? Frames{} : Frames{I2C({1, 0x60, 0, uint8_t(c.sentValue)})});
        EXPECT_EQ(logged() == Texts{"Invalid Write Value"}, refused);
        EXPECT_EQ(rig.board.initCount() - inits, refused ? 0 : 1);
    }
}

TEST_F(SingleBytePanel, RegisterAddressIsTidiedButNeverRangeChecked) {
    std::string shown;
    for (const char* typed : {"zz", "1ff"}) {
        win->txtUserRegAdr.setText(typed);
        pressEnter([&](int& k) { win->txtUserRegAdr_KeyPress(k); });
        shown += win->txtUserRegAdr.text() + " ";
    }
    EXPECT_EQ(shown, "00 1FF ");
    EXPECT_TRUE(sent().empty());  // Enter sends nothing
    read();
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x61, 0xFF})}));
}

// Enter in the I2C address box, or leaving it, pads, upper-cases and stores the address; Enter
// then runs the communications test ("FF" passes here but the test refuses it). A value past a
// byte is refused with a message box, stores 00 and runs no test.
TEST_F(SingleBytePanel, AddressBoxStoresTheAddressOrRefusesIt) {
    const struct {
        const char* typed;
        bool byEnter;
        const char* shown;
        uint8_t write, read;
        const char* result;  // "-": no test ran
        bool refused;
    } cases[] = {
        // clang-format off
        {"7", true, "07", 0x07, 0x08, "Fail", false},   {"60", true, "60", 0x60, 0x61, "Good", false},
        {"fe", true, "FE", 0xFE, 0xFF, "Fail", false},  {"FF", true, "FF", 0xFF, 0x00, "Fail", false},
        {"100", true, "00", 0x00, 0x01, "Fail", true},  {"FFFF", true, "00", 0x00, 0x01, "Fail", true},
        {"a", false, "0A", 0x0A, 0x0B, "-", false},     {"100", false, "00", 0x00, 0x01, "-", true},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        rig.dialogs.messages.clear();
        rig.clearSent();
        win->lblCommTest.setCaption("-");
        win->txtI2CAdr.setText(c.typed);
        if (c.byEnter)
            pressEnter([&](int& k) { win->txtI2CAdr_KeyPress(k); });
        else
            win->txtI2CAdr_LostFocus();
        EXPECT_EQ(std::tuple(win->txtI2CAdr.text(), rig.wb->i2c.I2CWriteAddress,
                             rig.wb->i2c.I2CReadAddress, win->lblCommTest.caption(),
                             rig.dialogs.messages.size(), sent().empty()),
                  std::tuple(c.shown, c.write, c.read, c.result, c.refused ? 1u : 0u,
                             c.refused || c.write == 0xFF || !c.byEnter));
    }
    EXPECT_EQ(rig.dialogs.messages.back().text, "Illegal I2C Address, re-enter");
}

}  // namespace
}  // namespace i2cbridge::testing
