#pragma once

// One exchange per channel of the board. Each fills the transfer globals, goes through the one
// transfer implementation (with its log lines and yields) and hands back a copy of the answer.
// Window code never indexes the shared transfer buffer: a handler that ran inside a transfer's
// yield may have left it at another size.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/core_error.h"
#include "usb/connection.h"
#include "workbench/i2c_frames.h"

namespace i2cbridge {

// A copy of an answer, always as long as was asked for. Bytes the buffer no longer held read
// as 0, like an answer that never came, so a count byte of a lost reply means failure.
// error() says whether the exchange reached the board: NoBoard when no board was open for a
// transfer, TransferFailed when the driver failed one; what the device made of the request
// is for the caller to judge from the bytes.
class Reply {
public:
    Reply() = default;
    Reply(const std::vector<uint8_t>& buffer, std::size_t length,
          CoreError error = CoreError::None);
    uint8_t operator[](std::size_t i) const { return i < bytes_.size() ? bytes_[i] : 0; }
    std::size_t size() const { return bytes_.size(); }
    const std::vector<uint8_t>& bytes() const { return bytes_; }
    CoreError error() const { return error_; }

private:
    std::vector<uint8_t> bytes_;
    CoreError error_ = CoreError::None;
};

// Whether a board is open and attached, so that a transfer can reach it.
bool BoardReachable(const UsbConnection& usb);

// The request on I2CPipe, then the reply from I2CPipe + 128 into a freshly zeroed buffer of
// replyLength bytes. Opening and closing is the caller's.
Reply I2CExchange(UsbConnection& usb, std::span<const uint8_t> request, std::size_t replyLength);

// The main window's single-register forms: one register byte, one data byte. The reply is
// [count, data] for a read, [count] and one spare byte for a write.
Reply SingleRegisterRead(UsbConnection& usb, I2CState& i2c, uint8_t readAddress, uint8_t reg);
Reply SingleRegisterWrite(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress, uint8_t reg,
                          uint8_t data);

// A GPIO frame on pipe 1 (data, or data and enables) and the board's answer from 0x81.
inline constexpr uint32_t kGpioAnswerLength = 25;
Reply GpioExchange(UsbConnection& usb, std::span<const uint8_t> frame);

// The raw two-byte frame on pipe 4; the board sends nothing back.
void RawFrameWrite(UsbConnection& usb, uint8_t first, uint8_t second);

}  // namespace i2cbridge
