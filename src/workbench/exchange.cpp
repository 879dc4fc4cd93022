#include "workbench/exchange.h"

#include <algorithm>

namespace i2cbridge {

namespace {
constexpr uint32_t kGpioOutPipe = 1;
constexpr uint32_t kGpioInPipe = 0x81;
constexpr uint32_t kRawPipe = 4;

// What the transfer just made came to. The connection sets LastStatus on every transfer it
// makes while open, with nothing in between that could run another transfer. A board pulled
// out while the connection was closed leaves its old handle behind: the driver's "no device"
// tells.
CoreError TransferError(const UsbConnection& usb) {
    if (!BoardReachable(usb) || usb.LastStatus == usb_status::kNoDevice) return CoreError::NoBoard;
    return usb.LastStatus == 0 ? CoreError::None : CoreError::TransferFailed;
}

CoreError Send(UsbConnection& usb, uint32_t pipe, std::span<const uint8_t> frame) {
    usb.TransferPipe = pipe;
    usb.TransferLength = static_cast<uint32_t>(frame.size());
    usb.TransferBuffer.assign(frame.begin(), frame.end());
    usb.writePipe();
    return TransferError(usb);
}

// The first error of the exchange wins: a failed request explains a missing reply.
Reply Receive(UsbConnection& usb, uint32_t pipe, std::size_t length, CoreError sent) {
    usb.TransferPipe = pipe;
    usb.TransferLength = static_cast<uint32_t>(length);
    usb.Redim(length);
    usb.readPipe();
    const CoreError received = TransferError(usb);
    return Reply(usb.TransferBuffer, length, sent != CoreError::None ? sent : received);
}
}  // namespace

Reply::Reply(const std::vector<uint8_t>& buffer, std::size_t length, CoreError error)
    : bytes_(length, 0), error_(error) {
    std::copy_n(buffer.begin(), std::min(length, buffer.size()), bytes_.begin());
}

bool BoardReachable(const UsbConnection& usb) {
    return usb.UsbOpen && usb.DriverContext.DeviceHandle != 0;
}

Reply I2CExchange(UsbConnection& usb, std::span<const uint8_t> request, std::size_t replyLength) {
    const CoreError sent = Send(usb, static_cast<uint32_t>(usb.I2CPipe), request);
    return Receive(usb, static_cast<uint32_t>(usb.I2CPipe + 128), replyLength, sent);
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
    const CoreError sent = Send(usb, kGpioOutPipe, frame);
    return Receive(usb, kGpioInPipe, kGpioAnswerLength, sent);
}

void RawFrameWrite(UsbConnection& usb, uint8_t first, uint8_t second) {
    const uint8_t frame[] = {first, second};
    Send(usb, kRawPipe, frame);
}

}  // namespace i2cbridge
