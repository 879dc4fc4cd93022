#pragma once

// The real board over USB, through libusb-1.0.
//
// libusb's hot-plug support announces boards: those present when the library starts (it
// enumerates them) and those plugged in or pulled out later. A background thread runs libusb's
// event handling; its hot-plug callback only queues the arrival or departure. The queue is
// emptied on the user-interface thread by deliverEvents(), which the pump calls at every yield,
// so the attach and detach handlers run there, in the order the events arrived.
//
// An arriving board that matches the entry is opened and given a 32-bit handle (never 0); the
// attach handler then claims its interface through setInterface(). Pipes are endpoint
// addresses, transfers are bulk transfers with the caller's time-out, and status codes are
// libusb's error codes with libusb_error_name as their text.

#include <libusb.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "usb/board_driver.h"
#include "usb/hotplug_queue.h"

namespace i2cbridge {

struct LibusbDriverOptions {
    // Keep the libusb context between an uninit and the next init. Starting libusb scans the
    // whole bus, and the tool starts and stops the library around every operation; a kept
    // context still announces a present board again at the next init.
    bool keepContext = true;
};

// True when a device with these descriptors matches the entry: each non-zero field of the entry
// must equal the device's; the interface fields are met by any alternate setting of any
// interface. Without a configuration descriptor only the device fields can be checked, and a
// non-zero interface field then fails.
bool MatchesEntry(const libusb_device_descriptor& device, const libusb_config_descriptor* config,
                  const MatchEntry& match);

// The endpoint address of a pipe for a transfer in the given direction. Pipes are endpoint
// addresses: bit 7 is the direction, the control pipe (endpoint 0) is not for transfers, and the
// direction of the pipe must be the direction of the transfer. LIBUSB_ERROR_INVALID_PARAM
// otherwise.

// The device-information record from the device descriptor and a configuration descriptor
// (null when the device has none): the descriptor bytes as they travel on the bus, every
// interface with its alternate settings and endpoints. The first interface and its first
// alternate setting are active.
UsbDeviceInfo DeviceInfoFromDescriptors(const libusb_device_descriptor& device,
                                        const libusb_config_descriptor* config);

// The board's port path as Linux names it: the bus number, a dash, and the port numbers from
// the root hub joined by dots ("1-2.3"); "usbN" for a root hub itself.
std::string PortPath(uint8_t bus, const uint8_t* ports, int count);

// What the log says when a matching board is found but libusb_open refuses it.
std::string OpenFailureNotice(int32_t status);

class LibusbDriver : public BoardDriver {
public:
    explicit LibusbDriver(LibusbDriverOptions options = {});
    ~LibusbDriver() override;
    LibusbDriver(const LibusbDriver&) = delete;
    LibusbDriver& operator=(const LibusbDriver&) = delete;

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

    bool running() const { return running_; }
    // Boards opened and announced, for tests.
    std::size_t openDeviceCount() const { return devices_.size(); }

private:
    struct OpenDevice {
        libusb_device* device = nullptr;  // one reference held
        libusb_device_handle* handle = nullptr;
        int claimedInterface = -1;
        UsbDeviceInfo info;  // descriptors do not change while the board stays plugged in
    };

    static int LIBUSB_CALL HotplugCallback(libusb_context* context, libusb_device* device,
                                           libusb_hotplug_event event, void* self);
    void eventLoop();
    void stopEventThread();
    void arrived(libusb_device* device);
    void departed(libusb_device* device);
    void closeDevice(OpenDevice& open);
    void closeAll();
    void dropQueued();
    void releaseContext();
    int32_t ensureContext();
    OpenDevice* find(UsbDeviceHandle device);

    LibusbDriverOptions options_;
    libusb_context* context_ = nullptr;
    libusb_hotplug_callback_handle callback_ = 0;
    std::thread eventThread_;
    std::atomic<bool> stopping_{false};
    // Set while a callback is registered; the callback drops what it sees otherwise.
    std::atomic<bool> accepting_{false};
    bool running_ = false;
    // Bumped by every init and uninit, so a delivery interrupted by an uninit (from a handler)
    // stops instead of announcing events of a session that is over.
    uint64_t session_ = 0;

    MatchEntry match_;
    DriverEvents events_;
    HotplugQueue<libusb_device*> queue_;
    std::map<UsbDeviceHandle, OpenDevice> devices_;
    UsbDeviceHandle nextDevice_ = 1;
    UsbDriverHandle nextDriverHandle_ = 1;
};

std::unique_ptr<BoardDriver> MakeLibusbDriver(LibusbDriverOptions options = {});

}  // namespace i2cbridge
