#include "emulated_board.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

namespace i2cbridge::testing {

namespace {

constexpr const char* kRootHubs = "/sys/devices/pci0000:00/0000:00:14.0/usb";
constexpr uint8_t kEndpoints[] = {0x01, 0x81, 0x02, 0x82, 0x04};

// The string descriptors' indexes: 0 is the table of languages.
constexpr uint8_t kManufacturerString = 1, kProductString = 2, kSerialString = 3;
constexpr const char* kManufacturer = "i2cbridge";

// The descriptors as the board reports them: the device descriptor, then its one
// configuration with interface 0 (vendor class, setting 0) and five bulk endpoints.
std::vector<uint8_t> Descriptors(uint16_t vendorId, uint16_t productId, bool hasSerial) {
    auto lo = [](uint16_t v) { return static_cast<uint8_t>(v & 0xFF); };
    auto hi = [](uint16_t v) { return static_cast<uint8_t>(v >> 8); };
    const uint8_t serial = hasSerial ? kSerialString : 0;
    std::vector<uint8_t> d{18,
                           0x01,
                           0x00,
                           0x02,
                           0xFF,
                           0xFF,
                           0xFF,
                           64,
                           lo(vendorId),
                           hi(vendorId),
                           lo(productId),
                           hi(productId),
                           0x00,
                           0x01,
                           kManufacturerString,
                           kProductString,
                           serial,
                           1};
    const uint8_t totalLength = 9 + 9 + 7 * sizeof(kEndpoints);
    d.insert(d.end(), {9, 0x02, totalLength, 0, 1, 1, 0, 0x80, 50});
    d.insert(d.end(), {9, 0x04, 0, 0, static_cast<uint8_t>(sizeof(kEndpoints)), 0xFF, 0, 0, 0});
    for (uint8_t ep : kEndpoints) d.insert(d.end(), {7, 0x05, ep, 0x02, 0x00, 0x02, 0});
    return d;
}

std::string Hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    char digits[3];
    for (uint8_t b : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", b);
        text += digits;
    }
    return text;
}

bool KnownEndpoint(uint8_t endpoint) {
    return std::find(std::begin(kEndpoints), std::end(kEndpoints), endpoint) !=
           std::end(kEndpoints);
}

usbdevfs_urb* AsUrb(UMockdevIoctlData* data) {
    return reinterpret_cast<usbdevfs_urb*>(data->data);
}

// The argument of an ioctl that points at a value of type T, fetched from the client.
template <typename T>
UMockdevIoctlData* Resolve(UMockdevIoctlData* arg) {
    return umockdev_ioctl_data_resolve(arg, 0, sizeof(T), nullptr);
}

template <typename T>
bool ReadArg(UMockdevIoctlData* arg, T& value) {
    UMockdevIoctlData* data = Resolve<T>(arg);
    if (data == nullptr) return false;
    std::memcpy(&value, data->data, sizeof(T));
    g_object_unref(data);
    return true;
}

// A string descriptor: its length, type 3, and the text as UTF-16LE (ASCII here).
std::vector<uint8_t> StringDescriptor(const std::string& text) {
    std::vector<uint8_t> d{static_cast<uint8_t>(2 + 2 * text.size()), 0x03};
    for (char c : text) d.insert(d.end(), {static_cast<uint8_t>(c), 0});
    return d;
}

// A hub between the root and a board: libusb learns a board's port path by walking up its
// parents, so each hub on the way must exist.
std::vector<uint8_t> HubDescriptors() {
    return {18, 0x01, 0x00, 0x02, 0x09, 0x00, 0x01, 64,   0xE3, 0x05, 0x08, 0x06, 0x00, 0x01, 0,
            0,  0,    1,    9,    0x02, 25,   0,    1,    1,    0,    0xE0, 0,    9,    0x04, 0,
            0,  1,    0x09, 0,    0,    0,    7,    0x05, 0x81, 0x03, 1,    0,    12};
}

std::string Three(int n) {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%03d", n);
    return digits;
}

// The process has one testbed: the preload library serves a single root. The boards share it,
// and it goes with the last of them. Boards are made and destroyed on the test's thread.
struct SharedTestbed {
    UMockdevTestbed* testbed = nullptr;
    int boards = 0;
    std::set<std::string> hubs;           // ports of the hubs added
    std::map<int, int> lastDeviceNumber;  // by bus; the root hub is 1
};

SharedTestbed& Shared() {
    static SharedTestbed shared;
    return shared;
}

void Add(UMockdevTestbed* testbed, const std::string& record) {
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(testbed, record.c_str(), &error)) {
        const std::string message = error ? error->message : "add_from_string failed";
        g_clear_error(&error);
        throw std::runtime_error(message);
    }
}

