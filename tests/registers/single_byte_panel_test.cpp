#include <gtest/gtest.h>

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

TEST_F(SingleBytePanel, ReadSendsTheRequestAndShowsTheValue) {
    win->txtUserRegAdr.setText("02");
    read();
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x61, 0x02})}));
    EXPECT_EQ(win->txtReadByte.text(), "5A");
    EXPECT_EQ(win->lblReadCount.caption(), " 1");
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    EXPECT_EQ(win->Shape3.color(), kLightGreen);
    EXPECT_TRUE(win->Shape3.visible());
    EXPECT_TRUE(win->lblNak.visible());
    // Automatic mode: opened for the read and closed after it.
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.board.initCount(), 3);  // probe, start-up GPIO write, this read
    EXPECT_EQ(rig.board.uninitCount(), 3);
}

TEST_F(SingleBytePanel, ValuesBelowTenKeepTheirLeadingZero) {
    device60().registers[0x11] = 0x07;
    win->txtUserRegAdr.setText("11");
    read();
    EXPECT_EQ(win->txtReadByte.text(), "07");
}

TEST_F(SingleBytePanel, WriteSendsFourBytesAndTheDeviceTakesTheValue) {
    win->txtUserRegAdr.setText("10");
    write(1);  // "55"
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x10, 0x55})}));
    EXPECT_EQ(device60().registers[0x10], 0x55);
    EXPECT_EQ(win->lblReadCount.caption(), " 3");
    EXPECT_EQ(win->Shape2[1].color(), kLightGreen);
    EXPECT_EQ(win->Shape2[0].color(), Lamp::kDesignColor);  // the other button's lamp
    EXPECT_EQ(win->Shape3.color(), kLightGreen);
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

TEST_F(SingleBytePanel, SuccessLampsAlternateBetweenTheTwoGreens) {
    read();
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    read();
    EXPECT_EQ(win->Shape2[2].color(), kGreen);
    read();
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    // Shape3 shows the outcome, it does not alternate.
    EXPECT_EQ(win->Shape3.color(), kLightGreen);
}

TEST_F(SingleBytePanel, NakShowsDashesLightRedAndTheCountReceived) {
    device60().nakAddress = true;
    read();
    EXPECT_EQ(win->txtReadByte.text(), "--");
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
    EXPECT_EQ(win->Shape2[2].color(), kLightRed);
    EXPECT_EQ(win->Shape3.color(), kLightRed);
    EXPECT_TRUE(win->lblNak.visible());

    // A failed write also puts "--" into the read box.
    win->txtReadByte.setText("77");
    write(0);
    EXPECT_EQ(win->txtReadByte.text(), "--");
    EXPECT_EQ(win->Shape2[0].color(), kLightRed);
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
}

TEST_F(SingleBytePanel, FailureAfterSuccessTurnsTheLampRedAndTheNextSuccessLightGreen) {
    read();
    read();
    ASSERT_EQ(win->Shape2[2].color(), kGreen);
    device60().nakAddress = true;
    read();
    EXPECT_EQ(win->Shape2[2].color(), kLightRed);
    device60().nakAddress = false;
    read();
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    EXPECT_EQ(win->txtReadByte.text(), "00");
}

TEST_F(SingleBytePanel, AbsentDeviceIsANak) {
    win->txtI2CAdr.setText("30");
    write(0);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x30, 0x00, 0xAA})}));
    EXPECT_EQ(win->Shape3.color(), kLightRed);
    EXPECT_EQ(win->txtReadByte.text(), "--");
}

TEST_F(SingleBytePanel, TransportFailureReadsAsCountZeroAndIsLogged) {
    rig.board.injectTransferFault({0x82u, usb_status::kIo, std::nullopt});
    read();
    EXPECT_EQ(win->txtReadByte.text(), "--");
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
    EXPECT_EQ(win->Shape3.color(), kLightRed);
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &HFFFFFFFF "
                                      "(LIBUSB_ERROR_IO)"),
              std::string::npos);
    EXPECT_EQ(win->shpLogStatus.color(), kLightRed);

    // The request never reaches the board: the write itself fails.
    rig.board.injectTransferFault({0x02u, usb_status::kTimeout, std::nullopt});
    rig.board.model().clearSent();
    write(0);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
    EXPECT_EQ(win->Shape2[0].color(), kLightRed);
}

