#include "usb/board_model.h"

#include <algorithm>

namespace i2cbridge {

BoardModel::BoardModel() {
    I2CDevice muxChip;
    muxChip.writeAddress = 0x60;
    muxChip.registers[kIdentifierRegister] = kIdentifier;
    addDevice(muxChip);

    I2CDevice memory;
    memory.writeAddress = 0xA0;
    memory.registerAddressBytes = 2;
    memory.registers.assign(0x2000, 0xFF);
    addDevice(memory);

    I2CDevice interruptSource;
    interruptSource.writeAddress = InterruptSource::kWriteAddress;
    interruptSource.registers.assign(2, 0);
    addDevice(interruptSource);
}

void BoardModel::setInterrupt(bool active) {
    interrupt_.active = active;
    if (I2CDevice* dev = device(InterruptSource::kWriteAddress)) {
        dev->registers[InterruptSource::kStatusRegister] = active ? 1 : 0;
    }
    if (active) {
        gpio_.pbInputs = static_cast<uint8_t>(gpio_.pbInputs & ~InterruptSource::kPortBPin);
    } else {
        gpio_.pbInputs = static_cast<uint8_t>(gpio_.pbInputs | InterruptSource::kPortBPin);
    }
}

// An armed source counts every frame the board receives, whatever it is for.
void BoardModel::countFrameForInterrupt() {
    if (interrupt_.framesLeft <= 0) return;
    if (--interrupt_.framesLeft == 0) setInterrupt(true);
}

I2CDevice* BoardModel::device(uint8_t writeAddress) {
    auto it = devices_.find(static_cast<uint8_t>(writeAddress & 0xFE));
    return it == devices_.end() ? nullptr : &it->second;
}

I2CDevice& BoardModel::addDevice(I2CDevice dev) {
    dev.writeAddress &= 0xFE;
    if (dev.registers.empty()) dev.registers.resize(1);
    return devices_[dev.writeAddress] = std::move(dev);
}

void BoardModel::removeDevice(uint8_t writeAddress) {
    devices_.erase(static_cast<uint8_t>(writeAddress & 0xFE));
}

bool BoardModel::receive(uint8_t endpoint, std::span<const uint8_t> frame) {
    if (recording_) sent_.push_back({endpoint, {frame.begin(), frame.end()}});
    countFrameForInterrupt();
    switch (endpoint) {
        case 0x02:
            i2cRequest(frame);
            return true;
        case 0x01:
            gpioFrame(frame);
            return true;
        case 0x04:
            return true;  // the raw two-byte frame gets no answer
        default:
            return false;
    }
}

std::optional<std::vector<uint8_t>> BoardModel::takeReply(uint8_t endpoint) {
    auto it = replies_.find(endpoint);
    if (it == replies_.end()) return std::nullopt;
    std::vector<uint8_t> reply = std::move(it->second);
    replies_.erase(it);
    return reply;
}

bool BoardModel::hasReply(uint8_t endpoint) const {
    return replies_.count(endpoint) != 0;
}

// A request is one I2C transaction. The address byte's bit 0 tells a read from a write. A read
// first writes its register bytes (if any) to set the device's pointer, then reads count bytes
// after a repeated start; the reply is the count read and the data. A write sends everything
// after the address byte; the reply is the number of bytes acknowledged, address included.
// A device that does not answer its address gets a reply count of 0.
void BoardModel::i2cRequest(std::span<const uint8_t> frame) {
    if (frame.size() < 2) {
        replies_[0x82] = {0};
        return;
    }
    const uint8_t count = frame[0];
    const uint8_t address = frame[1];
    const auto payload = frame.subspan(2);
    I2CDevice* dev = device(address);
    if (dev == nullptr || dev->nakAddress) {
        replies_[0x82] = {0};
        return;
    }
    const std::size_t size = dev->registers.size();
    auto setPointer = [&](std::span<const uint8_t> bytes) {
        uint32_t p = 0;
        for (uint8_t b : bytes) p = (p << 8) | b;
        dev->pointer = static_cast<uint32_t>(p % size);
    };

    const bool interruptSource = (address & 0xFE) == InterruptSource::kWriteAddress;
    if (address & 1) {
        if (!payload.empty()) setPointer(payload);
        std::vector<uint8_t> reply{count};
        reply.reserve(1u + count);
        bool statusRead = false;
        for (int i = 0; i < count; ++i) {
            statusRead |= dev->pointer == InterruptSource::kStatusRegister;
            reply.push_back(dev->registers[dev->pointer]);
            dev->pointer = static_cast<uint32_t>((dev->pointer + 1) % size);
        }
        replies_[0x82] = std::move(reply);
        if (interruptSource && statusRead) setInterrupt(false);
        return;
    }

    std::size_t accepted = payload.size();
    if (dev->nakAfterBytes)
        accepted = std::min(accepted, static_cast<std::size_t>(std::max(0, *dev->nakAfterBytes)));
    const auto taken = payload.first(accepted);
    const std::size_t pointerBytes =
        std::min(taken.size(), static_cast<std::size_t>(dev->registerAddressBytes));
    if (pointerBytes > 0) setPointer(taken.first(pointerBytes));
    for (uint8_t b : taken.subspan(pointerBytes)) {
        if (interruptSource && dev->pointer == InterruptSource::kControlRegister) {
            interrupt_.framesLeft = b;
            if (b == 0) setInterrupt(false);
        }
        dev->registers[dev->pointer] = b;
        dev->pointer = static_cast<uint32_t>((dev->pointer + 1) % size);
    }
    replies_[0x82] = {static_cast<uint8_t>(1 + accepted)};
}

std::array<uint8_t, 4> BoardModel::gpioState() const {
    // A driven pin reads back what it drives; an undriven one reads its input level. The LED
    // bits (0 and 1 of port C's byte) read back their latch.
    const uint8_t pb = static_cast<uint8_t>((gpio_.pbData & gpio_.pbEnables) |
                                            (gpio_.pbInputs & ~gpio_.pbEnables));
    uint8_t pc = static_cast<uint8_t>((gpio_.pcData & gpio_.pcEnables) |
                                      (gpio_.pcInputs & ~gpio_.pcEnables));
    pc = static_cast<uint8_t>((pc & ~0x03) | (gpio_.pcData & 0x03));
    return {pb, pc, gpio_.pbEnables, gpio_.pcEnables};
}

// The board tells the two GPIO frames apart by their length; any other length changes
// nothing but is still answered with the present state.
void BoardModel::gpioFrame(std::span<const uint8_t> frame) {
    if (frame.size() == 4 || frame.size() == 2) {
        gpio_.pbData = frame[0];
        gpio_.pcData = frame[1];
    }
    if (frame.size() == 4) {
        gpio_.pbEnables = frame[2];
        gpio_.pcEnables = frame[3];
    }
    std::vector<uint8_t> answer(kGpioAnswerLength, 0);
    const auto state = gpioState();
    std::copy(state.begin(), state.end(), answer.begin());
    replies_[0x81] = std::move(answer);
}

}  // namespace i2cbridge