std::string SysPath(const std::string& port) {
    const int bus = std::stoi(port);
    std::string path = kRootHubs + std::to_string(bus);
    for (std::size_t at = port.find('-'); at != std::string::npos; at = port.find('.', at + 1))
        path += "/" + port.substr(0, port.find('.', at + 1));
    return path;
}

// The sysfs and udev record of a device: its place, its node, its numbers and descriptors.
std::string Record(const std::string& port, int device, const std::vector<uint8_t>& descriptors) {
    const int bus = std::stoi(port);
    const std::string node = "bus/usb/" + Three(bus) + "/" + Three(device);
    return "P: " + SysPath(port).substr(4) + "\nN: " + node +
           "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=/dev/" + node +
           "\nE: BUSNUM=" + Three(bus) + "\nE: DEVNUM=" + Three(device) +
           "\nA: busnum=" + std::to_string(bus) + "\nA: devnum=" + std::to_string(device) +
           "\nA: speed=480\nA: bConfigurationValue=1\nH: descriptors=" + Hex(descriptors) + "\n";
}

}  // namespace

EmulatedBoard::EmulatedBoard(EmulatedBoardConfig config) : config_(config) {
    const char* preload = std::getenv("LD_PRELOAD");
    if (preload == nullptr || std::strstr(preload, "umockdev-preload") == nullptr)
        throw std::runtime_error(
            "the emulated board needs LD_PRELOAD=libumockdev-preload.so.0 in the environment");
    SharedTestbed& shared = Shared();
    if (shared.testbed == nullptr) shared.testbed = umockdev_testbed_new();
    ++shared.boards;
    testbed_ = shared.testbed;
    const int bus = std::stoi(config.port);
    for (std::size_t dot = config.port.find('.'); dot != std::string::npos;
         dot = config.port.find('.', dot + 1)) {
        const std::string hub = config.port.substr(0, dot);
        if (shared.hubs.insert(hub).second)
            Add(testbed_, Record(hub, ++shared.lastDeviceNumber.try_emplace(bus, 1).first->second,
                                 HubDescriptors()));
    }
    const int device = ++shared.lastDeviceNumber.try_emplace(bus, 1).first->second;
    node_ = "/dev/bus/usb/" + Three(bus) + "/" + Three(device);
    handler_ = umockdev_ioctl_base_new();
    g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(&EmulatedBoard::HandleIoctl), this);
    g_signal_connect(handler_, "client-vanished", G_CALLBACK(&EmulatedBoard::ClientVanished), this);
    GError* error = nullptr;
    // The handler must be in place before the node exists, or the node is a plain file.
    if (!umockdev_testbed_attach_ioctl(testbed_, node_.c_str(), handler_, &error)) {
        const std::string message = error ? error->message : "attach_ioctl failed";
        g_clear_error(&error);
        throw std::runtime_error(message);
    }
    sysPath_ = SysPath(config.port);
    std::string record =
        Record(config.port, device,
               Descriptors(config.vendorId, config.productId, !config.serial.empty()));
    record +=
        "A: manufacturer=" + std::string(kManufacturer) + "\nA: product=" + config.product + "\n";
    if (!config.serial.empty()) record += "A: serial=" + config.serial + "\n";
    Add(testbed_, record);
}

