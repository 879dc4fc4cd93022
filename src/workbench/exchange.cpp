#include "workbench/exchange.h"

#include <algorithm>

namespace i2cbridge {

namespace {
constexpr uint32_t kGpioOutPipe = 1;
constexpr uint32_t kGpioInPipe = 0x81;
constexpr uint32_t kRawPipe = 4;

void Send(UsbConnection& usb, uint32_t pipe, std::span<const uint8_t> frame) {
    usb.TransferPipe = pipe;
    usb.TransferLength = static_cast<uint32_t>(frame.size());
    usb.TransferBuffer.assign(frame.begin(), frame.end());
    usb.writePipe();
}

Reply Receive(UsbConnection& usb, uint32_t pipe, std::size_t length) {
    usb.TransferPipe = pipe;
    usb.TransferLength = static_cast<uint32_t>(length);
    usb.Redim(length);
    usb.readPipe();
    return Reply(usb.TransferBuffer, length);
}
}  // namespace

Reply::Reply(const std::vector<uint8_t>& buffer, std::size_t length) : bytes_(length, 0) {
    std::copy_n(buffer.begin(), std::min(length, buffer.size()), bytes_.begin());
}

Reply I2CExchange(UsbConnection& usb, std::span<const uint8_t> request, std::size_t replyLength) {
    Send(usb, static_cast<uint32_t>(usb.I2CPipe), request);
    return Receive(usb, static_cast<uint32_t>(usb.I2CPipe + 128), replyLength);
}

Reply SingleRegisterRead(UsbConnection& usb, I2CState& i2c, uint8_t readAddress, uint8_t reg) {
    i2c.ReadByteCount = 1;
    const uint8_t regBytes[] = {reg};
    return I2CExchange(usb, RegisterReadRequest(1, readAddress, regBytes),
                       static_cast<std::size_t>(i2c.ReadByteCount + 1));
}

Reply SingleRegisterWrite(UsbConnection& usb, I2CState& i2c, uint8_t writeAddress, uint8_t reg,
                          uint8_t data) {
    i2c.WriteByteCount = 1;
    const uint8_t regBytes[] = {reg};
    const uint8_t dataBytes[] = {data};
    return I2CExchange(usb, RegisterWriteRequest(1, writeAddress, regBytes, dataBytes),
                       static_cast<std::size_t>(i2c.WriteByteCount + 1));
}

Reply GpioExchange(UsbConnection& usb, std::span<const uint8_t> frame) {
    Send(usb, kGpioOutPipe, frame);
    return Receive(usb, kGpioInPipe, kGpioAnswerLength);
}

void RawFrameWrite(UsbConnection& usb, uint8_t first, uint8_t second) {
    const uint8_t frame[] = {first, second};
    Send(usb, kRawPipe, frame);
}

}  // namespace i2cbridge
