#pragma once

// The I2C command frames on the board's I2C channel (OUT pipe 2, IN pipe 0x82):
//   read request  [N, read address, register bytes...]      reply [N read, data...]
//   write request [count, write address, register bytes..., data bytes...]
//                                                            reply [bytes acknowledged]
// A reply is judged only by its count byte: N for a read, 1 + R + D for a write (the address
// byte counts as acknowledged). The reply buffer is zeroed before every read, so a reply that
// never arrives reads as a count of 0, a failure.

#include <cstdint>
#include <span>
#include <vector>

namespace i2cbridge {

// The device address and byte counts shared by every window.
struct I2CState {
    uint8_t I2CWriteAddress = 0;
    uint8_t I2CReadAddress = 1;
    int16_t ReadByteCount = 0;
    int16_t WriteByteCount = 0;

    // Stores a write address and its read twin (write address + 1, in 8 bits).
    void setAddress(int value) {
        I2CWriteAddress = static_cast<uint8_t>(value);
        I2CReadAddress = static_cast<uint8_t>(I2CWriteAddress + 1);
    }
};

std::vector<uint8_t> RegisterReadRequest(uint8_t count, uint8_t readAddress,
                                         std::span<const uint8_t> registerBytes);
std::vector<uint8_t> RegisterWriteRequest(uint8_t count, uint8_t writeAddress,
                                          std::span<const uint8_t> registerBytes,
                                          std::span<const uint8_t> dataBytes);
// The one judge of an I2C reply's count byte.
inline bool ReadReplyOk(uint8_t replyCount, int bytesRequested) {
    return replyCount == bytesRequested;
}
inline bool WriteReplyOk(uint8_t replyCount, int registerBytes, int dataBytes) {
    return replyCount == 1 + registerBytes + dataBytes;
}

}  // namespace i2cbridge
