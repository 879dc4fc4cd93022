#include "usb/libusb_driver.h"

#include <sys/time.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include "foundation/hex_text.h"

namespace i2cbridge {

namespace {

bool FieldMatches(uint8_t wanted, uint8_t actual) {
    return wanted == 0 || wanted == actual;
}

// How long the event thread waits in libusb before it looks at its stop flag again. A stop
// interrupts the wait at once; this only bounds a missed wake-up.
constexpr suseconds_t kEventWaitUs = 200'000;

// Where the board sits, without opening it.
BoardIdentity Whereabouts(libusb_device* device) {
    BoardIdentity identity;
    identity.bus = libusb_get_bus_number(device);
    identity.address = libusb_get_device_address(device);
    uint8_t ports[8];
    const int count = libusb_get_port_numbers(device, ports, sizeof ports);
    identity.portPath = PortPath(identity.bus, ports, count < 0 ? 0 : count);
    return identity;
}

std::string StringDescriptor(libusb_device_handle* handle, uint8_t index) {
    if (index == 0) return {};
    unsigned char text[256];
    const int n = libusb_get_string_descriptor_ascii(handle, index, text, sizeof text - 1);
    return n > 0 ? std::string(reinterpret_cast<char*>(text), static_cast<std::size_t>(n)) : "";
}

// The board's strings as the kernel read them when the board arrived; the way to name a
// board this user may not open.
std::string SysfsString(const std::string& portPath, const char* attribute) {
    std::ifstream file("/sys/bus/usb/devices/" + portPath + "/" + attribute);
    std::string text;
    std::getline(file, text);
    return text;
}

void ReadStrings(BoardIdentity& identity, libusb_device_handle* handle,
                 const libusb_device_descriptor& descriptor) {
    if (handle != nullptr) {
        identity.serial = StringDescriptor(handle, descriptor.iSerialNumber);
        identity.product = StringDescriptor(handle, descriptor.iProduct);
    } else {
        if (descriptor.iSerialNumber != 0)
            identity.serial = SysfsString(identity.portPath, "serial");
        if (descriptor.iProduct != 0) identity.product = SysfsString(identity.portPath, "product");
    }
}

bool DescriptorsMatch(libusb_device* device, const MatchEntry& match,
                      libusb_device_descriptor& descriptor, UsbDeviceInfo* info) {
    if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS) return false;
    libusb_config_descriptor* config = nullptr;
    if (libusb_get_active_config_descriptor(device, &config) != LIBUSB_SUCCESS) {
        config = nullptr;
        if (libusb_get_config_descriptor(device, 0, &config) != LIBUSB_SUCCESS) config = nullptr;
    }
    const bool matches = MatchesEntry(descriptor, config, match);
    if (matches && info != nullptr) *info = DeviceInfoFromDescriptors(descriptor, config);
    libusb_free_config_descriptor(config);
    return matches;
}

}  // namespace

std::string PortPath(uint8_t bus, const uint8_t* ports, int count) {
    std::string path = std::to_string(bus);
    if (count <= 0) return "usb" + path;
    for (int i = 0; i < count; ++i) path += (i == 0 ? "-" : ".") + std::to_string(ports[i]);
    return path;
}

bool MatchesEntry(const libusb_device_descriptor& device, const libusb_config_descriptor* config,
                  const MatchEntry& match) {
    if (match.vendorId != 0 && match.vendorId != device.idVendor) return false;
    if (match.productId != 0 && match.productId != device.idProduct) return false;
    if (!FieldMatches(match.deviceClass, device.bDeviceClass)) return false;
    if (!FieldMatches(match.deviceSubClass, device.bDeviceSubClass)) return false;
    if (match.interfaceClass == 0 && match.interfaceSubClass == 0 && match.interfaceProtocol == 0)
        return true;
    if (config == nullptr) return false;
    for (int i = 0; i < config->bNumInterfaces; ++i) {
        const libusb_interface& iface = config->interface[i];
        for (int a = 0; a < iface.num_altsetting; ++a) {
            const libusb_interface_descriptor& alt = iface.altsetting[a];
            if (FieldMatches(match.interfaceClass, alt.bInterfaceClass) &&
                FieldMatches(match.interfaceSubClass, alt.bInterfaceSubClass) &&
                FieldMatches(match.interfaceProtocol, alt.bInterfaceProtocol))
                return true;
        }
    }
    return false;
}

