// The main window's load, focus, close and resize.

#include <gtest/gtest.h>

#include "foundation/hex_text.h"
#include "support/fakes.h"

namespace i2cbridge {
namespace {

using testing::Entry;
using testing::Rig;

std::string Attach(const std::string& handle) {
    return Entry(
               "DeviceAttach: Received and accepted attach for \r\nvendor ID &H547 product ID "
               "&H2005\r\ndevice handle &H" +
               handle) +
           Entry("");
}
const std::string kSetup =
    Entry("Setting eventable up,  verifing that the device is attached...\r\n");

TEST(MainWindowLoad, WithTheBoardProbesThenSendsTheStartUpGpioState) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    // The probe's open and close, then the GPIO write's own open and close.
    EXPECT_EQ(w.Txtlog.text(), kSetup + Attach("2A0") + kSetup + Attach("2A1"));
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0], (WireFrame{1, {0xFF, 0xFF, 0x00, 0x00}}));
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.wb->usb.I2CPipe, 2);
    EXPECT_EQ(rig.wb->GpioState, (std::array<uint8_t, 4>{0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0x61);
    EXPECT_EQ(w.txtActualWrtAddress.text(), "60");
    EXPECT_EQ(w.txtActualReadAddress.text(), "61");
    EXPECT_TRUE(w.cmdexit.visible());
    EXPECT_EQ(rig.wb->usb.CurrentForm, &w);
    EXPECT_FALSE(rig.wb->usb.ManualUsbConnect);
}

// The probe runs before the colours are assigned: what it paints is black, and only lamps
// painted again later change.
TEST(MainWindowLoad, ProbePaintsItsLampsBlack) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    EXPECT_EQ(w.shpUSBCon[0].color(), qb::kBlack);
    EXPECT_EQ(w.shpUSBCon[1].color(), qb::kBlack);
    EXPECT_EQ(w.ShpHandleStatus.color(), qb::kBlack);
    EXPECT_EQ(w.ShpAttach.color(), qb::kBlack);
    // The start-up GPIO write logs after the colours are set.
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
    EXPECT_EQ(rig.wb->colors.lightGreen(), qb::kLightGreen);
}

TEST(MainWindowLoad, WithoutABoardLoadCompletesAndLogsEveryFailure) {
    Rig rig;
    rig.board.unplug();
    FrmI2CGeneral& w = rig.main();
    const std::string infoFailure =
        "WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC (LIBUSB_ERROR_NO_DEVICE)\r\n";
    EXPECT_EQ(w.Txtlog.text(), kSetup + Entry("WriteGPIOPipe: " + infoFailure) + kSetup +
                                   Entry("WriteGPIOPipe: " + infoFailure) +
                                   Entry("WritePipe: " + infoFailure) +
                                   Entry("ReadPipe: " + infoFailure));
    EXPECT_TRUE(w.cmdexit.visible());
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    EXPECT_TRUE(rig.sent().empty());
    // The GPIO screen was loaded for the write and shows the board's silence.
    ASSERT_TRUE(rig.program->hasGpioScreen());
    EXPECT_EQ(rig.gpio().txtPCHexData[1].text(), "00");
}

TEST(MainWindowLoad, RegisterTableStartsWithAddressesOnly) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    for (int i = 0; i < kRegisterRows; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(w.Reg_Adr[i].text(), HexByteText(i));
        EXPECT_EQ(w.Reg_Desc[i].text(), "");
        EXPECT_EQ(w.txtBWrite[i].text(), "");
        EXPECT_EQ(w.txtRdByte[i].text(), "");
        EXPECT_EQ(w.shpBwrite[i].color(), qb::kBlack);
        EXPECT_EQ(w.Shape1[i].color(), qb::kBlack);
    }
    EXPECT_FALSE(w.cbSend.visible());
    EXPECT_FALSE(w.cbReset.visible());
    EXPECT_FALSE(w.TmrSample.enabled());
    EXPECT_EQ(w.SSTab1.tab(), 0);
}