TEST_F(SingleBytePanel, UnpluggedBoardFailsWithoutCrashing) {
    rig.board.unplug();
    read();
    write(1);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->txtReadByte.text(), "--");
    EXPECT_EQ(win->Shape2[1].color(), kLightRed);
    EXPECT_EQ(win->Shape2[2].color(), kLightRed);
    EXPECT_NE(rig.logSinceMark().find("WritePipe: WDU_GetDeviceInfo() failed:"), std::string::npos);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
}

TEST_F(SingleBytePanel, ManualModeWithTheConnectionClosedSendsNothing) {
    manualMode(false);
    const int inits = rig.board.initCount();
    write(0);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
    EXPECT_EQ(win->Shape2[0].color(), kLightRed);
    EXPECT_EQ(win->Shape3.color(), kLightRed);
    read();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->txtReadByte.text(), "--");
    EXPECT_EQ(win->Shape2[2].color(), kLightRed);
    EXPECT_EQ(rig.board.initCount(), inits);  // nothing was opened
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened") +
                  Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened"));
}

TEST_F(SingleBytePanel, ManualModeLeavesAnOpenConnectionOpen) {
    manualMode(true);
    read();
    write(0);
    EXPECT_EQ(sent().size(), 2u);
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(win->Shape2[2].color(), kLightGreen);
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(SingleBytePanel, ManualModeStillYieldsWhereTheOpenAndCloseWouldBe) {
    manualMode(true);
    const long before = rig.pump.yields;
    read();
    // Manual mode: one yield after the (skipped) open, one before the write transfer, one
    // after the (skipped) close.
    EXPECT_EQ(rig.pump.yields - before, 3);
}

TEST_F(SingleBytePanel, WriteValuesAreTidiedOrRefused) {
    win->txtsbwr[0].setText("");
    write(0);
    EXPECT_EQ(win->txtsbwr[0].text(), "00");
    EXPECT_EQ(sent().back(), I2C({0x01, 0x60, 0x00, 0x00}));

    win->txtsbwr[1].setText("c3");
    write(1);
    EXPECT_EQ(win->txtsbwr[1].text(), "C3");
    EXPECT_EQ(sent().back(), I2C({0x01, 0x60, 0x00, 0xC3}));

    win->txtsbwr[0].setText("zz");
    write(0);
    EXPECT_EQ(win->txtsbwr[0].text(), "00");
}

TEST_F(SingleBytePanel, OutOfRangeWriteValueIsRefusedWithoutUsbActivity) {
    const int inits = rig.board.initCount();
    for (const char* bad : {"1FF", "100", "FFFF", "8000"}) {
        rig.markLog();
        win->txtsbwr[1].setText(bad);
        write(1);
        EXPECT_EQ(win->txtsbwr[1].text(), "--") << bad;
        EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value")) << bad;
    }
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), inits);
    EXPECT_EQ(win->Shape2[1].color(), Lamp::kDesignColor);
}

TEST_F(SingleBytePanel, EnterInAWriteBoxWritesLikeItsButton) {
    win->txtsbwr[1].setText("3c");
    pressEnter([&](int& k) { win->txtsbwr_KeyPress(1, k); });
    EXPECT_EQ(win->txtsbwr[1].text(), "3C");
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x00, 0x3C})}));

    win->txtsbwr[0].setText("100");
    pressEnter([&](int& k) { win->txtsbwr_KeyPress(0, k); });
    EXPECT_EQ(win->txtsbwr[0].text(), "--");
    EXPECT_EQ(sent().size(), 1u);
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

// The I2C address box.
class I2CAddressBox : public PanelTest {
protected:
    void enter(const std::string& text) {
        win->txtI2CAdr.setText(text);
        pressEnter([&](int& k) { win->txtI2CAdr_KeyPress(k); });
    }
    I2CState& i2c() { return rig.wb->i2c; }
};