UsbDeviceInfo DeviceInfoFromDescriptors(const libusb_device_descriptor& device,
                                        const libusb_config_descriptor* config) {
    UsbDeviceInfo info;
    auto lo = [](uint16_t v) { return static_cast<uint8_t>(v & 0xFF); };
    auto hi = [](uint16_t v) { return static_cast<uint8_t>(v >> 8); };
    info.deviceDescriptor = {
        device.bLength,         device.bDescriptorType, lo(device.bcdUSB),
        hi(device.bcdUSB),      device.bDeviceClass,    device.bDeviceSubClass,
        device.bDeviceProtocol, device.bMaxPacketSize0, lo(device.idVendor),
        hi(device.idVendor),    lo(device.idProduct),   hi(device.idProduct),
        lo(device.bcdDevice),   hi(device.bcdDevice),   device.iManufacturer,
        device.iProduct,        device.iSerialNumber,   device.bNumConfigurations};
    if (config == nullptr) return info;
    for (int i = 0; i < config->bNumInterfaces; ++i) {
        const libusb_interface& iface = config->interface[i];
        InterfaceInfo out;
        for (int a = 0; a < iface.num_altsetting; ++a) {
            const libusb_interface_descriptor& alt = iface.altsetting[a];
            if (a == 0) out.number = alt.bInterfaceNumber;
            AlternateSettingInfo setting;
            setting.alternateSetting = alt.bAlternateSetting;
            setting.interfaceClass = alt.bInterfaceClass;
            for (int e = 0; e < alt.bNumEndpoints; ++e) {
                const libusb_endpoint_descriptor& ep = alt.endpoint[e];
                setting.endpoints.push_back(
                    {ep.bEndpointAddress, ep.bmAttributes, ep.wMaxPacketSize});
            }
            out.alternates.push_back(std::move(setting));
        }
        info.interfaces.push_back(std::move(out));
    }
    return info;
}

std::string OpenFailureNotice(int32_t status) {
    if (status == LIBUSB_ERROR_ACCESS)
        return "Board found but cannot be opened: permission denied (see the udev rule in the "
               "README)";
    return "Board found but cannot be opened: error &H" + HexText(status) + " (" +
           usb_status::Name(status) + ")";
}

LibusbDriver::LibusbDriver(LibusbDriverOptions options) : options_(options) {}

LibusbDriver::~LibusbDriver() {
    uninit(0);
    releaseContext();
}

int32_t LibusbDriver::ensureContext() {
    if (context_ != nullptr) return LIBUSB_SUCCESS;
    const int r = libusb_init(&context_);
    if (r != LIBUSB_SUCCESS) context_ = nullptr;
    return r;
}

int32_t LibusbDriver::init(UsbDriverHandle& driverHandle, const MatchEntry& match,
                           DriverEvents events) {
    if (running_) uninit(0);
    driverHandle = 0;
    if (const int r = ensureContext(); r != LIBUSB_SUCCESS) return r;
    if (!libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG)) {
        releaseContext();
        return LIBUSB_ERROR_NOT_SUPPORTED;
    }
    // A kept context may hold news of plugs and unplugs from while nobody listened; let libusb
    // digest them before the new callback exists. Boards present now are enumerated below.
    timeval now{0, 0};
    libusb_handle_events_timeout_completed(context_, &now, nullptr);

    match_ = match;
    events_ = std::move(events);
    ++session_;
    accepting_ = true;
    const int r = libusb_hotplug_register_callback(
        context_,
        static_cast<libusb_hotplug_event>(LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED |
                                          LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT),
        LIBUSB_HOTPLUG_ENUMERATE, match.vendorId != 0 ? match.vendorId : LIBUSB_HOTPLUG_MATCH_ANY,
        match.productId != 0 ? match.productId : LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
        &LibusbDriver::HotplugCallback, this, &callback_);
    if (r != LIBUSB_SUCCESS) {
        accepting_ = false;
        dropQueued();
        events_ = {};
        if (!options_.keepContext) releaseContext();
        return r;
    }
    stopping_ = false;
    eventThread_ = std::thread(&LibusbDriver::eventLoop, this);
    running_ = true;
    driverHandle = nextDriverHandle_;
    nextDriverHandle_ = nextDriverHandle_ == INT32_MAX ? 1 : nextDriverHandle_ + 1;
    return LIBUSB_SUCCESS;
}

// Runs on the event thread (and, for boards already present, inside the registration on the
// user-interface thread). Nothing here touches the open devices: it only queues.
int LIBUSB_CALL LibusbDriver::HotplugCallback(libusb_context*, libusb_device* device,
                                              libusb_hotplug_event event, void* self) {
    auto* driver = static_cast<LibusbDriver*>(self);
    if (!driver->accepting_) return 0;
    libusb_ref_device(device);
    driver->queue_.push(event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED, device);
    return 0;
}

void LibusbDriver::eventLoop() {
    while (!stopping_) {
        timeval wait{0, kEventWaitUs};
        libusb_handle_events_timeout_completed(context_, &wait, nullptr);
    }
}

