#include "workbench/i2c_frames.h"

#include <gtest/gtest.h>

#include "panel_rig.h"
#include "workbench/exchange.h"

namespace i2cbridge::testing {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(I2CFrames, RequestsAreCountAddressRegisterBytesThenData) {
    const uint8_t reg[] = {0x10};
    const uint8_t reg2[] = {0x00, 0x10};
    const uint8_t data[] = {0xAA};
    const uint8_t data2[] = {0xAA, 0x55};
    EXPECT_EQ(RegisterReadRequest(1, 0x61, reg), (Bytes{0x01, 0x61, 0x10}));
    // A script step without register bytes still sends the address byte.
    EXPECT_EQ(RegisterReadRequest(3, 0x61, {}), (Bytes{0x03, 0x61}));
    EXPECT_EQ(RegisterWriteRequest(1, 0x60, reg, data), (Bytes{0x01, 0x60, 0x10, 0xAA}));
    EXPECT_EQ(RegisterWriteRequest(4, 0x60, reg2, data2),
              (Bytes{0x04, 0x60, 0x00, 0x10, 0xAA, 0x55}));
}

// A read answers its data count; a write acknowledges the address byte too.
TEST(I2CFrames, ReplyCountJudgesTheExchange) {
    // A count of 0: a NAK, or a reply that never arrived.
    EXPECT_EQ(
        std::vector({ReadReplyOk(1, 1), ReadReplyOk(0, 1), ReadReplyOk(2, 1), ReadReplyOk(4, 4)}),
        std::vector({true, false, false, true}));
    const struct {
        int count, regBytes, dataBytes;
        bool ok;
    } writes[] = {{3, 1, 1, true}, {2, 1, 1, false}, {0, 1, 1, false},
                  {5, 2, 2, true}, {4, 2, 2, false}, {1, 0, 0, true}};
    for (const auto& w : writes)
        EXPECT_EQ(WriteReplyOk(w.count, w.regBytes, w.dataBytes), w.ok) << w.count;
}

using Exchange = PanelTest;

// A click handled in the exchange's yield may leave the shared buffer at another size: the
// reply still has the length asked for, and a count that never came reads as failure.
TEST_F(Exchange, ReplyDoesNotDependOnWhatAHandlerLeftInTheBuffer) {
    manualMode(true);
    UsbConnection& usb = rig.wb->usb;
    rig.pump.atYield(1, [&] { usb.Redim(0); });
    rig.board.injectTransferFault({0x82u, usb_status::kIo, std::nullopt});
    const Reply reply = SingleRegisterRead(usb, rig.wb->i2c, 0x61, 0x02);
    // Bytes past a reply's end, even of an empty one, read as 0.
    EXPECT_EQ(std::pair(reply.bytes(), Reply()[0]), std::pair(Bytes{0, 0}, uint8_t{0}));
    EXPECT_EQ(GpioExchange(usb, Bytes{0xFF, 0xFF}).size(), kGpioAnswerLength);
}

}  // namespace
}  // namespace i2cbridge::testing
