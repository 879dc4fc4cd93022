#include <gtest/gtest.h>

#include <functional>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

using qb::kGreen;
using qb::kLightGreen;
using qb::kLightRed;

class SingleBytePanel : public PanelTest {
protected:
    void read() { win->cmdRead_Click(); }
    void write(int i) { win->cmdWrite1Byte_Click(i); }
};

TEST_F(SingleBytePanel, ReadAndWriteSendTheirFramesAndShowTheOutcome) {
    device60().registers[0x11] = 0x07;
    win->txtUserRegAdr.setText("11");
    read();
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x61, 0x11})}));
    EXPECT_EQ(win->txtReadByte.text(), "07");
    EXPECT_EQ(win->lblReadCount.caption(), " 1");
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    EXPECT_EQ(win->Shape3.color(), kLightGreen);
    EXPECT_TRUE(win->Shape3.visible());
    EXPECT_TRUE(win->lblNak.visible());
    // Automatic mode: opened for the read and closed after it.
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.board.initCount(), 3);  // probe, start-up GPIO write, this read
    EXPECT_EQ(rig.board.uninitCount(), 3);

    rig.clearSent();
    win->txtUserRegAdr.setText("10");
    write(1);  // "55"
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x10, 0x55})}));
    EXPECT_EQ(device60().registers[0x10], 0x55);
    EXPECT_EQ(win->lblReadCount.caption(), " 3");
    EXPECT_EQ(win->Shape2[1].color(), kLightGreen);
    EXPECT_EQ(win->Shape2[0].color(), Lamp::kDesignColor);  // the other button's lamp
}

TEST_F(SingleBytePanel, TransfersUseTheAddressBoxAsItStandsNotTheStoredAddress) {
    addDevice(0x42);
    win->txtI2CAdr.setText("42");  // typed, not committed: I2CWriteAddress is still 60
    win->txtUserRegAdr.setText("05");
    write(0);
    read();
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0x42, 0x05, 0xAA}), I2C({0x01, 0x43, 0x05})}));
    EXPECT_EQ(win->txtReadByte.text(), "AA");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
}

// Successes alternate between the two greens; a failure is light red and the next success
// starts again at light green. Shape3 shows the outcome and does not alternate.
TEST_F(SingleBytePanel, ReadLampFollowsEachOutcome) {
    const struct {
        bool nak;
        int lamp;
    } steps[] = {{false, kLightGreen}, {false, kGreen},   {false, kLightGreen},
                 {false, kGreen},      {true, kLightRed}, {false, kLightGreen}};
    for (const auto& step : steps) {
        device60().nakAddress = step.nak;
        read();
        EXPECT_EQ(win->Shape2[2].color(), step.lamp);
        EXPECT_EQ(win->Shape3.color(), step.nak ? kLightRed : kLightGreen);
    }
}

// However an exchange fails, both buttons show "--", a count of 0 and light red.
TEST(SingleBytePanelFailure, EveryKindOfFailureShowsDashesAndCountZero) {
    using Fail = std::function<void(Rig&, FrmI2CGeneral&)>;
    constexpr int32_t kIo = usb_status::kIo;
    const std::pair<const char*, Fail> failures[] = {
        {"nak", [](Rig& r, FrmI2CGeneral&) { r.board.model().device(0x60)->nakAddress = true; }},
        {"absent device", [](Rig&, FrmI2CGeneral& w) { w.txtI2CAdr.setText("30"); }},
        {"lost reply",
         [](Rig& r, FrmI2CGeneral&) {
             r.board.injectTransferFault({0x82u, kIo, {}});
         }},
        {"lost request",
         [](Rig& r, FrmI2CGeneral&) {
             r.board.injectTransferFault({0x02u, kIo, {}});
         }},
        {"unplugged", [](Rig& r, FrmI2CGeneral&) { r.board.unplug(); }},
        {"manual mode, closed",
         [](Rig&, FrmI2CGeneral& w) {
             w.ChKManUsbConn.setChecked(true);
             w.ChKManUsbConn_Click();
         }},
    };
    for (const auto& [name, fail] : failures) {
        SCOPED_TRACE(name);
        Rig rig;
        FrmI2CGeneral& w = rig.main();
        rig.clearSent();
        fail(rig, w);
        fail(rig, w);  // once for each button
        for (int button : {0, 2}) {
            w.txtReadByte.setText("77");
            button == 2 ? w.cmdRead_Click() : w.cmdWrite1Byte_Click(0);
            EXPECT_EQ(w.txtReadByte.text(), "--");
            EXPECT_EQ(w.lblReadCount.caption(), " 0");
            EXPECT_EQ(w.Shape2[button].color(), kLightRed);
            EXPECT_EQ(w.Shape3.color(), kLightRed);
        }
    }
}