TEST(MainWindowClose, RefusedWhileTheConnectionIsOpen) {
    Rig rig;
    bool ended = false;
    rig.wb->windows.endProgram = [&] { ended = true; };
    FrmI2CGeneral& w = rig.main();
    w.ChKManUsbConn.setChecked(true);
    w.ChKManUsbConn_Click();
    w.cmdUSBConnect_Click();
    rig.markLog();
    EXPECT_TRUE(w.Form_QueryUnload());
    w.cmdexit_Click();
    const std::string refusal =
        Entry("Form will not close until USB Connection is closed. Click USB Disconnect");
    EXPECT_EQ(rig.logSinceMark(), refusal + refusal);
    EXPECT_FALSE(ended);
    w.cmdUSBDisconnect_Click();
    w.cmdexit_Click();
    EXPECT_TRUE(ended);
}

TEST(MainWindowMenus, ScriptWindowClosesAManualConnectionFirst) {
    Rig rig;
    bool shown = false;
    rig.wb->windows.showScriptWindow = [&] { shown = true; };
    FrmI2CGeneral& w = rig.main();
    w.ChKManUsbConn.setChecked(true);
    w.ChKManUsbConn_Click();
    w.cmdUSBConnect_Click();
    const std::string handle = w.txthDriver.text();
    w.mnu_ScriptShow_Click();
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    EXPECT_FALSE(w.ChKManUsbConn.checked());
    EXPECT_FALSE(rig.wb->usb.ManualUsbConnect);
    EXPECT_FALSE(w.cmdexit.visible());  // only USB Disconnect shows it again
    EXPECT_EQ(w.txthDriver.text(), handle);
    EXPECT_TRUE(shown);
}

TEST(MainWindowMenus, GpioScreenIsCreatedWhenAskedFor) {
    Rig rig;
    int shows = 0;
    rig.wb->windows.showGpioScreen = [&] { ++shows; };
    FrmI2CGeneral& w = rig.main();
    rig.program->unloadGpioScreen();
    EXPECT_FALSE(rig.program->hasGpioScreen());
    w.mnuGPIO_Click();
    EXPECT_TRUE(rig.program->hasGpioScreen());
    EXPECT_EQ(shows, 1);
}

TEST(MainWindowFocus, GainOfFocusTakesTheAddressBoxWithoutTheDisplays) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    rig.wb->usb.CurrentForm = nullptr;
    w.txtI2CAdr.setText("1C0");
    w.Form_GotFocus();
    EXPECT_EQ(rig.wb->usb.CurrentForm, &w);
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0xC0);
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0xC1);
    EXPECT_EQ(w.txtActualWrtAddress.text(), "60");
}

class MainWindowResize : public ::testing::Test {
protected:
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    void SetUp() override { w.pbinner.setRect({0, 0, 12000, 9000}); }
};

TEST_F(MainWindowResize, SmallWindowLeavesTheLayoutAlone) {
    w.Form_Resize(8000, 6000);
    const Rect before = w.pbouter.rect();
    w.Form_Resize(500, 6000);
    w.Form_Resize(8000, 400);
    EXPECT_EQ(w.pbouter.rect(), before);
}

TEST_F(MainWindowResize, ScrollBarsAppearOnlyWhenTheContentIsLarger) {
    w.Form_Resize(8000, 6000);
    EXPECT_TRUE(w.HScroll1.visible());
    EXPECT_TRUE(w.VScroll1.visible());
    const Rect outer = w.pbouter.rect();
    EXPECT_EQ(outer.top, 400);
    EXPECT_EQ(w.HScroll1.max(), 12000 - outer.width);
    EXPECT_EQ(w.VScroll1.max(), 9000 - outer.height);
    EXPECT_EQ(w.VScroll1.largeChange(), 2500);
    EXPECT_EQ(w.VScroll1.smallChange(), 250);
    EXPECT_EQ(w.VScroll1.rect().left + w.VScroll1.rect().width, 8000);
    EXPECT_EQ(w.HScroll1.rect().top + w.HScroll1.rect().height, 6000);

    w.Form_Resize(20000, 6000);
    EXPECT_FALSE(w.HScroll1.visible());
    EXPECT_TRUE(w.VScroll1.visible());
    w.Form_Resize(20000, 20000);
    EXPECT_FALSE(w.VScroll1.visible());
}

TEST_F(MainWindowResize, ScrollingMovesTheContent) {
    w.Form_Resize(8000, 6000);
    w.VScroll1.setValue(1250);
    w.VScroll1_Change();
    EXPECT_EQ(w.pbinner.rect().top, -1250);
    w.HScroll1.setValue(500);
    w.HScroll1_Change();
    EXPECT_EQ(w.pbinner.rect().left, -500);
}

}  // namespace
}  // namespace i2cbridge
