#include "registers/i2c_frames.h"

#include "usb/connection.h"

namespace i2cbridge {

std::vector<uint8_t> RegisterReadRequest(uint8_t count, uint8_t readAddress,
                                         std::span<const uint8_t> registerBytes) {
    std::vector<uint8_t> frame;
    frame.reserve(2 + registerBytes.size());
    frame.push_back(count);
    frame.push_back(readAddress);
    for (uint8_t b : registerBytes) frame.push_back(b);
    return frame;
}

std::vector<uint8_t> RegisterWriteRequest(uint8_t count, uint8_t writeAddress,
                                          std::span<const uint8_t> registerBytes,
                                          std::span<const uint8_t> dataBytes) {
    // Built byte by byte: GCC 12 at -O3 reports a false out-of-bounds copy for insert() here.
    std::vector<uint8_t> frame;
    frame.reserve(2 + registerBytes.size() + dataBytes.size());
    frame.push_back(count);
    frame.push_back(writeAddress);
    for (uint8_t b : registerBytes) frame.push_back(b);
    for (uint8_t b : dataBytes) frame.push_back(b);
    return frame;
}

std::vector<uint8_t> I2CExchange(UsbConnection& usb, std::span<const uint8_t> request,
                                 std::size_t replyLength) {
    usb.TransferPipe = static_cast<uint32_t>(usb.I2CPipe);
    usb.TransferLength = static_cast<uint32_t>(request.size());
    usb.TransferBuffer.assign(request.begin(), request.end());
    usb.writePipe();
    usb.TransferPipe = static_cast<uint32_t>(usb.I2CPipe + 128);
    usb.TransferLength = static_cast<uint32_t>(replyLength);
    usb.Redim(replyLength);
    usb.readPipe();
    return usb.TransferBuffer;
}

std::vector<uint8_t> SingleRegisterRead(UsbConnection& usb, I2CState& i2c, uint8_t readAddress,
                                        uint8_t reg) {
    i2c.ReadByteCount = 1;
    const uint8_t regBytes[] = {reg};
    return I2CExchange(usb, RegisterReadRequest(1, readAddress, regBytes),
                       static_cast<std::size_t>(i2c.ReadByteCount + 1));
}

std::vector<uint8_t> SingleRegisterWrite(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress,
                                         uint8_t reg, uint8_t data) {
    i2c.WriteByteCount = 1;
    const uint8_t regBytes[] = {reg};
    const uint8_t dataBytes[] = {data};
    return I2CExchange(usb, RegisterWriteRequest(1, writeAddress, regBytes, dataBytes),
                       static_cast<std::size_t>(i2c.WriteByteCount + 1));
}

}  // namespace i2cbridge
