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

class UsbConnection;

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
inline bool ReadReplyOk(uint8_t replyCount, int bytesRequested) {
    return replyCount == bytesRequested;
}
inline bool WriteReplyOk(uint8_t replyCount, int registerBytes, int dataBytes) {
    return replyCount == 1 + registerBytes + dataBytes;
}

// One exchange: the request on I2CPipe, then the reply from I2CPipe + 128 into a freshly
// zeroed buffer of replyLength bytes. Uses the transfer globals of the connection, so the
// reply is left in connection.TransferBuffer too. Opening and closing is the caller's.
std::vector<uint8_t> I2CExchange(UsbConnection& usb, std::span<const uint8_t> request,
                                 std::size_t replyLength);

// The main window's single-register forms: one register byte, one data byte.
// Returns the two reply bytes [count, data].
std::vector<uint8_t> SingleRegisterRead(UsbConnection& usb, I2CState& i2c, uint8_t readAddress,
                                        uint8_t reg);
std::vector<uint8_t> SingleRegisterWrite(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress,
                                         uint8_t reg, uint8_t data);

}  // namespace i2cbridge
