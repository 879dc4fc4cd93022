// The board as seen from its pipes: what it answers to I2C requests and GPIO frames.

#include "usb/board_model.h"

#include <gtest/gtest.h>

namespace i2cbridge {
namespace {

using Bytes = std::vector<uint8_t>;

class BoardModelTest : public ::testing::Test {
protected:
    BoardModel board;
    Bytes exchange(uint8_t out, Bytes frame, uint8_t in) {
        EXPECT_TRUE(board.receive(out, frame));
        auto reply = board.takeReply(in);
        return reply ? *reply : Bytes{0xEE};
    }
};

TEST_F(BoardModelTest, ReadOfTheIdentifierRegister) {
    EXPECT_EQ(exchange(2, {1, 0x61, 0x02}, 0x82), (Bytes{1, BoardModel::kIdentifier}));
}

TEST_F(BoardModelTest, WriteIsAcknowledgedWithAddressAndEveryByte) {
    EXPECT_EQ(exchange(2, {1, 0x60, 0x10, 0xAA}, 0x82), (Bytes{3}));
    EXPECT_EQ(exchange(2, {1, 0x61, 0x10}, 0x82), (Bytes{1, 0xAA}));
}

TEST_F(BoardModelTest, MultiByteReadAutoIncrementsAndWraps) {
    exchange(2, {3, 0x60, 0xFE, 1, 2, 3}, 0x82);
    EXPECT_EQ(exchange(2, {3, 0x61, 0xFE}, 0x82), (Bytes{3, 1, 2, 3}));
    // No register bytes: the read goes on from where the pointer stands.
    EXPECT_EQ(exchange(2, {2, 0x61}, 0x82), (Bytes{2, 0x00, 0x5A}));
}

TEST_F(BoardModelTest, TwoByteRegisterAddresses) {
    EXPECT_EQ(exchange(2, {4, 0xA0, 0x00, 0x10, 0xAA, 0x55}, 0x82), (Bytes{5}));
    EXPECT_EQ(exchange(2, {2, 0xA1, 0x00, 0x10}, 0x82), (Bytes{2, 0xAA, 0x55}));
}

TEST_F(BoardModelTest, AbsentOrRefusingDeviceAnswersACountOfZero) {
    EXPECT_EQ(exchange(2, {1, 0x51, 0x02}, 0x82), (Bytes{0}));
    EXPECT_EQ(exchange(2, {1, 0x50, 0x02, 0x01}, 0x82), (Bytes{0}));
    board.device(0x60)->nakAddress = true;
    EXPECT_EQ(exchange(2, {1, 0x61, 0x02}, 0x82), (Bytes{0}));
    board.device(0x60)->nakAddress = false;
    board.device(0x60)->nakAfterBytes = 1;
    EXPECT_EQ(exchange(2, {1, 0x60, 0x10, 0xAA}, 0x82), (Bytes{2}));
    EXPECT_EQ(exchange(2, {1}, 0x82), (Bytes{0}));
}

TEST_F(BoardModelTest, NewRequestReplacesAnUncollectedReply) {
    board.receive(2, Bytes{1, 0x61, 0x02});
    board.receive(2, Bytes{1, 0x60, 0x00, 0x01});
    EXPECT_EQ(board.takeReply(0x82), (Bytes{3}));
    EXPECT_FALSE(board.takeReply(0x82).has_value());
}

TEST_F(BoardModelTest, GpioFramesAreToldApartByLength) {
    board.gpio().pbInputs = 0xA5;
    board.gpio().pcInputs = 0x5F;
    // Enables-and-data: PB0..3 and PC4 driven.
    Bytes answer = exchange(1, {0x0F, 0x02, 0x0F, 0x10}, 0x81);
    ASSERT_EQ(answer.size(), BoardModel::kGpioAnswerLength);
    EXPECT_EQ(answer[0], 0xAF);  // driven low nibble reads back 0xF, inputs give 0xA0
    EXPECT_EQ(answer[1], 0x4E);  // PC4 driven 0, PC5..7 inputs 010, bits 2..3 inputs, LEDs 10
    EXPECT_EQ(answer[2], 0x0F);
    EXPECT_EQ(answer[3], 0x10);
    // Data only keeps the enables.
    answer = exchange(1, {0x00, 0xFF}, 0x81);
    EXPECT_EQ(answer[0], 0xA0);
    EXPECT_EQ(answer[2], 0x0F);
    EXPECT_EQ(answer[3], 0x10);
    // Another length changes nothing but is answered.
    answer = exchange(1, {0x12, 0x34, 0x56}, 0x81);
    EXPECT_EQ(answer[2], 0x0F);
}

TEST_F(BoardModelTest, RawFramesAreAcceptedWithoutAnswerAndEverythingIsRecorded) {
    EXPECT_TRUE(board.receive(4, Bytes{0x12, 0x34}));
    EXPECT_FALSE(board.hasReply(0x84));
    EXPECT_FALSE(board.receive(3, Bytes{1}));
    ASSERT_EQ(board.sent().size(), 2u);
    EXPECT_EQ(board.sent()[0], (WireFrame{4, {0x12, 0x34}}));
}

}  // namespace
}  // namespace i2cbridge
