// The shared connection: open and close in both flavours, the attach and detach handlers, and
// what the connection area and the log show for each.

#include "usb/connection.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace i2cbridge {
namespace {

using testing::Entry;
using testing::Rig;

const std::string kSetup =
    Entry("Setting eventable up,  verifing that the device is attached...\r\n");

std::string AttachEntry(const std::string& handle) {
    return Entry(
               "DeviceAttach: Received and accepted attach for \r\nvendor ID &H547 product ID "
               "&H2005\r\ndevice handle &H" +
               handle) +
           Entry("");
}

const std::string kOpenInfoFailure = Entry(
    "WriteGPIOPipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC (LIBUSB_ERROR_NO_DEVICE)\r\n");

class ConnectionTest : public ::testing::Test {
protected:
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    UsbConnection& usb = rig.wb->usb;
    void SetUp() override { rig.markLog(); }
};

TEST_F(ConnectionTest, OpenWithTheBoardLogsTheAttachAndLightsTheLamps) {
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetup + AttachEntry("2A2"));
    EXPECT_TRUE(usb.UsbOpen);
    EXPECT_EQ(usb.DriverContext.DeviceHandle, 0x2A2u);
    EXPECT_EQ(usb.TransferDeviceHandle, 0x2A2u);
    EXPECT_EQ(usb.I2CPipe, 2);
    EXPECT_EQ(w.shpUSBCon[0].color(), qb::kLightGreen);
    EXPECT_EQ(w.shpUSBCon[1].color(), qb::kBlack);
    EXPECT_EQ(w.ShpHandleStatus.color(), qb::kLightGreen);
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
    EXPECT_FALSE(w.cbNoc.visible());
    EXPECT_FALSE(w.cmdexit.visible());
    EXPECT_EQ(w.txthDriver.text(), " 1002");
}

TEST_F(ConnectionTest, OpenWaitsTenThousandYieldsForTheAttach) {
    const long before = rig.pump.yields;
    w.Connect_Usb();
    EXPECT_GE(rig.pump.yields - before, UsbConnection::kAttachWaitYields);
    EXPECT_LT(rig.pump.yields - before, UsbConnection::kAttachWaitYields + 10);
}

TEST_F(ConnectionTest, SecondConnectOnlyLogsAlreadyOpened) {
    w.cmdUSBConnect_Click();
    w.cmdexit.setVisible(true);
    const int inits = rig.board.initCount();
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), Entry("Already Opened"));
    EXPECT_EQ(rig.board.initCount(), inits);
    EXPECT_FALSE(w.cmdexit.visible());
}

TEST_F(ConnectionTest, DisconnectClosesResetsAndUpdatesTheControls) {
    w.cmdUSBConnect_Click();
    w.cbSend.setVisible(true);
    w.cbReset.setVisible(true);
    const int resets = rig.board.resetCount();
    rig.markLog();
    w.cmdUSBDisconnect_Click();
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_FALSE(usb.UsbOpen);
    EXPECT_FALSE(rig.board.running());
    EXPECT_EQ(rig.board.resetCount(), resets + 1);
    EXPECT_EQ(w.shpUSBCon[0].color(), qb::kBlack);
    EXPECT_EQ(w.shpUSBCon[1].color(), qb::kLightGreen);
    EXPECT_EQ(w.ShpHandleStatus.color(), qb::kBlack);
    EXPECT_EQ(w.cbNoc.caption(), "USB Board Interface Closed");
    EXPECT_EQ(w.txthDriver.text(), "Closed");
    EXPECT_FALSE(w.cbSend.visible());
    EXPECT_FALSE(w.cbReset.visible());
    EXPECT_TRUE(w.cmdexit.visible());
}

TEST_F(ConnectionTest, DisconnectWhileClosedWritesNothingButStillUpdatesTheControls) {
    const int uninits = rig.board.uninitCount();
    w.cmdexit.setVisible(false);
    w.cmdUSBDisconnect_Click();
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_EQ(rig.board.uninitCount(), uninits);
    EXPECT_EQ(w.cbNoc.caption(), "USB Board Interface Closed");
    EXPECT_EQ(w.txthDriver.text(), "Closed");
    EXPECT_EQ(w.ShpHandleStatus.color(), qb::kBlack);
    EXPECT_TRUE(w.cmdexit.visible());
}

TEST_F(ConnectionTest, OpenWithoutABoardCountsAsOpenAndTurnsTheLogLampRed) {
    rig.board.unplug();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetup + kOpenInfoFailure);
    EXPECT_TRUE(usb.UsbOpen);
    EXPECT_EQ(w.shpUSBCon[0].color(), qb::kLightGreen);
    EXPECT_EQ(w.ShpHandleStatus.color(), qb::kLightGreen);
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    EXPECT_TRUE(rig.wb->log.LogErrorFlag);
}

TEST_F(ConnectionTest, LibraryThatWillNotStartLeavesTheConnectionClosed) {
    rig.board.failInit(usb_status::kNotSupported);
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(),
              kSetup + Entry("Form_Activate(): Failed to initialize USB driver: error "
                             "&HFFFFFFF4\r\n(LIBUSB_ERROR_NOT_SUPPORTED)"));
    EXPECT_FALSE(usb.UsbOpen);
    EXPECT_EQ(w.cbNoc.caption(), "USB Board won't intialize");
    EXPECT_EQ(w.txthDriver.text(), " 0");
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    EXPECT_EQ(w.shpUSBCon[1].color(), qb::kBlack);  // no lamp changes

    // A transfer then finds the connection closed.
    rig.markLog();
    usb.TransferPipe = 2;
    usb.TransferLength = 1;
    usb.Redim(1);
    usb.writePipe();
    EXPECT_EQ(rig.logSinceMark(), Entry("Write GPIOPipe .. USB Not opened"));
}

