#pragma once

// Small bus commands that the command line and the window share: reading and writing any
// number of bytes at a register, and probing which addresses answer.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "foundation/core_error.h"
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

// What a bus scan found: the 8-bit write addresses (the form the tool uses everywhere) of the
// devices that answered, in order. NoBoard: no board was open, nothing was probed;
// TransferFailed: the driver failed a probe (the board went away, say), and the scan stopped
// there with what it had found so far.
struct BusScan {
    std::vector<uint8_t> found;
    CoreError error = CoreError::None;
    bool ok() const { return error == CoreError::None; }
};

// The bus scan that the main window's Scan Bus and the command line's scan share: every 7-bit
// address probed with a one-byte read without register bytes. The caller opens the board
// first (FrmI2CGeneral::mnuScanBus_Click opens and closes it as every operation does).
BusScan ScanBus(UsbConnection& usb, I2CState& i2c);

// "Devices answering (write addresses): 3C 60" (or ": none"); a failed scan adds the error:
// "Devices answering (write addresses): none (no board could be opened)".
std::string BusScanText(const BusScan& scan);

}  // namespace i2cbridge