TEST_F(SingleBytePanel, ManualModeSendsOnlyOnTheConnectionTheUserOpened) {
    manualMode(false);
    const int inits = rig.board.initCount();
    write(0);
    read();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), inits);  // nothing was opened
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened") +
                  Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened"));

    manualMode(true);
    const long before = rig.pump.yields;
    read();
    // One yield after the (skipped) open, one before the write transfer, one after the
    // (skipped) close.
    EXPECT_EQ(rig.pump.yields - before, 3);
    write(0);
    EXPECT_EQ(sent().size(), 2u);
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.logSinceMark(), "");
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
                 {"FFFF", false, "--", -1}, {"8000", false, "--", -1}};
    for (const auto& c : cases) {
        rig.clearSent();
        rig.markLog();
        const int inits = rig.board.initCount();
        win->txtsbwr[1].setText(c.typed);
        if (c.byEnter)
            pressEnter([&](int& k) { win->txtsbwr_KeyPress(1, k); });
        else
            write(1);
        EXPECT_EQ(win->txtsbwr[1].text(), c.shown) << c.typed;
        if (c.sentValue < 0) {
            EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value")) << c.typed;
            EXPECT_TRUE(sent().empty()) << c.typed;
            EXPECT_EQ(rig.board.initCount(), inits) << c.typed;
        } else {
            EXPECT_EQ(sent(), (std::vector<WireFrame>{
                                  I2C({0x01, 0x60, 0x00, static_cast<uint8_t>(c.sentValue)})}))
                << c.typed;
        }
    }
}

TEST_F(SingleBytePanel, KeysOtherThanEnterChangeNothing) {
    win->txtsbwr[0].setText("ab");
    win->txtUserRegAdr.setText("zz");
    win->txtI2CAdr.setText("7");
    int key = 'x';
    win->txtsbwr_KeyPress(0, key);
    win->txtUserRegAdr_KeyPress(key);
    win->txtI2CAdr_KeyPress(key);
    EXPECT_EQ(key, 'x');
    EXPECT_EQ(win->txtsbwr[0].text(), "ab");
    EXPECT_EQ(win->txtUserRegAdr.text(), "zz");
    EXPECT_EQ(win->txtI2CAdr.text(), "7");
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->lblCommTest.caption(), "");
}

TEST_F(SingleBytePanel, RegisterAddressIsTidiedButNeverRangeChecked) {
    win->txtUserRegAdr.setText("zz");
    pressEnter([&](int& k) { win->txtUserRegAdr_KeyPress(k); });
    EXPECT_EQ(win->txtUserRegAdr.text(), "00");
    win->txtUserRegAdr.setText("1ff");
    pressEnter([&](int& k) { win->txtUserRegAdr_KeyPress(k); });
    EXPECT_EQ(win->txtUserRegAdr.text(), "1FF");
    EXPECT_TRUE(sent().empty());  // Enter sends nothing
    read();
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x61, 0xFF})}));
}

// Enter in the I2C address box pads, upper-cases and stores the address, then runs the
// communications test; a value past a byte is refused with a message box and runs no test.
TEST_F(SingleBytePanel, AddressBoxEnterStoresAndTestsOrRefuses) {
    const struct {
        const char* typed;
        const char* shown;
        uint8_t write, read;
        const char* result;
        bool refused;
    } cases[] = {{"7", "07", 0x07, 0x08, "Fail", false},  {"60", "60", 0x60, 0x61, "Good", false},
                 {"fe", "FE", 0xFE, 0xFF, "Fail", false}, {"FF", "FF", 0xFF, 0x00, "Fail", false},
                 {"100", "00", 0x00, 0x01, "Fail", true}, {"FFFF", "00", 0x00, 0x01, "Fail", true}};
    for (const auto& c : cases) {
        rig.dialogs.messages.clear();
        rig.clearSent();
        win->lblCommTest.setCaption("-");
        win->txtI2CAdr.setText(c.typed);
        pressEnter([&](int& k) { win->txtI2CAdr_KeyPress(k); });
        EXPECT_EQ(win->txtI2CAdr.text(), c.shown) << c.typed;
        EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, c.write) << c.typed;
        EXPECT_EQ(rig.wb->i2c.I2CReadAddress, c.read) << c.typed;
        EXPECT_EQ(win->lblCommTest.caption(), c.result) << c.typed;
        EXPECT_EQ(rig.dialogs.messages.size(), c.refused ? 1u : 0u) << c.typed;
        // FF passes here but the test refuses it; below FF the test's request goes out.
        EXPECT_EQ(sent().empty(), c.refused || c.write == 0xFF) << c.typed;
    }
    EXPECT_EQ(rig.dialogs.messages.back().text, "Illegal I2C Address, re-enter");
    EXPECT_EQ(rig.dialogs.messages.back().title, kAppTitle);
    EXPECT_EQ(win->lblCommTest.backColor(), RgbColor(0xFF0000));
}

TEST_F(SingleBytePanel, LeavingTheAddressBoxCommitsWithoutTheTest) {
    win->txtI2CAdr.setText("a");
    win->txtI2CAdr_LostFocus();
    EXPECT_EQ(win->txtI2CAdr.text(), "0A");
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0x0B);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), 2);  // nothing opened since the load

    win->txtI2CAdr.setText("100");
    win->txtI2CAdr_LostFocus();
    EXPECT_EQ(win->txtI2CAdr.text(), "00");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x00);
    ASSERT_EQ(rig.dialogs.messages.size(), 1u);
    EXPECT_EQ(win->lblCommTest.caption(), "");
}

}  // namespace
}  // namespace i2cbridge::testing
