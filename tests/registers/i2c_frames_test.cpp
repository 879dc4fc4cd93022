#include "workbench/i2c_frames.h"

#include <gtest/gtest.h>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(I2CFrames, ReadRequestIsCountAddressAndRegisterBytes) {
    const uint8_t reg[] = {0x10};
    EXPECT_EQ(RegisterReadRequest(1, 0x61, reg), (Bytes{0x01, 0x61, 0x10}));
    // A script step without register bytes still sends the address byte.
    EXPECT_EQ(RegisterReadRequest(3, 0x61, {}), (Bytes{0x03, 0x61}));
}

TEST(I2CFrames, WriteRequestPutsRegisterBytesBeforeData) {
    const uint8_t reg[] = {0x10};
    const uint8_t data[] = {0xAA};
    EXPECT_EQ(RegisterWriteRequest(1, 0x60, reg, data), (Bytes{0x01, 0x60, 0x10, 0xAA}));
    const uint8_t reg2[] = {0x00, 0x10};
    const uint8_t data2[] = {0xAA, 0x55};
    EXPECT_EQ(RegisterWriteRequest(4, 0x60, reg2, data2),
              (Bytes{0x04, 0x60, 0x00, 0x10, 0xAA, 0x55}));
}

TEST(I2CFrames, ReplyCountJudgesTheExchange) {
    EXPECT_TRUE(ReadReplyOk(1, 1));
    EXPECT_FALSE(ReadReplyOk(0, 1));  // NAK, or a reply that never arrived
    EXPECT_FALSE(ReadReplyOk(2, 1));
    EXPECT_TRUE(ReadReplyOk(4, 4));
    // A write acknowledges the address byte too.
    EXPECT_TRUE(WriteReplyOk(3, 1, 1));
    EXPECT_FALSE(WriteReplyOk(2, 1, 1));
    EXPECT_FALSE(WriteReplyOk(0, 1, 1));
    EXPECT_TRUE(WriteReplyOk(5, 2, 2));
    EXPECT_FALSE(WriteReplyOk(4, 2, 2));
    EXPECT_TRUE(WriteReplyOk(1, 0, 0));
}

TEST(I2CFrames, ReadAddressIsWriteAddressPlusOneInEightBits) {
    I2CState i2c;
    i2c.setAddress(0x60);
    EXPECT_EQ(i2c.I2CWriteAddress, 0x60);
    EXPECT_EQ(i2c.I2CReadAddress, 0x61);
    i2c.setAddress(0xFF);
    EXPECT_EQ(i2c.I2CReadAddress, 0x00);
    i2c.setAddress(-1);  // the low 8 bits of a negative entry
    EXPECT_EQ(i2c.I2CWriteAddress, 0xFF);
    EXPECT_EQ(i2c.I2CReadAddress, 0x00);
}

// The exchanges against the simulated board, on a connection opened by hand.
class I2CExchangeTest : public PanelTest {
protected:
    void SetUp() override {
        PanelTest::SetUp();
        manualMode(true);
    }
    UsbConnection& usb() { return rig.wb->usb; }
    I2CState& i2c() { return rig.wb->i2c; }
};

TEST_F(I2CExchangeTest, SingleReadSendsThreeBytesAndReadsTwo) {
    device60().registers[0x10] = 0xC3;
    const Bytes reply = SingleRegisterRead(usb(), i2c(), 0x61, 0x10);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x61, 0x10})}));
    EXPECT_EQ(reply, (Bytes{0x01, 0xC3}));
    EXPECT_EQ(usb().TransferPipe, 0x82u);
    EXPECT_EQ(usb().TransferLength, 2u);
    EXPECT_EQ(i2c().ReadByteCount, 1);
}

TEST_F(I2CExchangeTest, SingleWriteIsAcknowledgedWithThree) {
    const Bytes reply = SingleRegisterWrite(usb(), i2c(), 0x60, 0x10, 0xAA);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x10, 0xAA})}));
    EXPECT_EQ(reply, (Bytes{0x03, 0x00}));
    EXPECT_TRUE(WriteReplyOk(reply[0], 1, 1));
    EXPECT_EQ(device60().registers[0x10], 0xAA);
    EXPECT_EQ(i2c().WriteByteCount, 1);
}

TEST_F(I2CExchangeTest, AbsentOrRefusingDeviceReadsAsCountZero) {
    EXPECT_EQ(SingleRegisterRead(usb(), i2c(), 0x43, 0x00), (Bytes{0x00, 0x00}));
    device60().nakAddress = true;
    EXPECT_EQ(SingleRegisterWrite(usb(), i2c(), 0x60, 0x10, 0xAA)[0], 0x00);
    EXPECT_EQ(device60().registers[0x10], 0x00);
}

TEST_F(I2CExchangeTest, LostReplyLeavesTheZeroedBuffer) {
    rig.board.injectTransferFault({0x82u, usb_status::kIo, std::nullopt});
    EXPECT_EQ(SingleRegisterRead(usb(), i2c(), 0x61, 0x02), (Bytes{0x00, 0x00}));
}

TEST_F(I2CExchangeTest, ScriptWriteOfTwoRegisterAndTwoDataBytesSucceedsAtFive) {
    const uint8_t reg[] = {0x00, 0x10};
    const uint8_t data[] = {0xAA, 0x55};
    const Bytes request = RegisterWriteRequest(4, 0x60, reg, data);
    const Bytes reply = I2CExchange(usb(), request, 2);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x04, 0x60, 0x00, 0x10, 0xAA, 0x55})}));
    EXPECT_EQ(reply[0], 5);
    EXPECT_TRUE(WriteReplyOk(reply[0], 2, 2));
}

}  // namespace
}  // namespace i2cbridge::testing