void LibusbDriver::stopEventThread() {
    if (!eventThread_.joinable()) return;
    stopping_ = true;
    libusb_interrupt_event_handler(context_);
    eventThread_.join();
}

void LibusbDriver::deliverEvents() {
    if (!queue_.hasPending()) return;
    auto events = queue_.takeAll();
    const uint64_t session = session_;
    for (std::size_t i = 0; i < events.size(); ++i) {
        // A handler may have stopped the library (or restarted it): the rest belongs to a
        // session that is over.
        if (!running_ || session != session_) break;
        if (!events[i].arrived) {
            departed(events[i].device);
        } else if (!HotplugQueue<libusb_device*>::leavesLater(events, i)) {
            arrived(events[i].device);
        }
    }
    for (const auto& e : events) libusb_unref_device(e.device);
}

void LibusbDriver::arrived(libusb_device* device) {
    // libusb may report a board twice around a restart: once from the enumeration and once from
    // its own queue. One board, one handle.
    for (const auto& [handle, open] : devices_)
        if (open.device == device) return;

    libusb_device_descriptor descriptor{};
    UsbDeviceInfo info;
    if (!DescriptorsMatch(device, match_, descriptor, &info)) return;
    info.identity = Whereabouts(device);

    // Copies: a handler may restart the library, which replaces the originals.
    const DriverEvents handlers = events_;
    libusb_device_handle* handle = nullptr;
    const int r = libusb_open(device, &handle);
    if (r != LIBUSB_SUCCESS) {
        // A board already gone again is no news; any other refusal is.
        if (r != LIBUSB_ERROR_NO_DEVICE && handlers.notice) handlers.notice(OpenFailureNotice(r));
        return;
    }
    ReadStrings(info.identity, handle, descriptor);
    const UsbDeviceHandle id = nextDevice_;
    nextDevice_ = nextDevice_ == UINT32_MAX ? 1 : nextDevice_ + 1;
    libusb_ref_device(device);
    devices_[id] = OpenDevice{device, handle, -1, info};

    const uint64_t session = session_;
    const bool accepted = handlers.attach ? handlers.attach(id, info) : true;
    if (accepted || session != session_) return;
    // A board the program refused is not kept: it is not announced again until replugged.
    if (OpenDevice* open = find(id)) {
        closeDevice(*open);
        devices_.erase(id);
    }
}

void LibusbDriver::departed(libusb_device* device) {
    for (auto it = devices_.begin(); it != devices_.end(); ++it) {
        if (it->second.device != device) continue;
        const UsbDeviceHandle id = it->first;
        closeDevice(it->second);
        devices_.erase(it);
        const DriverEvents handlers = events_;
        if (handlers.detach) handlers.detach(id);
        return;
    }
}

// Each matching board is opened for a moment to read its strings and to learn whether its
// interface is free; one this driver holds itself counts as busy, as it is for anybody else.
int32_t LibusbDriver::listBoards(const MatchEntry& match, std::vector<AttachedBoard>& boards) {
    boards.clear();
    if (const int r = ensureContext(); r != LIBUSB_SUCCESS) return r;
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context_, &list);
    if (count < 0) {
        if (!running_ && !options_.keepContext) releaseContext();
        return static_cast<int32_t>(count);
    }
    for (ssize_t i = 0; i < count; ++i) {
        libusb_device_descriptor descriptor{};
        if (!DescriptorsMatch(list[i], match, descriptor, nullptr)) continue;
        AttachedBoard board{Whereabouts(list[i]), LIBUSB_SUCCESS};
        const bool ours = std::any_of(devices_.begin(), devices_.end(), [&](const auto& open) {
            return open.second.device == list[i] && open.second.claimedInterface >= 0;
        });
        libusb_device_handle* handle = nullptr;
        board.access = libusb_open(list[i], &handle);
        if (board.access == LIBUSB_ERROR_NO_DEVICE) continue;  // gone meanwhile
        ReadStrings(board.identity, handle, descriptor);
        if (handle != nullptr) {
            if (ours) {
                board.access = LIBUSB_ERROR_BUSY;
            } else {
                board.access = libusb_claim_interface(handle, 0);
                if (board.access == LIBUSB_SUCCESS) libusb_release_interface(handle, 0);
                if (board.access != LIBUSB_ERROR_BUSY && board.access != LIBUSB_ERROR_ACCESS)
                    board.access = LIBUSB_SUCCESS;
            }
            libusb_close(handle);
        }
        boards.push_back(std::move(board));
    }
    libusb_free_device_list(list, 1);
    std::sort(boards.begin(), boards.end(), [](const AttachedBoard& a, const AttachedBoard& b) {
        return a.identity.portPath < b.identity.portPath;
    });
    if (!running_ && !options_.keepContext) releaseContext();
    return LIBUSB_SUCCESS;
}

