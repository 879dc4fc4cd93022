// The main window's load, focus, close, menus and resize.

#include <gtest/gtest.h>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

const std::string kSetup = "Setting eventable up,  verifing that the device is attached...\r\n";
std::string Attach(const std::string& handle) {
    return "DeviceAttach: Received and accepted attach for \r\nvendor ID &H547 product ID "
           "&H2005\r\ndevice handle &H" +
           handle;
}

// The probe's open and close, then the GPIO write's own open and close. The probe runs before
// the colours are assigned: the lamps it paints are black.
TEST(MainWindowLoad, WithTheBoardProbesThenSendsTheStartUpGpioState) {
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    EXPECT_EQ(rig.messages(), (Texts{kSetup, Attach("2A0"), "", kSetup, Attach("2A1"), ""}));
    EXPECT_EQ(rig.sent(), (Frames{{0x01, {0xFF, 0xFF, 0x00, 0x00}}}));
    // "Send All" and "Reset" stay hidden; "Write All" shows.
    EXPECT_EQ(std::tuple(rig.wb->i2c.I2CReadAddress, w.txtActualWrtAddress.text(),
                         w.txtActualReadAddress.text(), rig.wb->usb.CurrentForm.lock().get(),
                         w.cbSend.visible() || w.cbReset.visible(), w.cmdwriteAll.visible()),
              std::tuple(0x61, "60", "61", &w, false, true));
    EXPECT_EQ((std::vector<int>{w.shpUSBCon[0].color(), w.shpUSBCon[1].color(),
                                w.ShpHandleStatus.color(), w.ShpAttach.color()}),
              std::vector<int>(4, qb::kBlack));
    // The start-up GPIO write logs after the colours are set.
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
}

TEST(MainWindowLoad, WithoutABoardLoadCompletesAndLogsEveryFailure) {
    Rig rig;
    rig.board.unplug();
    FrmI2CGeneral& w = rig.main();
    const std::string failure =
        "WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC (LIBUSB_ERROR_NO_DEVICE)\r\n";
    EXPECT_EQ(rig.messages(),
              (Texts{kSetup, "WriteGPIOPipe: " + failure, kSetup, "WriteGPIOPipe: " + failure,
                     "WritePipe: " + failure, "ReadPipe: " + failure}));
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    EXPECT_TRUE(rig.sent().empty());
    // The GPIO screen was loaded for the write and shows the board's silence.
    EXPECT_EQ(rig.gpio().txtPCHexData[1].text(), "00");
}

using MainWindow = PanelTest;

TEST_F(MainWindow, CloseIsRefusedWhileTheConnectionIsOpen) {
    bool ended = false;
    rig.wb->windows.endProgram = [&] { ended = true; };
    manualMode(true);
    win->cmdexit_Click();
    EXPECT_EQ(logged(),
              Texts{"Form will not close until USB Connection is closed. Click USB Disconnect"});
    EXPECT_FALSE(ended);
    win->cmdUSBDisconnect_Click();
    win->cmdexit_Click();
    EXPECT_TRUE(ended);
}

// Scan Bus opens the board as every operation does and closes it, says what answered and why
// it stopped: when the probe of 0x42 (the 34th read) fails, the scan stops with what it had.
TEST_F(MainWindow, ScanBusReturnsTheAddressesThatAnsweredOrWhyNot) {
    const std::string answering = "Devices answering (write addresses): ";
    EXPECT_EQ(win->mnuScanBus_Click().found, (std::vector<uint8_t>{0x40, 0x60, 0xA0}));
    for (int k = 0; k < 33; ++k) rig.board.injectReply(0x82, {0});
    rig.board.injectTransferFault({0x82, usb_status::kIo, std::nullopt});
    EXPECT_EQ(win->mnuScanBus_Click().error, CoreError::TransferFailed);
    rig.board.unplug();
    EXPECT_EQ(win->mnuScanBus_Click().error, CoreError::NoBoard);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    Texts scans;
    for (const std::string& m : logged())
        if (m.starts_with(answering)) scans.push_back(m.substr(answering.size()));
    EXPECT_EQ(scans,
              (Texts{"40 60 A0", "none (the transfer failed)", "none (no board could be opened)"}));
}

// Start Trace asks for a file (cancelling starts nothing); Stop Trace ends it, once.
TEST_F(MainWindow, StartTraceAsksForAFileAndStopTraceEndsIt) {
    const std::string path = dir.file("bus.txt");
    for (const std::string& choice : {std::string(), dir.file("no-such-folder/bus.txt"), path})
        rig.dialogs.saveChoices.push_back(choice);
    EXPECT_EQ(win->mnuTraceStart_Click().path, "");
    EXPECT_EQ(win->mnuTraceStart_Click().error, CoreError::FileUnwritable);
    EXPECT_FALSE(win->tracing());
    EXPECT_TRUE(win->mnuTraceStart_Click().started());
    win->cmdRead_Click();
    EXPECT_EQ(win->mnuTraceStop_Click(), path);
    EXPECT_EQ(win->mnuTraceStop_Click(), "");
    EXPECT_NE(ReadBytes(path).find("OUT"), std::string::npos);
    EXPECT_EQ(logged().back(), "Trace stopped: " + path);
}

// Scroll bars appear only when the content is larger than the view; from 500 twips down in
// either direction the layout is left alone.
TEST_F(MainWindow, ResizeFitsTheScrollBars) {
    win->pbinner.setRect({0, 0, 12000, 9000});
    std::vector<std::tuple<bool, bool, int, int>> bars;
    for (const auto& [width, height] :
         {std::pair(8000, 6000), {500, 6000}, {8000, 500}, {20000, 6000}, {20000, 20000}}) {
        win->Form_Resize(width, height);
        bars.emplace_back(win->HScroll1.visible(), win->VScroll1.visible(), win->HScroll1.max(),
                          win->VScroll1.max());
    }
    EXPECT_EQ(bars, (std::vector<std::tuple<bool, bool, int, int>>{{true, true, 4255, 3655},
                                                                   {true, true, 4255, 3655},
                                                                   {true, true, 4255, 3655},
                                                                   {false, true, 4255, 3655},
                                                                   {false, false, 4255, 3655}}));
}

}  // namespace
}  // namespace i2cbridge::testing