TEST_F(ConnectionTest, UnplugWhileOpenThenPlugBackIn) {
    w.cmdUSBConnect_Click();
    rig.markLog();
    rig.board.unplug();
    rig.pump.yield();
    EXPECT_EQ(rig.logSinceMark(), Entry("DeviceDetach: Received detach for device handle &H2A2"));
    EXPECT_EQ(w.ShpAttach.color(), qb::kLightRed);
    EXPECT_TRUE(usb.UsbOpen);
    EXPECT_EQ(usb.DriverContext.DeviceHandle, 0u);
    EXPECT_EQ(usb.TransferDeviceHandle, 0x2A2u);  // kept until the next transfer copies it

    rig.markLog();
    const auto reply = SingleRegisterRead(usb, rig.wb->i2c, 0x61, 2);
    EXPECT_EQ(reply, (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(rig.logSinceMark(),
              Entry("WritePipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC "
                    "(LIBUSB_ERROR_NO_DEVICE)\r\n") +
                  Entry("ReadPipe: WDU_GetDeviceInfo() failed:\r\nerror &HFFFFFFFC "
                        "(LIBUSB_ERROR_NO_DEVICE)\r\n"));
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);

    rig.markLog();
    rig.board.plug();
    rig.pump.yield();
    EXPECT_EQ(rig.logSinceMark(), AttachEntry("2A3"));
    const auto again = SingleRegisterRead(usb, rig.wb->i2c, 0x61, 2);
    EXPECT_EQ(again, (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

TEST_F(ConnectionTest, BoardThatRefusesTheInterfaceIsNotAccepted) {
    rig.board.refuseInterface(usb_status::kBusy);
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(),
              kSetup +
                  Entry("DeviceAttach: WDU_SetInterface failed\r\n(num.  0 alternate  0)\r\ndevice "
                        "&H2A2: error &HFFFFFFFA\r\n(LIBUSB_ERROR_BUSY)") +
                  Entry("") + kOpenInfoFailure);
    EXPECT_EQ(usb.DriverContext.DeviceHandle, 0u);
    EXPECT_EQ(usb.DriverContext.AttachStatus, usb_status::kBusy);
    EXPECT_TRUE(usb.UsbOpen);
}

TEST_F(ConnectionTest, AttachHandlerResultTellsAcceptance) {
    UsbDeviceInfo info;
    DriverContextRecord context;
    rig.board.refuseInterface(usb_status::kAccess);
    EXPECT_FALSE(usb.DeviceAttach(0x77, info, context));
    EXPECT_EQ(context.DeviceHandle, 0u);
}

TEST_F(ConnectionTest, SharedTwinsChangeTheStateButNoControl) {
    const int lamp0 = w.shpUSBCon[0].color();
    const int lamp1 = w.shpUSBCon[1].color();
    const std::string handleText = w.txthDriver.text();
    usb.I2CPipe = 0;
    usb.SharedOpenUsb();
    EXPECT_TRUE(usb.UsbOpen);
    EXPECT_EQ(usb.I2CPipe, 0);
    EXPECT_EQ(w.shpUSBCon[0].color(), lamp0);
    EXPECT_EQ(w.txthDriver.text(), handleText);
    usb.SharedCloseUsb();
    EXPECT_FALSE(usb.UsbOpen);
    EXPECT_EQ(w.shpUSBCon[1].color(), lamp1);
    EXPECT_EQ(rig.logSinceMark(), kSetup + AttachEntry("2A2"));
}

TEST_F(ConnectionTest, ManualCheckBoxSetsTheFlag) {
    w.ChKManUsbConn.setChecked(true);
    w.ChKManUsbConn_Click();
    EXPECT_TRUE(usb.ManualUsbConnect);
    w.ChKManUsbConn.setChecked(false);
    w.ChKManUsbConn_Click();
    EXPECT_FALSE(usb.ManualUsbConnect);
}

TEST_F(ConnectionTest, DetachWithNoCurrentWindowPaintsNothing) {
    w.cmdUSBConnect_Click();
    usb.CurrentForm = nullptr;
    w.ShpAttach.setColor(qb::kBlack);
    rig.board.unplug();
    rig.pump.yield();
    EXPECT_EQ(w.ShpAttach.color(), qb::kBlack);
    EXPECT_EQ(usb.DriverContext.DeviceHandle, 0u);
}

TEST_F(ConnectionTest, OtherProductIsNotMatched) {
    rig.board.setIdentity(BoardVendorId, 0x2006);
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetup + kOpenInfoFailure);
    usb.MatchTable.productId = 0x2006;
    w.cmdUSBDisconnect_Click();
    rig.markLog();
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.logSinceMark(), kSetup +
                                      Entry("DeviceAttach: Received and accepted attach for "
                                            "\r\nvendor ID &H547 product ID &H2006\r\ndevice "
                                            "handle &H2A2") +
                                      Entry(""));
}

}  // namespace
}  // namespace i2cbridge