EmulatedBoard::~EmulatedBoard() {
    umockdev_testbed_detach_ioctl(testbed_, node_.c_str(), nullptr);
    SharedTestbed& shared = Shared();
    if (--shared.boards == 0) {
        g_object_unref(shared.testbed);
        shared = {};
    } else {
        umockdev_testbed_remove_device(testbed_, sysPath_.c_str());
    }
    g_object_unref(handler_);
    for (Urb& urb : pendingReads_) g_object_unref(urb.data);
    for (Urb& urb : completed_) g_object_unref(urb.data);
    for (Urb& urb : retired_) g_object_unref(urb.data);
}

void EmulatedBoard::unplug() {
    {
        std::lock_guard lock(mutex_);
        plugged_ = false;
        claimed_ = false;
        failPending(-ENODEV);
    }
    umockdev_testbed_uevent(testbed_, sysPath_.c_str(), "remove");
}

void EmulatedBoard::plug() {
    {
        std::lock_guard lock(mutex_);
        plugged_ = true;
    }
    umockdev_testbed_uevent(testbed_, sysPath_.c_str(), "add");
}

void EmulatedBoard::setNodeMode(unsigned mode) {
    gchar* root = umockdev_testbed_get_root_dir(testbed_);
    const std::string node = std::string(root) + node_;
    g_free(root);
    if (chmod(node.c_str(), static_cast<mode_t>(mode)) != 0)
        throw std::runtime_error("cannot change the mode of " + node);
}

std::vector<WireFrame> EmulatedBoard::sent() {
    std::lock_guard lock(mutex_);
    return model_.sent();
}

void EmulatedBoard::clearSent() {
    std::lock_guard lock(mutex_);
    model_.clearSent();
}

int EmulatedBoard::requests(const std::string& name) const {
    std::lock_guard lock(mutex_);
    auto it = requests_.find(name);
    return it == requests_.end() ? 0 : it->second;
}

bool EmulatedBoard::interfaceClaimed() const {
    std::lock_guard lock(mutex_);
    return claimed_;
}

// A file closed: what it submitted and never reaped goes with it.
void EmulatedBoard::ClientVanished(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
    auto* board = static_cast<EmulatedBoard*>(self);
    std::lock_guard lock(board->mutex_);
    for (auto* queue : {&board->pendingReads_, &board->completed_}) {
        for (auto it = queue->begin(); it != queue->end();) {
            if (it->client != client) {
                ++it;
                continue;
            }
            g_object_unref(it->data);
            it = queue->erase(it);
        }
    }
}

void EmulatedBoard::count(const char* name) {
    ++requests_[name];
}

gboolean EmulatedBoard::HandleIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client,
                                    gpointer self) {
    static_cast<EmulatedBoard*>(self)->handle(client);
    return TRUE;
}

