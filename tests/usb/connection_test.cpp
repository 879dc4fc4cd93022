// The shared connection on the simulated board: the contract every driver keeps, and what only
// the simulated board can show (a library that will not start, injected transfer faults, a
// board without endpoints) or what does not depend on the driver at all.

#include "usb/connection.h"

#include <gtest/gtest.h>

#include "scripts/frm_script_ops.h"
#include "support/connection_contract.h"
#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

using Lines = std::vector<std::string>;

INSTANTIATE_TYPED_TEST_SUITE_P(SimulatedBoard, ConnectionContract, Rig);

// The log, the connection and transfers live in the workbench: none of them may need a window.
TEST(WindowFreeCore, LoggingOpeningAndTransferringCreateNoWindow) {
    Rig rig;
    UsbConnection& usb = rig.wb->usb;
    rig.wb->log.LogError("failure");  // the log's lamp is the main window's
    usb.InitI2CPipe();                // the main window's load does this
    usb.open(nullptr);
    ASSERT_TRUE(usb.UsbOpen);
    EXPECT_EQ(SingleRegisterRead(usb, rig.wb->i2c, 0x61, 0x02)[1], BoardModel::kIdentifier);
    GpioExchange(usb, std::vector<uint8_t>{0xFF, 0xFF});
    rig.board.unplug();
    rig.pump.yield();  // the detach handler paints the current window's lamp, if there is one
    usb.close(nullptr);
    EXPECT_NE(rig.log().find("DeviceDetach"), std::string::npos);
    EXPECT_FALSE(rig.program->hasMainWindow());
    EXPECT_FALSE(rig.program->hasGpioScreen());
}

class SimulatedConnection : public ::testing::Test {
protected:
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    UsbConnection& usb = rig.wb->usb;

    void SetUp() override {
        w.ChKManUsbConn.setChecked(true);
        w.ChKManUsbConn_Click();
        rig.clearSent();
        rig.markLog();
    }
    void open() {
        w.cmdUSBConnect_Click();
        rig.clearSent();
        rig.markLog();
    }
    void prepare(uint32_t pipe, std::vector<uint8_t> bytes) {
        usb.TransferPipe = pipe;
        usb.TransferLength = static_cast<uint32_t>(bytes.size());
        usb.TransferBuffer = std::move(bytes);
    }
};

TEST_F(SimulatedConnection, LibraryThatWillNotStartLeavesTheConnectionClosed) {
    rig.board.failInit(usb_status::kNotSupported);
    w.cmdUSBConnect_Click();
    EXPECT_EQ(rig.messagesSinceMark(),
              (Lines{"Setting eventable up,  verifing that the device is attached...\r\n",
                     "Form_Activate(): Failed to initialize USB driver: error "
                     "&HFFFFFFF4\r\n(LIBUSB_ERROR_NOT_SUPPORTED)"}));
    EXPECT_FALSE(usb.UsbOpen);
    EXPECT_EQ(w.cbNoc.caption(), "USB Board won't intialize");
    EXPECT_EQ(w.txthDriver.text(), " 0");
    EXPECT_EQ(w.shpUSBCon[1].color(), qb::kBlack);  // no lamp changes
}

// Nothing reaches the driver while closed and the buffer is left alone; only the read yields.
TEST_F(SimulatedConnection, ClosedConnectionSendsNothingAndLeavesTheBufferAlone) {
    prepare(2, {1, 0x61, 2});
    usb.writePipe();
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
    prepare(0x82, {0xEE, 0});
    const long yields = rig.pump.yields;
    usb.readPipe();
    EXPECT_EQ(rig.pump.yields, yields + 1);
    EXPECT_EQ(rig.messagesSinceMark(),
              (Lines{"Write GPIOPipe .. USB Not opened", "ReadPipe .. USB Not opened"}));
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0xEE, 0}));
}

TEST_F(SimulatedConnection, TransferErrorIsLoggedAndTheNextSuccessClearsTheFlag) {
    open();
    rig.board.injectTransferFault({2, usb_status::kIo, {}});
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    EXPECT_EQ(rig.messagesSinceMark(),
              (Lines{"WritePipe: WDU_Transfer() failed: error &HFFFFFFFF (LIBUSB_ERROR_IO)"}));
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_TRUE(rig.wb->log.LogErrorFlag);
    usb.writePipe();
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

TEST_F(SimulatedConnection, ShortAndEmptyRepliesLeaveTheRestZero) {
    open();
    prepare(1, {0xFF, 0xFF, 0x0F, 0x00});
    usb.writePipe();
    rig.board.injectTransferFault({0x81, usb_status::kSuccess, 2});
    EXPECT_EQ(GpioExchange(usb, std::vector<uint8_t>{0xFF, 0xFF, 0x0F, 0x00})[2], 0x00);
    EXPECT_EQ(usb.BytesTransferred, 2u);
    rig.board.injectTransferFault({0x82, usb_status::kSuccess, 0});
    EXPECT_EQ(SingleRegisterRead(usb, rig.wb->i2c, 0x61, 2).bytes(), (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(SimulatedConnection, InterfaceWithoutEndpointsTransfersNothing) {
    open();
    rig.board.setNoEndpoints(true);
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    EXPECT_EQ(rig.messagesSinceMark(), (Lines{"  No pipes are defined for this device \r\nother "
                                              "than the default pipe (number 0)"}));
    EXPECT_TRUE(rig.sent().empty());
}

// A click that runs in the yield before a write may replace the buffer: the write sends what
// is there after its yield. A read does not yield before its transfer.
TEST_F(SimulatedConnection, WriteYieldsBeforeItsTransferAndReadDoesNot) {
    open();
    prepare(2, {1, 0x61, 0x02});
    rig.pump.atYield(1, [&] { prepare(2, {1, 0x61, 0x10}); });
    usb.writePipe();
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{2, {1, 0x61, 0x10}}}));
    prepare(0x82, {0, 0});
    const long yields = rig.pump.yields;
    usb.readPipe();
    EXPECT_EQ(rig.pump.yields, yields);
}

// The current window may be closed before the board goes away: the detach then paints nothing
// and reads no freed window (it once did, and crashed).
TEST_F(SimulatedConnection, SharedTwinsAndDetachAfterTheCurrentWindowClosedPaintNothing) {
    w.ChKManUsbConn.setChecked(false);
    w.ChKManUsbConn_Click();
    const int lamp1 = w.shpUSBCon[1].color();
    const std::string handleText = w.txthDriver.text();
    usb.I2CPipe = 0;
    usb.open(nullptr);
    EXPECT_TRUE(usb.UsbOpen);
    EXPECT_EQ(usb.I2CPipe, 0);
    EXPECT_EQ(w.txthDriver.text(), handleText);
    auto script = rig.program->newScriptWindow();
    script->Form_Load();  // the file dialog is cancelled; the script window is current now
    rig.program->closeScriptWindow(*script);
    script.reset();
    w.ShpAttach.setColor(qb::kBlack);
    rig.board.unplug();
    rig.pump.yield();
    EXPECT_EQ(w.ShpAttach.color(), qb::kBlack);
    EXPECT_EQ(usb.DriverContext.DeviceHandle, 0u);
    usb.close(nullptr);
    EXPECT_FALSE(usb.UsbOpen);
    EXPECT_EQ(w.shpUSBCon[1].color(), lamp1);
}

}  // namespace
}  // namespace i2cbridge::testing
