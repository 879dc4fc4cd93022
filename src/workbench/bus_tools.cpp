#include "workbench/bus_tools.h"

#include "foundation/hex_text.h"

namespace i2cbridge {

namespace {
// A script write's reply is one count byte; a full-speed bulk packet holds whatever the board
// sends back.
constexpr std::size_t kWriteReplyLength = 64;
}  // namespace

Reply ReadRegisterBytes(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress,
                        std::span<const uint8_t> reg, int count) {
    i2c.ReadByteCount = static_cast<int16_t>(count);
    return I2CExchange(usb,
                       RegisterReadRequest(static_cast<uint8_t>(count),
                                           static_cast<uint8_t>(writeAddress + 1), reg),
                       static_cast<std::size_t>(count) + 1);
}

bool WriteRegisterBytes(UsbConnection& usb, I2CState&, uint8_t writeAddress,
                        std::span<const uint8_t> reg, std::span<const uint8_t> data,
                        uint8_t& acknowledged) {
    const Reply reply =
        I2CExchange(usb,
                    RegisterWriteRequest(static_cast<uint8_t>(reg.size() + data.size()),
                                         writeAddress, reg, data),
                    kWriteReplyLength);
    acknowledged = reply[0];
    return WriteReplyOk(reply[0], static_cast<int>(reg.size()), static_cast<int>(data.size()));
}

BusScan ScanBus(UsbConnection& usb, I2CState& i2c) {
    BusScan scan;
    if (!BoardReachable(usb)) {
        scan.error = CoreError::NoBoard;
        return scan;
    }
    for (int address = 0; address < 0x80; ++address) {
        const auto writeAddress = static_cast<uint8_t>(address << 1);
        const Reply reply = ReadRegisterBytes(usb, i2c, writeAddress, {}, 1);
        if (reply.error() != CoreError::None) {
            scan.error = reply.error();
            break;
        }
        if (ReadReplyOk(reply[0], 1)) scan.found.push_back(writeAddress);
    }
    return scan;
}

std::string BusScanText(const BusScan& scan) {
    std::string text = "Devices answering (write addresses):";
    if (scan.found.empty()) text += " none";
    for (uint8_t a : scan.found) text += " " + HexByteText(a);
    if (!scan.ok()) text += std::string(" (") + CoreErrorText(scan.error) + ")";
    return text;
}

}  // namespace i2cbridge
