#include "usb/libusb_driver.h"

// Placeholder until the libusb driver lands: a library that never starts.
namespace i2cbridge {

namespace {
class UnavailableDriver : public BoardDriver {
  public:
    int32_t init(UsbDriverHandle& h, const MatchEntry&, DriverEvents) override {
        h = 0;
        return usb_status::kNotSupported;
    }
    int32_t setInterface(UsbDeviceHandle, uint32_t, uint32_t) override {
        return usb_status::kNotSupported;
    }
    int32_t getDeviceInfo(UsbDeviceHandle, UsbDeviceInfo&) override {
        return usb_status::kNotSupported;
    }
    int32_t transfer(UsbDeviceHandle, uint32_t, bool, uint32_t, uint8_t*, uint32_t, uint32_t& n,
                     uint32_t) override {
        n = 0;
        return usb_status::kNotSupported;
    }
    int32_t resetDevice(UsbDeviceHandle, uint32_t) override { return usb_status::kNotSupported; }
    void uninit(UsbDriverHandle) override {}
    std::string statusText(int32_t s) override { return usb_status::Name(s); }
    void deliverEvents() override {}
};
}  // namespace

std::unique_ptr<BoardDriver> MakeLibusbDriver() {
    return std::make_unique<UnavailableDriver>();
}

}  // namespace i2cbridge