// Answers one usbfs request the way the kernel would for the board. A URB is answered when it
// is reaped: an OUT frame is handed to the model at once, an IN stays pending until the model
// has a reply for its endpoint (or it is discarded after libusb's time-out).
void EmulatedBoard::handle(UMockdevIoctlClient* client) {
    const gulong request = umockdev_ioctl_client_get_request(client);
    UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
    int error = 0;
    bool nothingToReap = false;
    {
        std::lock_guard lock(mutex_);
        switch (request) {
            case USBDEVFS_GET_CAPABILITIES: {
                count("GET_CAPABILITIES");
                UMockdevIoctlData* data = Resolve<uint32_t>(arg);
                if (data == nullptr) {
                    error = EFAULT;
                    break;
                }
                const uint32_t caps = USBDEVFS_CAP_BULK_CONTINUATION |
                                      USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
                                      USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
                std::memcpy(data->data, &caps, sizeof caps);
                g_object_unref(data);
                break;
            }
            case USBDEVFS_CLAIMINTERFACE: {
                count("CLAIMINTERFACE");
                unsigned int number = 0;
                error = ReadArg(arg, number) ? claim(number) : EFAULT;
                break;
            }
            // libusb claims this way again after a reset. No kernel driver is ever bound to
            // the board's vendor interface, so there is nothing to disconnect.
            case USBDEVFS_DISCONNECT_CLAIM: {
                count("DISCONNECT_CLAIM");
                usbdevfs_disconnect_claim request{};
                error = ReadArg(arg, request) ? claim(request.interface) : EFAULT;
                break;
            }
            case USBDEVFS_GETDRIVER:
            case USBDEVFS_IOCTL:
                count("no driver");
                error = plugged_ ? ENODATA : ENODEV;
                break;
            case USBDEVFS_RELEASEINTERFACE: {
                count("RELEASEINTERFACE");
                unsigned int number = 0;
                if (!ReadArg(arg, number)) {
                    error = EFAULT;
                } else if (!plugged_) {
                    error = ENODEV;
                } else if (number != 0 || !claimed_) {
                    error = EINVAL;
                } else {
                    claimed_ = false;
                }
                break;
            }
            case USBDEVFS_SETINTERFACE: {
                count("SETINTERFACE");
                usbdevfs_setinterface setting{};
                if (!ReadArg(arg, setting)) {
                    error = EFAULT;
                } else if (!plugged_) {
                    error = ENODEV;
                } else if (setting.interface != 0 || setting.altsetting != 0) {
                    error = EINVAL;
                }
                break;
            }
            case USBDEVFS_CLEAR_HALT:
                count("CLEAR_HALT");
                if (!plugged_) error = ENODEV;
                break;
            case USBDEVFS_RESET:
                count("RESET");
                if (!plugged_) error = ENODEV;
                break;
            case USBDEVFS_SUBMITURB:
                count("SUBMITURB");
                error = submit(client, arg);
                break;
            case USBDEVFS_REAPURBNDELAY:
                count("REAPURBNDELAY");
                if (!reap(client, arg)) {
                    error = plugged_ ? EAGAIN : ENODEV;
                    nothingToReap = plugged_;
                }
                break;
            case USBDEVFS_DISCARDURB:
                count("DISCARDURB");
                error = discard(client, arg);
                break;
            default:
                count("unknown");
                error = ENOTTY;
                break;
        }
    }
    if (nothingToReap) std::this_thread::sleep_for(config_.idlePause);
    umockdev_ioctl_client_complete(client, error == 0 ? 0 : -1, error);
}

int EmulatedBoard::claim(unsigned int number) {
    if (!plugged_) return ENODEV;
    if (config_.claimErrno != 0) return config_.claimErrno;
    if (number != 0) return ENOENT;
    claimed_ = true;
    return 0;
}

int EmulatedBoard::submit(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    if (!plugged_) return ENODEV;
    UMockdevIoctlData* data = Resolve<usbdevfs_urb>(arg);
    if (data == nullptr) return EFAULT;
    usbdevfs_urb* urb = AsUrb(data);
    if (urb->type == USBDEVFS_URB_TYPE_CONTROL && urb->endpoint == 0 && urb->buffer_length >= 8) {
        UMockdevIoctlData* buffer = umockdev_ioctl_data_resolve(
            data, offsetof(usbdevfs_urb, buffer), static_cast<gsize>(urb->buffer_length), nullptr);
        if (buffer == nullptr) {
            g_object_unref(data);
            return EFAULT;
        }
        g_object_unref(buffer);
        control({data, 0, client});
        return 0;
    }
    if (urb->type != USBDEVFS_URB_TYPE_BULK || urb->buffer_length < 0) {
        g_object_unref(data);
        return EINVAL;
    }
    if (!KnownEndpoint(urb->endpoint)) {
        g_object_unref(data);
        return ENOENT;
    }
    if (urb->buffer_length > 0) {
        // Afterwards urb->buffer points at a local copy that goes back to the client with the
        // URB when it is reaped.
        UMockdevIoctlData* buffer = umockdev_ioctl_data_resolve(
            data, offsetof(usbdevfs_urb, buffer), static_cast<gsize>(urb->buffer_length), nullptr);
        if (buffer == nullptr) {
            g_object_unref(data);
            return EFAULT;
        }
        g_object_unref(buffer);  // the URB's data keeps it
    }
    Urb pending{data, urb->endpoint, client};
    if ((urb->endpoint & 0x80) == 0) {
        const auto* bytes = static_cast<const uint8_t*>(urb->buffer);
        const std::span<const uint8_t> frame(bytes, bytes ? urb->buffer_length : 0);
        const bool taken = model_.receive(urb->endpoint, frame);
        urb->actual_length = taken ? urb->buffer_length : 0;
        complete(pending, taken ? 0 : -EPIPE, nullptr);
        answerPendingReads();
    } else {
        pendingReads_.push_back(pending);
        answerPendingReads();
    }
    return 0;
}

