#include "usb/simulated_board.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace i2cbridge {

SimulatedBoard::SimulatedBoard() = default;

void SimulatedBoard::setIdentity(uint16_t vendorId, uint16_t productId) {
    vendorId_ = vendorId;
    productId_ = productId;
}

bool SimulatedBoard::matches(const MatchEntry& match) const {
    return (match.vendorId == 0 || match.vendorId == vendorId_) &&
           (match.productId == 0 || match.productId == productId_);
}

int32_t SimulatedBoard::listBoards(const MatchEntry& match, std::vector<AttachedBoard>& boards) {
    boards.clear();
    if (plugged_ && matches(match)) boards.push_back({identity_, usb_status::kSuccess});
    return usb_status::kSuccess;
}

int32_t SimulatedBoard::init(UsbDriverHandle& driverHandle, const MatchEntry& match,
                             DriverEvents events) {
    ++initCount_;
    if (initStatus_ != usb_status::kSuccess) {
        driverHandle = 0;
        return initStatus_;
    }
    running_ = true;
    match_ = match;
    events_ = std::move(events);
    pending_.clear();
    device_ = 0;
    driverHandle = nextDriverHandle_++;
    if (plugged_) announceAttach();
    return usb_status::kSuccess;
}

void SimulatedBoard::announceAttach() {
    if (!running_ || !matches(match_) || device_ != 0) return;
    device_ = nextDevice_++;
    interfaceSet_ = false;
    pending_.push_back({true, device_});
}

void SimulatedBoard::announceDetach() {
    if (!running_ || device_ == 0) return;
    pending_.push_back({false, device_});
    device_ = 0;
}

void SimulatedBoard::plug() {
    plugged_ = true;
    announceAttach();
}

void SimulatedBoard::unplug() {
    plugged_ = false;
    announceDetach();
}

void SimulatedBoard::deliverEvents() {
    while (!pending_.empty()) {
        const Event e = pending_.front();
        pending_.pop_front();
        if (e.attach) {
            UsbDeviceInfo info;
            if (getDeviceInfo(e.device, info) != usb_status::kSuccess) continue;
            if (events_.attach) events_.attach(e.device, info);
        } else if (events_.detach) {
            events_.detach(e.device);
        }
    }
}

int32_t SimulatedBoard::setInterface(UsbDeviceHandle device, uint32_t interfaceNumber,
                                     uint32_t alternateSetting) {
    if (device == 0 || device != device_) return usb_status::kNoDevice;
    if (setInterfaceStatus_ != usb_status::kSuccess) return setInterfaceStatus_;
    if (interfaceNumber != 0 || alternateSetting != 0) return usb_status::kNotFound;
    interfaceSet_ = true;
    return usb_status::kSuccess;
}

int32_t SimulatedBoard::getDeviceInfo(UsbDeviceHandle device, UsbDeviceInfo& info) {
    if (device == 0 || device != device_) return usb_status::kNoDevice;
    info = UsbDeviceInfo{};
    const uint8_t descriptor[18] = {18,
                                    1,
                                    0x00,
                                    0x02,
                                    0xFF,
                                    0xFF,
                                    0xFF,
                                    64,
                                    static_cast<uint8_t>(vendorId_ & 0xFF),
                                    static_cast<uint8_t>(vendorId_ >> 8),
                                    static_cast<uint8_t>(productId_ & 0xFF),
                                    static_cast<uint8_t>(productId_ >> 8),
                                    0x00,
                                    0x01,
                                    1,
                                    2,
                                    static_cast<uint8_t>(identity_.serial.empty() ? 0 : 3),
                                    1};
    std::copy(std::begin(descriptor), std::end(descriptor), info.deviceDescriptor.begin());
    info.identity = identity_;
    AlternateSettingInfo alt;
    if (!noEndpoints_) {
        for (uint8_t ep : {0x01, 0x81, 0x02, 0x82, 0x04}) alt.endpoints.push_back({ep, 2, 64});
    }
    InterfaceInfo iface;
    iface.alternates.push_back(std::move(alt));
    info.interfaces.push_back(std::move(iface));
    return usb_status::kSuccess;
}

int32_t SimulatedBoard::transfer(UsbDeviceHandle device, uint32_t pipe, bool read, uint32_t,
                                 uint8_t* buffer, uint32_t size, uint32_t& bytesTransferred,
                                 uint32_t) {
    bytesTransferred = 0;
    ++transferCount_;
    if (latency_.count() > 0) waitForFrameEnd();
    if (!running_ || device == 0 || device != device_) return usb_status::kNoDevice;
    if (noEndpoints_) return usb_status::kNotFound;
    if (!PipeMatches(pipe, read)) return usb_status::kInvalidParam;
    const auto endpoint = static_cast<uint8_t>(pipe);

    std::optional<TransferFault> fault;
    auto it = std::find_if(faults_.begin(), faults_.end(),
                           [&](const TransferFault& f) { return !f.pipe || *f.pipe == pipe; });
    if (it != faults_.end()) {
        fault = *it;
        faults_.erase(it);
    }
    if (fault && fault->status != usb_status::kSuccess) {
        if (read) model_.takeReply(endpoint);  // the answer is lost with the transfer
        return fault->status;
    }

    if (!read) {
        if (!model_.receive(endpoint, std::span<const uint8_t>(buffer, buffer ? size : 0)))
            return usb_status::kPipe;
        bytesTransferred = size;
        return usb_status::kSuccess;
    }

    auto reply = model_.takeReply(endpoint);
    auto injected = std::find_if(replies_.begin(), replies_.end(),
                                 [&](const auto& r) { return r.first == pipe; });
    if (injected != replies_.end()) {
        reply = std::move(injected->second);
        replies_.erase(injected);
    }
    // A board with nothing to say lets the IN token time out.
    if (!reply) return usb_status::kTimeout;
    if (reply->size() > size) return usb_status::kOverflow;
    std::size_t n = reply->size();
    if (fault && fault->truncateTo) n = std::min<std::size_t>(n, *fault->truncateTo);
    if (n > 0) std::memcpy(buffer, reply->data(), n);
    bytesTransferred = static_cast<uint32_t>(n);
    return usb_status::kSuccess;
}

// A full-speed bus runs on a fixed frame clock: a transfer finishes at the end of the frame it
// was issued in, whatever the software did before it. Sleeping to a fixed boundary (and
// spinning out the last stretch, which a sleep overshoots) keeps a late wake-up from adding
// up over a run of transfers.
void SimulatedBoard::waitForFrameEnd() const {
    using Clock = std::chrono::steady_clock;
    const auto now = Clock::now().time_since_epoch();
    const auto frame = std::chrono::duration_cast<Clock::duration>(latency_);
    const auto end = Clock::time_point((now / frame + 1) * frame);
    const auto spin = std::chrono::duration_cast<Clock::duration>(std::chrono::microseconds(200));
    if (end - Clock::now() > spin) std::this_thread::sleep_until(end - spin);
    while (Clock::now() < end) {
    }
}

int32_t SimulatedBoard::resetDevice(UsbDeviceHandle device, uint32_t) {
    ++resetCount_;
    return device != 0 && device == device_ ? usb_status::kSuccess : usb_status::kNoDevice;
}

void SimulatedBoard::uninit(UsbDriverHandle) {
    ++uninitCount_;
    running_ = false;
    pending_.clear();
    device_ = 0;
    events_ = {};
}

std::string SimulatedBoard::statusText(int32_t status) {
    return usb_status::Name(status);
}

}  // namespace i2cbridge
