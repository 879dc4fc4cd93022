#pragma once

// The bridge board as a USB device under umockdev: a sysfs entry with the board's descriptors
// and strings, and a device node /dev/bus/usb/BUS/DEV whose usbfs ioctls are answered here, so
// libusb talks to it exactly as to the board on the desk. The frames are answered by
// BoardModel, the same model the built-in simulated board runs. Several boards may exist at
// once, on different ports (with the hubs between them and the root made up as needed); they
// share the process's one testbed.
//
// umockdev calls the ioctl handler on its own thread; everything the handler touches is
// guarded by one mutex, and tests reach the model only through withModel().
//
// The process must run with LD_PRELOAD=libumockdev-preload.so.0, and the board must exist
// before libusb starts.

#include <umockdev.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "usb/board_driver.h"
#include "usb/board_model.h"

namespace i2cbridge::testing {

struct EmulatedBoardConfig {
    uint16_t vendorId = BoardVendorId;
    uint16_t productId = BoardProductId;
    // errno for claiming interface 0 (e.g. EBUSY: another program holds it); 0 to accept.
    int claimErrno = 0;
    // libusb's event thread polls the node, which is always ready, and asks for finished URBs
    // at once; the board pauses this long before answering "nothing yet" so that the thread
    // does not spin. A request from the other thread waits behind the pause, so it is also the
    // emulation's latency.
    std::chrono::microseconds idlePause{1000};
    // Where it is plugged in, as Linux names the port ("1-1", "1-2.3"); the bus is the number
    // before the dash. Its device number is the next free one on that bus.
    std::string port = "1-1";
    std::string serial;  // empty: the board reports no serial number
    std::string product = "I2C Bridge";
};

class EmulatedBoard {
public:
    explicit EmulatedBoard(EmulatedBoardConfig config = {});
    ~EmulatedBoard();
    EmulatedBoard(const EmulatedBoard&) = delete;
    EmulatedBoard& operator=(const EmulatedBoard&) = delete;

    // Pulling the cable: the device stops answering (ENODEV) and udev reports the removal.
    void unplug();
    // Plugging it back in: udev reports the device again.
    void plug();
    // Permission bits of the device node, e.g. 0 to have libusb_open refused.
    void setNodeMode(unsigned mode);

    template <typename F>
    auto withModel(F&& f) {
        std::lock_guard lock(mutex_);
        return f(model_);
    }
    std::vector<WireFrame> sent();
    void clearSent();

    // How often each usbfs request arrived, by name ("SUBMITURB", "CLAIMINTERFACE", ...);
    // requests the board does not know are counted as "unknown".
    int requests(const std::string& name) const;
    bool interfaceClaimed() const;
    const std::string& deviceNode() const { return node_; }

private:
    struct Urb {
        UMockdevIoctlData* data = nullptr;  // the client's struct usbdevfs_urb, one reference
        uint8_t endpoint = 0;
        // The open file it came through: each reaps only its own.
        UMockdevIoctlClient* client = nullptr;
    };

    static gboolean HandleIoctl(UMockdevIoctlBase* base, UMockdevIoctlClient* client,
                                gpointer self);
    static void ClientVanished(UMockdevIoctlBase* base, UMockdevIoctlClient* client, gpointer self);
    void handle(UMockdevIoctlClient* client);
    int claim(unsigned int number);
    int submit(UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    bool reap(UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    int discard(UMockdevIoctlClient* client, UMockdevIoctlData* arg);
    void control(Urb urb);
    void answerPendingReads();
    void complete(Urb urb, int status, const std::vector<uint8_t>* payload);
    void failPending(int status);
    void count(const char* name);

    UMockdevTestbed* testbed_ = nullptr;
    UMockdevIoctlBase* handler_ = nullptr;
    std::string sysPath_;
    std::string node_;
    EmulatedBoardConfig config_;

    mutable std::mutex mutex_;
    BoardModel model_;
    bool plugged_ = true;
    bool claimed_ = false;
    std::deque<Urb> pendingReads_;
    std::deque<Urb> completed_;
    std::vector<Urb> retired_;  // reaped, let go at the next reap
    std::map<std::string, int> requests_;
};

}  // namespace i2cbridge::testing