// The control requests libusb makes of the board: its string descriptors. Anything else
// stalls.
void EmulatedBoard::control(Urb urb) {
    usbdevfs_urb* u = AsUrb(urb.data);
    auto* bytes = static_cast<uint8_t*>(u->buffer);
    const uint8_t requestType = bytes[0], request = bytes[1], index = bytes[2], type = bytes[3];
    const std::size_t room = std::min<std::size_t>(bytes[6] | (bytes[7] << 8),
                                                   static_cast<std::size_t>(u->buffer_length) - 8);
    std::vector<uint8_t> reply;
    if (requestType == 0x80 && request == 6 && type == 3) {
        if (index == 0) reply = {4, 0x03, 0x09, 0x04};  // US English only
        if (index == kManufacturerString) reply = StringDescriptor(kManufacturer);
        if (index == kProductString) reply = StringDescriptor(config_.product);
        if (index == kSerialString && !config_.serial.empty())
            reply = StringDescriptor(config_.serial);
    }
    u->status = reply.empty() ? -EPIPE : 0;
    const std::size_t n = std::min(room, reply.size());
    if (n > 0) std::memcpy(bytes + 8, reply.data(), n);
    u->actual_length = static_cast<int>(n);
    completed_.push_back(urb);
}

void EmulatedBoard::answerPendingReads() {
    for (auto it = pendingReads_.begin(); it != pendingReads_.end();) {
        auto reply = model_.takeReply(it->endpoint);
        if (!reply) {
            ++it;
            continue;
        }
        complete(*it, 0, &*reply);
        it = pendingReads_.erase(it);
    }
}

void EmulatedBoard::complete(Urb urb, int status, const std::vector<uint8_t>* payload) {
    usbdevfs_urb* u = AsUrb(urb.data);
    u->status = status;
    if (payload != nullptr) {
        const std::size_t room = static_cast<std::size_t>(u->buffer_length);
        const std::size_t n = std::min(room, payload->size());
        if (n > 0) std::memcpy(u->buffer, payload->data(), n);
        u->actual_length = static_cast<int>(n);
        if (payload->size() > room) u->status = -EOVERFLOW;
    } else if ((u->endpoint & 0x80) != 0) {
        u->actual_length = 0;
    }
    completed_.push_back(urb);
}

void EmulatedBoard::failPending(int status) {
    while (!pendingReads_.empty()) {
        complete(pendingReads_.front(), status, nullptr);
        pendingReads_.pop_front();
    }
}

// The reaped URB goes back to the client through the reap's argument; its data must live until
// that answer has been sent, so it is let go at the next reap.
bool EmulatedBoard::reap(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    for (Urb& urb : retired_) g_object_unref(urb.data);
    retired_.clear();
    answerPendingReads();
    const auto mine = std::find_if(completed_.begin(), completed_.end(),
                                   [&](const Urb& urb) { return urb.client == client; });
    if (mine == completed_.end()) return false;
    // The argument is the address of the caller's URB pointer, which gets the reaped URB.
    UMockdevIoctlData* out = Resolve<void*>(arg);
    if (out == nullptr) return false;
    Urb urb = *mine;
    completed_.erase(mine);
    umockdev_ioctl_data_set_ptr(out, 0, urb.data);
    g_object_unref(out);
    retired_.push_back(urb);
    return true;
}

int EmulatedBoard::discard(UMockdevIoctlClient* client, UMockdevIoctlData* arg) {
    gulong address = 0;
    std::memcpy(&address, arg->data, std::min<std::size_t>(sizeof address, arg->data_len));
    for (auto it = pendingReads_.begin(); it != pendingReads_.end(); ++it) {
        if (it->client != client || it->data->client_addr != address) continue;
        complete(*it, -ENOENT, nullptr);
        pendingReads_.erase(it);
        return 0;
    }
    return EINVAL;
}

}  // namespace i2cbridge::testing
