// The single place where a transfer is made: checks before it, what a failure logs and leaves
// in the buffer, and the log lamp's return to green after a success.

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace i2cbridge {
namespace {

using testing::Entry;
using testing::Rig;

class PipeTransferTest : public ::testing::Test {
protected:
    Rig rig;
    FrmI2CGeneral& w = rig.main();
    UsbConnection& usb = rig.wb->usb;

    void SetUp() override {
        w.ChKManUsbConn.setChecked(true);
        w.ChKManUsbConn_Click();
    }
    void open() {
        w.cmdUSBConnect_Click();
        rig.board.model().clearSent();
        rig.markLog();
    }
    void prepare(uint32_t pipe, std::vector<uint8_t> bytes) {
        usb.TransferPipe = pipe;
        usb.TransferLength = static_cast<uint32_t>(bytes.size());
        usb.TransferBuffer = std::move(bytes);
    }
    void prepareRead(uint32_t pipe, uint32_t length, uint8_t firstByte = 0) {
        usb.TransferPipe = pipe;
        usb.TransferLength = length;
        usb.Redim(length);
        if (length > 0) usb.TransferBuffer[0] = firstByte;
    }
};

TEST_F(PipeTransferTest, ClosedConnectionSendsNothingAndLeavesTheBufferAlone) {
    rig.board.model().clearSent();
    rig.markLog();
    prepare(2, {1, 0x61, 2});
    usb.writePipe();
    prepareRead(0x82, 2, 0xEE);
    const long yields = rig.pump.yields;
    usb.readPipe();
    EXPECT_EQ(rig.pump.yields, yields + 1);  // the read yields once before it returns
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened"));
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0xEE, 0}));
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
}

TEST_F(PipeTransferTest, NotOpenedKeepsTheLampRedWhenAnErrorIsPending) {
    rig.wb->log.LogError("earlier failure");
    prepare(1, {0xFF, 0xFF});
    usb.SharedWritePipe();
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
}

TEST_F(PipeTransferTest, ExchangeOnTheWire) {
    open();
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    prepareRead(0x82, 2);
    usb.readPipe();
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{1, BoardModel::kIdentifier}));
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0], (WireFrame{2, {1, 0x61, 0x02}}));
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_EQ(usb.LastStatus, 0);
}

TEST_F(PipeTransferTest, TransferErrorIsLoggedWithLibrarysText) {
    open();
    rig.board.injectTransferFault({2, usb_status::kIo, {}});
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    EXPECT_EQ(rig.logSinceMark(),
              Entry("WritePipe: WDU_Transfer() failed: error &HFFFFFFFF (LIBUSB_ERROR_IO)"));
    EXPECT_EQ(usb.LastStatus, usb_status::kIo);
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    EXPECT_TRUE(rig.sent().empty());
}

TEST_F(PipeTransferTest, TimedOutReadKeepsTheCallersBytes) {
    open();
    rig.board.injectTransferFault({0x82, usb_status::kTimeout, {}});
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    prepareRead(0x82, 2, 0x07);
    usb.readPipe();
    EXPECT_EQ(rig.logSinceMark(),
              Entry("ReadPipe: WDU_Transfer() failed: error &HFFFFFFF9 (LIBUSB_ERROR_TIMEOUT)"));
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0x07, 0}));
}

TEST_F(PipeTransferTest, ReadWithNothingToAnswerTimesOut) {
    open();
    prepareRead(0x82, 2);
    usb.readPipe();
    EXPECT_EQ(usb.LastStatus, usb_status::kTimeout);
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0, 0}));
}

TEST_F(PipeTransferTest, ShortAndEmptyRepliesLeaveTheRestZero) {
    open();
    prepare(1, {0xFF, 0xFF, 0x0F, 0x00});
    usb.SharedWritePipe();
    rig.board.injectTransferFault({0x81, usb_status::kSuccess, 2});
    prepareRead(0x81, 25);
    usb.SharedReadPipe();
    EXPECT_EQ(usb.BytesTransferred, 2u);
    EXPECT_EQ(usb.TransferBuffer[0], 0xFF);
    EXPECT_EQ(usb.TransferBuffer[2], 0x00);  // enables not delivered

    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    rig.board.injectTransferFault({0x82, usb_status::kSuccess, 0});
    prepareRead(0x82, 2);
    usb.readPipe();
    EXPECT_EQ(usb.TransferBuffer, (std::vector<uint8_t>{0, 0}));
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(PipeTransferTest, TwoFailuresThenASuccessTurnTheLampGreenAtTheNextLine) {
    open();
    rig.board.injectTransferFault({{}, usb_status::kIo, {}});
    rig.board.injectTransferFault({{}, usb_status::kPipe, {}});
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    usb.writePipe();
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    usb.writePipe();
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightRed);
    rig.wb->log.LogMessage("next");
    EXPECT_EQ(w.shpLogStatus.color(), qb::kLightGreen);
}

TEST_F(PipeTransferTest, InterfaceWithoutEndpoints) {
    open();
    rig.board.setNoEndpoints(true);
    const int transfers = rig.board.transferCount();
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    EXPECT_EQ(rig.logSinceMark(), Entry("  No pipes are defined for this device \r\nother than "
                                        "the default pipe (number 0)"));
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(rig.board.transferCount(), transfers);
}

TEST_F(PipeTransferTest, ZeroLengthPassesNoBuffer) {
    open();
    usb.TransferPipe = 4;
    usb.TransferLength = 0;
    usb.TransferBuffer.clear();
    usb.writePipe();
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0], (WireFrame{4, {}}));
}

// A click that runs in the yield before the transfer may replace the buffer; the transfer
// sends what is there after the yield.
TEST_F(PipeTransferTest, WriteTakesTheBufferAfterItsYield) {
    open();
    prepare(2, {1, 0x61, 0x02});
    rig.pump.atYield(1, [&] { prepare(2, {1, 0x61, 0x10}); });
    usb.writePipe();
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0].bytes, (std::vector<uint8_t>{1, 0x61, 0x10}));
}

TEST_F(PipeTransferTest, ReadDoesNotYieldBeforeItsTransfer) {
    open();
    prepare(2, {1, 0x61, 0x02});
    usb.writePipe();
    prepareRead(0x82, 2);
    const long yields = rig.pump.yields;
    usb.readPipe();
    EXPECT_EQ(rig.pump.yields, yields);
}

}  // namespace
}  // namespace i2cbridge
