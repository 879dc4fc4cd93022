#pragma once

// The bridge board itself, seen from its USB pipes: what it answers to each frame. Both the
// built-in simulated board and the emulated USB device used by the end-to-end tests run this
// one model, so the two can never disagree about a reply.
//
// Pipes (endpoint addresses):
//   0x02 OUT  I2C request: [count, address byte, register and data bytes...]
//   0x82 IN   I2C reply:   [count, data...]
//   0x01 OUT  GPIO frame:  4 bytes (PB data, PC+LED data, PB enables, PC+LED enables)
//                          or 2 bytes (PB data, PC+LED data)
//   0x81 IN   GPIO answer: 25 bytes, the first four in the order of the 4-byte frame
//   0x04 OUT  raw two-byte frame, no answer

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace i2cbridge {

// An I2C slave on the board's bus: a register file with an auto-incrementing pointer.
struct I2CDevice {
    uint8_t writeAddress = 0x60;   // 8-bit form, read/write bit 0
    int registerAddressBytes = 1;  // 1, or 2 for parts with 16-bit register addresses
    std::vector<uint8_t> registers = std::vector<uint8_t>(256, 0);
    uint32_t pointer = 0;
    // Test hooks: refuse the address byte, or refuse data after this many bytes.
    bool nakAddress = false;
    std::optional<int> nakAfterBytes;
};

// A device whose interrupt output pulls a GPIO input of the board low: the way a part under
// test tells the PC that something happened. Writing a number N to its control register arms
// it to fire after N more frames reach the board; firing sets its status register to 1 and
// pulls the pin low; reading the status register releases the line (status back to 0).
// Writing 0 to the control register disarms it.
struct InterruptSource {
    static constexpr uint8_t kWriteAddress = 0x40;
    static constexpr uint8_t kControlRegister = 0;
    static constexpr uint8_t kStatusRegister = 1;
    static constexpr uint8_t kPortBPin = 0x80;  // PB7
    int framesLeft = 0;                         // 0: not armed
    bool active = false;
};

struct GpioPins {
    uint8_t pbData = 0xFF, pcData = 0xFF, pbEnables = 0x00, pcEnables = 0x00;
    uint8_t pbInputs = 0xFF, pcInputs = 0xFF;  // levels on the pins that are not driven
};

struct WireFrame {
    uint8_t endpoint = 0;
    std::vector<uint8_t> bytes;
    bool operator==(const WireFrame&) const = default;
};

class BoardModel {
public:
    static constexpr uint8_t kIdentifierRegister = 2;
    static constexpr uint8_t kIdentifier = 0x5A;  // what register 2 of the default device holds
    static constexpr std::size_t kGpioAnswerLength = 25;

    BoardModel();  // one 256-register device at 0x60 (register 2 = kIdentifier), a
                   // 16-bit-addressed memory at 0xA0 and the interrupt source at 0x40

    // A frame written by the PC to an OUT endpoint. Returns false for an unknown endpoint.
    bool receive(uint8_t endpoint, std::span<const uint8_t> frame);
    // The answer waiting on an IN endpoint, if any; taking it removes it.
    std::optional<std::vector<uint8_t>> takeReply(uint8_t endpoint);
    bool hasReply(uint8_t endpoint) const;

    I2CDevice* device(uint8_t writeAddress);
    I2CDevice& addDevice(I2CDevice device);
    void removeDevice(uint8_t writeAddress);
    GpioPins& gpio() { return gpio_; }
    const InterruptSource& interrupt() const { return interrupt_; }
    const GpioPins& gpio() const { return gpio_; }

    // Every frame the PC sent, in order, for tests and benchmarks.
    const std::vector<WireFrame>& sent() const { return sent_; }
    void clearSent() { sent_.clear(); }
    void setRecording(bool on) { recording_ = on; }

private:
    void i2cRequest(std::span<const uint8_t> frame);
    void gpioFrame(std::span<const uint8_t> frame);
    std::array<uint8_t, 4> gpioState() const;
    void countFrameForInterrupt();
    void setInterrupt(bool active);

    std::map<uint8_t, I2CDevice> devices_;
    GpioPins gpio_;
    InterruptSource interrupt_;
    // One answer per IN endpoint: a new request replaces an answer nobody collected.
    std::map<uint8_t, std::vector<uint8_t>> replies_;
    std::vector<WireFrame> sent_;
    bool recording_ = true;
};

}  // namespace i2cbridge
