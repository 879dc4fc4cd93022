#pragma once

// The built-in board: the driver plumbing (matching, attach and detach events, handles,
// transfers, injected faults) around a BoardModel that answers the frames.

#include <chrono>
#include <deque>
#include <optional>
#include <vector>

#include "usb/board_driver.h"
#include "usb/board_model.h"

namespace i2cbridge {

class SimulatedBoard : public BoardDriver {
public:
    SimulatedBoard();

    // BoardDriver
    int32_t init(UsbDriverHandle& driverHandle, const MatchEntry& match,
                 DriverEvents events) override;
    int32_t setInterface(UsbDeviceHandle device, uint32_t interfaceNumber,
                         uint32_t alternateSetting) override;
    int32_t getDeviceInfo(UsbDeviceHandle device, UsbDeviceInfo& info) override;
    int32_t transfer(UsbDeviceHandle device, uint32_t pipe, bool read, uint32_t options,
                     uint8_t* buffer, uint32_t size, uint32_t& bytesTransferred,
                     uint32_t timeoutMs) override;
    int32_t resetDevice(UsbDeviceHandle device, uint32_t options) override;
    void uninit(UsbDriverHandle driverHandle) override;
    std::string statusText(int32_t status) override;
    int32_t listBoards(const MatchEntry& match, std::vector<AttachedBoard>& boards) override;
    void deliverEvents() override;

    // The board on the desk.
    BoardModel& model() { return model_; }
    void plug();    // announces an attach while the library runs
    void unplug();  // announces a detach while the library runs
    bool plugged() const { return plugged_; }
    void setIdentity(uint16_t vendorId, uint16_t productId);
    // Where the board sits and its strings (a serial number for a test that needs one).
    BoardIdentity& identity() { return identity_; }

    // Fault injection. A queued transfer fault is used by the next transfer whose pipe
    // matches (any pipe when pipe is empty) and then dropped.
    struct TransferFault {
        std::optional<uint32_t> pipe;
        int32_t status = usb_status::kIo;  // kTimeout acts as a time-out, without waiting
        // For a read with status 0: deliver at most this many bytes of the answer (0: an
        // empty reply). The answer is consumed either way.
        std::optional<uint32_t> truncateTo;
    };
    void injectTransferFault(TransferFault fault) { faults_.push_back(fault); }
    // The next read on `pipe` gets these bytes instead of the board's answer (a board that
    // answers garbage); the answer itself is consumed.
    void injectReply(uint32_t pipe, std::vector<uint8_t> bytes) {
        replies_.push_back({pipe, std::move(bytes)});
    }
    void failInit(int32_t status) { initStatus_ = status; }
    void refuseInterface(int32_t status) { setInterfaceStatus_ = status; }
    void setNoEndpoints(bool none) { noEndpoints_ = none; }
    // Model a real bus: every transfer ends at the next boundary of a frame clock with this
    // period (a full-speed frame is 1 ms).
    void setLatency(std::chrono::microseconds perTransfer) { latency_ = perTransfer; }

    // Counters for tests and benchmarks.
    int initCount() const { return initCount_; }
    int uninitCount() const { return uninitCount_; }
    int resetCount() const { return resetCount_; }
    int transferCount() const { return transferCount_; }
    bool running() const { return running_; }
    UsbDeviceHandle currentDevice() const { return device_; }

private:
    struct Event {
        bool attach;
        UsbDeviceHandle device;
    };
    bool matches(const MatchEntry& match) const;
    void waitForFrameEnd() const;
    void announceAttach();
    void announceDetach();

    BoardModel model_;
    uint16_t vendorId_ = BoardVendorId;
    uint16_t productId_ = BoardProductId;
    BoardIdentity identity_{"1-1", 1, 2, "", "I2C Bridge (simulated)"};
    bool plugged_ = true;
    bool running_ = false;
    MatchEntry match_;
    DriverEvents events_;
    std::deque<Event> pending_;
    UsbDeviceHandle device_ = 0;  // handle of the board while it is announced
    UsbDeviceHandle nextDevice_ = 0x2A0;
    UsbDriverHandle nextDriverHandle_ = 1000;
    bool interfaceSet_ = false;

    std::deque<TransferFault> faults_;
    std::deque<std::pair<uint32_t, std::vector<uint8_t>>> replies_;
    int32_t initStatus_ = usb_status::kSuccess;
    int32_t setInterfaceStatus_ = usb_status::kSuccess;
    bool noEndpoints_ = false;
    std::chrono::microseconds latency_{0};

    int initCount_ = 0, uninitCount_ = 0, resetCount_ = 0, transferCount_ = 0;
};

}  // namespace i2cbridge
