// The main window's load, focus, close and resize.

#include <gtest/gtest.h>

#include "foundation/hex_text.h"
#include "panel_rig.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge {
namespace {

using testing::Column;
using testing::Entry;
using testing::Every;
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
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{1, {0xFF, 0xFF, 0x00, 0x00}}}));
    EXPECT_EQ(rig.wb->GpioState, (GpioBytes{0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(std::tuple(rig.wb->i2c.I2CWriteAddress, rig.wb->i2c.I2CReadAddress,
                         w.txtActualWrtAddress.text(), w.txtActualReadAddress.text()),
              std::tuple(0x60, 0x61, "60", "61"));
    EXPECT_EQ(std::tuple(rig.wb->usb.UsbOpen, rig.wb->usb.ManualUsbConnect, rig.wb->usb.I2CPipe,
                         w.cmdexit.visible(), rig.wb->usb.CurrentForm.lock().get()),
              std::tuple(false, false, 2, true, &w));
}

// The probe runs before the colours are assigned: what it paints is black, and only lamps
// painted again later change.
TEST(MainWindowLoad, ProbePaintsItsLampsBlack) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    EXPECT_EQ((std::vector<int>{w.shpUSBCon[0].color(), w.shpUSBCon[1].color(),
                                w.ShpHandleStatus.color(), w.ShpAttach.color()}),
              std::vector<int>(4, qb::kBlack));
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
    std::vector<std::string> addresses;
    for (int i = 0; i < kRegisterRows; ++i) addresses.push_back(HexByteText(i));
    EXPECT_EQ(Column(w.Reg_Adr, &TextBox::text), addresses);
    for (const auto* texts : {&w.Reg_Desc, &w.txtBWrite, &w.txtRdByte})
        EXPECT_EQ(Column(*texts, &TextBox::text), Every(std::string()));
    EXPECT_EQ(Column(w.shpBwrite, &Lamp::color), Every(qb::kBlack));
    EXPECT_EQ(Column(w.Shape1, &Lamp::color), Every(qb::kBlack));
    EXPECT_FALSE(w.cbSend.visible() || w.cbReset.visible() || w.TmrSample.enabled());
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
    // Only USB Disconnect shows the exit button again.
    EXPECT_FALSE(rig.wb->usb.UsbOpen || w.ChKManUsbConn.checked() || rig.wb->usb.ManualUsbConnect ||
                 w.cmdexit.visible());
    EXPECT_EQ(w.txthDriver.text(), handle);
    EXPECT_TRUE(shown);
}

TEST(MainWindowMenus, GpioScreenIsCreatedWhenAskedFor) {
    Rig rig;
    int shows = 0;
    rig.wb->windows.showGpioScreen = [&] { ++shows; };
    FrmI2CGeneral& w = rig.main();
    rig.program->unloadGpioScreen();
    ASSERT_FALSE(rig.program->hasGpioScreen());
    w.mnuGPIO_Click();
    EXPECT_TRUE(rig.program->hasGpioScreen() && shows == 1);
}

// Scan Bus opens the board as every operation does, says what answered and why it stopped.
TEST(MainWindowMenus, ScanBusReturnsTheAddressesThatAnsweredOrWhyNot) {
    const std::string answered = "Devices answering (write addresses): 40 60 A0";
    const struct {
        const char* name;
        std::function<void(Rig&)> before;
        std::vector<uint8_t> found;
        CoreError error;
        std::string logged;
    } cases[] = {
        {"board attached", [](Rig&) {}, {0x40, 0x60, 0xA0}, CoreError::None, answered},
        {"board unplugged",
         [](Rig& r) { r.board.unplug(); },
         {},
         CoreError::NoBoard,
         "Devices answering (write addresses): none (no board could be opened)"},
        {"held closed by hand",
         [](Rig& r) {
             r.main().ChKManUsbConn.setChecked(true);
             r.main().ChKManUsbConn_Click();
         },
         {},
         CoreError::NoBoard,
         "Devices answering (write addresses): none (no board could be opened)"},
        // The probe of 0x42 (the 34th read) fails: the scan stops with what it had.
        {"transfer failed",
         [](Rig& r) {
             for (int k = 0; k < 33; ++k) r.board.injectReply(0x82, {0});
             r.board.injectTransferFault({0x82, usb_status::kIo, std::nullopt});
         },
         {},
         CoreError::TransferFailed,
         "Devices answering (write addresses): none (the transfer failed)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig;
        FrmI2CGeneral& w = rig.main();
        c.before(rig);
        rig.markLog();
        const BusScan scan = w.mnuScanBus_Click();
        EXPECT_EQ(scan.found, c.found);
        EXPECT_EQ(scan.error, c.error);
        EXPECT_NE(rig.logSinceMark().find(Entry(c.logged)), std::string::npos)
            << rig.logSinceMark();
        EXPECT_EQ(BusScanText(scan), c.logged);
        EXPECT_FALSE(rig.wb->usb.UsbOpen);
    }
}

TEST(MainWindowMenus, StartTraceAsksForAFileAndStopTraceEndsIt) {
    Rig rig;
    testing::TempDir dir;
    FrmI2CGeneral& w = rig.main();
    const std::string path = dir.file("bus.txt");
    rig.dialogs.saveChoices.push_back("");
    EXPECT_EQ(w.mnuTraceStart_Click().path, "");  // cancelled
    EXPECT_FALSE(w.tracing());

    rig.markLog();
    rig.dialogs.saveChoices.push_back(path);
    EXPECT_TRUE(w.mnuTraceStart_Click().started());
    EXPECT_TRUE(w.tracing());
    w.cmdRead_Click();
    EXPECT_EQ(w.mnuTraceStop_Click(), path);
    EXPECT_EQ(w.mnuTraceStop_Click(), "");
    EXPECT_FALSE(w.tracing());
    EXPECT_NE(testing::ReadBytes(path).find("OUT"), std::string::npos);
    EXPECT_EQ(rig.logSinceMark().find("Trace started: " + path), 0u);
    EXPECT_NE(rig.logSinceMark().find("Trace stopped: " + path), std::string::npos);

    rig.dialogs.saveChoices.push_back(dir.file("no-such-folder/bus.txt"));
    const TraceStart failed = w.mnuTraceStart_Click();
    EXPECT_EQ(failed.error, CoreError::FileUnwritable);
    EXPECT_FALSE(failed.reason.empty());
    EXPECT_FALSE(w.tracing());
}

TEST(MainWindowFocus, GainOfFocusTakesTheAddressBoxWithoutTheDisplays) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    rig.wb->usb.CurrentForm = nullptr;
    w.txtI2CAdr.setText("1C0");
    w.Form_GotFocus();
    EXPECT_EQ(std::tuple(rig.wb->usb.CurrentForm.lock().get(), rig.wb->i2c.I2CWriteAddress,
                         rig.wb->i2c.I2CReadAddress, w.txtActualWrtAddress.text()),
              std::tuple(&w, 0xC0, 0xC1, "60"));
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
    const Rect outer = w.pbouter.rect();
    EXPECT_EQ(outer.top, 400);
    EXPECT_EQ(std::tuple(w.HScroll1.max(), w.VScroll1.max(), w.VScroll1.largeChange(),
                         w.VScroll1.smallChange()),
              std::tuple(12000 - outer.width, 9000 - outer.height, 2500, 250));
    // The bars sit at the window's right and bottom edges.
    EXPECT_EQ(w.VScroll1.rect().left + w.VScroll1.rect().width, 8000);
    EXPECT_EQ(w.HScroll1.rect().top + w.HScroll1.rect().height, 6000);
    std::vector<std::pair<bool, bool>> shown{{w.HScroll1.visible(), w.VScroll1.visible()}};
    for (int size : {6000, 20000}) {
        w.Form_Resize(20000, size);
        shown.emplace_back(w.HScroll1.visible(), w.VScroll1.visible());
    }
    EXPECT_EQ(shown,
              (std::vector<std::pair<bool, bool>>{{true, true}, {false, true}, {false, false}}));
}

TEST_F(MainWindowResize, ScrollingMovesTheContent) {
    w.Form_Resize(8000, 6000);
    w.VScroll1.setValue(1250);
    w.VScroll1_Change();
    w.HScroll1.setValue(500);
    w.HScroll1_Change();
    EXPECT_EQ(std::pair(w.pbinner.rect().left, w.pbinner.rect().top), std::pair(-500, -1250));
}

}  // namespace
}  // namespace i2cbridge