void LibusbDriver::closeDevice(OpenDevice& open) {
    if (open.claimedInterface >= 0) libusb_release_interface(open.handle, open.claimedInterface);
    libusb_close(open.handle);
    libusb_unref_device(open.device);
    open = {};
}

void LibusbDriver::closeAll() {
    for (auto& [handle, open] : devices_) closeDevice(open);
    devices_.clear();
}

void LibusbDriver::dropQueued() {
    for (const auto& e : queue_.takeAll()) libusb_unref_device(e.device);
}

void LibusbDriver::releaseContext() {
    if (context_ == nullptr) return;
    libusb_exit(context_);
    context_ = nullptr;
}

LibusbDriver::OpenDevice* LibusbDriver::find(UsbDeviceHandle device) {
    if (device == 0) return nullptr;
    auto it = devices_.find(device);
    return it == devices_.end() ? nullptr : &it->second;
}

int32_t LibusbDriver::setInterface(UsbDeviceHandle device, uint32_t interfaceNumber,
                                   uint32_t alternateSetting) {
    OpenDevice* open = find(device);
    if (open == nullptr) return LIBUSB_ERROR_NO_DEVICE;
    if (interfaceNumber > 0xFF || alternateSetting > 0xFF) return LIBUSB_ERROR_INVALID_PARAM;
    const int number = static_cast<int>(interfaceNumber);
    if (open->claimedInterface != number) {
        if (open->claimedInterface >= 0) {
            libusb_release_interface(open->handle, open->claimedInterface);
            open->claimedInterface = -1;
        }
        const int r = libusb_claim_interface(open->handle, number);
        if (r != LIBUSB_SUCCESS) return r;
        open->claimedInterface = number;
    }
    const int r =
        libusb_set_interface_alt_setting(open->handle, number, static_cast<int>(alternateSetting));
    if (r != LIBUSB_SUCCESS) return r;

    UsbDeviceInfo& info = open->info;
    for (std::size_t i = 0; i < info.interfaces.size(); ++i) {
        InterfaceInfo& iface = info.interfaces[i];
        if (iface.number != interfaceNumber) continue;
        info.activeInterface = i;
        for (std::size_t a = 0; a < iface.alternates.size(); ++a)
            if (iface.alternates[a].alternateSetting == alternateSetting) iface.activeAlternate = a;
    }
    return LIBUSB_SUCCESS;
}

int32_t LibusbDriver::getDeviceInfo(UsbDeviceHandle device, UsbDeviceInfo& info) {
    OpenDevice* open = find(device);
    // A board pulled out is gone as soon as libusb says so, even before its detach is handed
    // to the program.
    if (open == nullptr || queue_.departurePending(open->device)) return LIBUSB_ERROR_NO_DEVICE;
    info = open->info;
    return LIBUSB_SUCCESS;
}

int32_t LibusbDriver::transfer(UsbDeviceHandle device, uint32_t pipe, bool read, uint32_t,
                               uint8_t* buffer, uint32_t size, uint32_t& bytesTransferred,
                               uint32_t timeoutMs) {
    bytesTransferred = 0;
    OpenDevice* open = find(device);
    if (open == nullptr) return LIBUSB_ERROR_NO_DEVICE;
    if (!PipeMatches(pipe, read)) return LIBUSB_ERROR_INVALID_PARAM;
    const auto endpoint = static_cast<uint8_t>(pipe);
    if ((buffer == nullptr && size > 0) || size > static_cast<uint32_t>(INT32_MAX))
        return LIBUSB_ERROR_INVALID_PARAM;
    int done = 0;
    const int r = libusb_bulk_transfer(open->handle, endpoint, size > 0 ? buffer : nullptr,
                                       static_cast<int>(size), &done, timeoutMs);
    bytesTransferred = static_cast<uint32_t>(done);
    return r;
}

int32_t LibusbDriver::resetDevice(UsbDeviceHandle device, uint32_t) {
    OpenDevice* open = find(device);
    if (open == nullptr) return LIBUSB_ERROR_NO_DEVICE;
    return libusb_reset_device(open->handle);
}

void LibusbDriver::uninit(UsbDriverHandle) {
    if (!running_) return;
    running_ = false;
    ++session_;
    accepting_ = false;
    libusb_hotplug_deregister_callback(context_, callback_);
    stopEventThread();
    closeAll();
    dropQueued();
    events_ = {};
    if (!options_.keepContext) releaseContext();
}

std::string LibusbDriver::statusText(int32_t status) {
    return libusb_error_name(status);
}

std::unique_ptr<BoardDriver> MakeLibusbDriver(LibusbDriverOptions options) {
    return std::make_unique<LibusbDriver>(options);
}

}  // namespace i2cbridge
