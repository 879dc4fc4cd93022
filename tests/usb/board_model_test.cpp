// The board as seen from its pipes: what it answers to I2C requests and GPIO frames. The plain
// read, write and read-back and the absent device are in the connection contract.

#include "usb/board_model.h"

#include <gtest/gtest.h>

#include <optional>

namespace i2cbridge {
namespace {

using Bytes = std::vector<uint8_t>;

// One board through a run of frames, each answered (or not) on its pipe's IN endpoint. For the
// GPIO pipe only the four state bytes of the answer are compared.
TEST(BoardModel, AnswersEveryFrameOnItsPipe) {
    BoardModel board;
    board.gpio().pbInputs = 0xA5;
    board.gpio().pcInputs = 0x5F;
    struct Row {
        const char* name;
        uint8_t pipe;
        Bytes frame;
        std::optional<Bytes> reply;
        bool nakAddress = false;  // the device at 0x60 refuses its address
        std::optional<int> nakAfterBytes = {};
    };
    const Row rows[] = {
        {"write across the end", 2, {3, 0x60, 0xFE, 1, 2, 3}, Bytes{5}},
        {"read wraps round", 2, {3, 0x61, 0xFE}, Bytes{3, 1, 2, 3}},
        {"read without register goes on", 2, {2, 0x61}, Bytes{2, 0, BoardModel::kIdentifier}},
        {"two-byte register write", 2, {4, 0xA0, 0x00, 0x10, 0xAA, 0x55}, Bytes{5}},
        {"two-byte register read", 2, {2, 0xA1, 0x00, 0x10}, Bytes{2, 0xAA, 0x55}},
        {"absent device, write", 2, {1, 0x50, 0x02, 0x01}, Bytes{0}},
        {"address refused", 2, {1, 0x61, 0x02}, Bytes{0}, true},
        {"refused after a byte", 2, {1, 0x60, 0x10, 0xAA}, Bytes{2}, false, 1},
        {"request too short", 2, {1}, Bytes{0}},
        // The interrupt source at 0x40, armed for one frame, fires at the status read.
        {"arm the interrupt", 2, {1, 0x40, 0x00, 0x01}, Bytes{3}},
        {"status shows it fired", 2, {1, 0x41, 0x01}, Bytes{1, 1}},
        // PB0..3 and PC4 driven; PC's bits 0..1 are the LEDs and read back their latch.
        {"enables and data", 1, {0x0F, 0x02, 0x0F, 0x10}, Bytes{0xAF, 0x4E, 0x0F, 0x10}},
        {"data only keeps the enables", 1, {0x00, 0xFF}, Bytes{0xA0, 0x5F, 0x0F, 0x10}},
        {"another length changes nothing", 1, {0x12, 0x34, 0x56}, Bytes{0xA0, 0x5F, 0x0F, 0x10}},
        {"raw frame", 4, {0x12, 0x34}, std::nullopt},
        {"no such pipe", 3, {1}, std::nullopt},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        board.device(0x60)->nakAddress = r.nakAddress;
        board.device(0x60)->nakAfterBytes = r.nakAfterBytes;
        EXPECT_EQ(board.receive(r.pipe, r.frame), r.pipe != 3);
        auto reply = board.takeReply(r.pipe | 0x80);
        if (reply && r.pipe == 1) {
            EXPECT_EQ(reply->size(), BoardModel::kGpioAnswerLength);
            reply->resize(4);
        }
        EXPECT_EQ(reply, r.reply);
    }
    EXPECT_EQ(board.sent().size(), std::size(rows)) << "every frame is recorded";
    EXPECT_EQ(board.sent().back(), (WireFrame{3, {1}}));
}

TEST(BoardModel, NewRequestReplacesAnUncollectedReply) {
    BoardModel board;
    board.receive(2, Bytes{1, 0x61, 0x02});
    board.receive(2, Bytes{1, 0x60, 0x00, 0x01});
    EXPECT_EQ(board.takeReply(0x82), (Bytes{3}));
    EXPECT_FALSE(board.takeReply(0x82).has_value());
}

}  // namespace
}  // namespace i2cbridge
