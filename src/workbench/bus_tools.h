#pragma once

// Small bus commands that the command line and the window share: reading and writing any
// number of bytes at a register, and probing which addresses answer.

#include <cstdint>
#include <span>
#include <vector>

#include "workbench/exchange.h"

namespace i2cbridge {

// A read of `count` bytes (1 to 255) after the register bytes, as a script row reads. The
// reply's byte 0 is the count the board read.
Reply ReadRegisterBytes(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress,
                        std::span<const uint8_t> reg, int count);
// A write of the register and data bytes (255 at most together), as a script row writes.
// True when every byte was acknowledged.
bool WriteRegisterBytes(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress,
                        std::span<const uint8_t> reg, std::span<const uint8_t> data,
                        uint8_t& acknowledged);

// Every 7-bit address probed with a one-byte read without register bytes; the 8-bit write
// addresses (the form the tool uses everywhere) of those that answered, in order.
std::vector<uint8_t> ScanBus(UsbConnection& usb, I2CState& i2c);

}  // namespace i2cbridge