TEST_F(I2CAddressBox, EnterPadsStoresAndRunsTheTest) {
    enter("7");
    EXPECT_EQ(win->txtI2CAdr.text(), "07");
    EXPECT_EQ(i2c().I2CWriteAddress, 0x07);
    EXPECT_EQ(i2c().I2CReadAddress, 0x08);
    // The test ran: its request for register 2 at the read address went out.
    ASSERT_FALSE(sent().empty());
    EXPECT_EQ(sent().front(), I2C({0x01, 0x08, 0x02}));
    EXPECT_EQ(win->lblCommTest.caption(), "Fail");  // nobody answers at 07
    EXPECT_TRUE(rig.dialogs.messages.empty());
}

TEST_F(I2CAddressBox, EnterWithTheDeviceAddressEndsGood) {
    win->lblCommTest.setCaption("Good");
    enter("60");
    EXPECT_EQ(win->lblCommTest.caption(), "Good");
    EXPECT_EQ(win->txtTstReg[1].text(), "5A");
}

TEST_F(I2CAddressBox, LowerCaseIsCommittedUpperCase) {
    enter("fe");
    EXPECT_EQ(win->txtI2CAdr.text(), "FE");
    EXPECT_EQ(i2c().I2CWriteAddress, 0xFE);
    EXPECT_EQ(i2c().I2CReadAddress, 0xFF);
}

TEST_F(I2CAddressBox, FFIsAcceptedHereButRefusedByTheTest) {
    enter("FF");
    EXPECT_EQ(win->txtI2CAdr.text(), "FF");
    EXPECT_EQ(i2c().I2CWriteAddress, 0xFF);
    EXPECT_EQ(i2c().I2CReadAddress, 0x00);
    EXPECT_TRUE(rig.dialogs.messages.empty());
    EXPECT_TRUE(sent().empty());
    EXPECT_NE(rig.logSinceMark().find(Entry("Address value too large")), std::string::npos);
}

TEST_F(I2CAddressBox, ValuesOutsideAByteAreRefusedWithAMessageBox) {
    for (const char* bad : {"100", "FFFF"}) {
        rig.dialogs.messages.clear();
        i2c().setAddress(0x60);
        win->lblCommTest.setCaption("Good");
        enter(bad);
        EXPECT_EQ(win->txtI2CAdr.text(), "00") << bad;
        EXPECT_EQ(i2c().I2CWriteAddress, 0x00) << bad;
        EXPECT_EQ(i2c().I2CReadAddress, 0x01) << bad;
        ASSERT_EQ(rig.dialogs.messages.size(), 1u) << bad;
        EXPECT_EQ(rig.dialogs.messages[0].text, "Illegal I2C Address, re-enter");
        EXPECT_EQ(rig.dialogs.messages[0].title, kAppTitle);
        EXPECT_EQ(rig.dialogs.messages[0].buttons, Dialogs::Buttons::Ok);
        // The test does not run; the label keeps the red "Fail" that Enter put up.
        EXPECT_EQ(win->lblCommTest.caption(), "Fail") << bad;
        EXPECT_EQ(win->lblCommTest.backColor(), RgbColor(0xFF0000));
        EXPECT_EQ(win->lblCommTest.foreColor(), RgbColor(0xFFFFFF));
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(I2CAddressBox, LeavingTheBoxCommitsWithoutTheTest) {
    win->txtI2CAdr.setText("a");
    win->txtI2CAdr_LostFocus();
    EXPECT_EQ(win->txtI2CAdr.text(), "0A");
    EXPECT_EQ(i2c().I2CWriteAddress, 0x0A);
    EXPECT_EQ(i2c().I2CReadAddress, 0x0B);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->lblCommTest.caption(), "");
    EXPECT_EQ(rig.board.initCount(), 2);  // nothing opened since the load

    win->txtI2CAdr.setText("100");
    win->txtI2CAdr_LostFocus();
    EXPECT_EQ(win->txtI2CAdr.text(), "00");
    EXPECT_EQ(i2c().I2CWriteAddress, 0x00);
    EXPECT_EQ(i2c().I2CReadAddress, 0x01);
    ASSERT_EQ(rig.dialogs.messages.size(), 1u);
    EXPECT_EQ(rig.dialogs.messages[0].text, "Illegal I2C Address, re-enter");
    EXPECT_EQ(win->lblCommTest.caption(), "");
}

}  // namespace
}  // namespace i2cbridge::testing
