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
#include <stdexcept>
#include <thread>

namespace i2cbridge::testing {

namespace {

constexpr const char* kDeviceNode = "/dev/bus/usb/001/002";
constexpr const char* kSysPath = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1";
constexpr uint8_t kEndpoints[] = {0x01, 0x81, 0x02, 0x82, 0x04};

// The descriptors as the board reports them: the device descriptor, then its one
// configuration with interface 0 (vendor class, setting 0) and five bulk endpoints.
std::vector<uint8_t> Descriptors(uint16_t vendorId, uint16_t productId) {
    auto lo = [](uint16_t v) { return static_cast<uint8_t>(v & 0xFF); };
    auto hi = [](uint16_t v) { return static_cast<uint8_t>(v >> 8); };
    std::vector<uint8_t> d{
        18,           0x01,          0x00,          0x02, 0xFF, 0xFF, 0xFF, 64, lo(vendorId),
        hi(vendorId), lo(productId), hi(productId), 0x00, 0x01, 0,    0,    0,  1};
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

}  // namespace

EmulatedBoard::EmulatedBoard(EmulatedBoardConfig config) : config_(config) {
    const char* preload = std::getenv("LD_PRELOAD");
    if (preload == nullptr || std::strstr(preload, "umockdev-preload") == nullptr)
        throw std::runtime_error(
            "the emulated board needs LD_PRELOAD=libumockdev-preload.so.0 in the environment");
    testbed_ = umockdev_testbed_new();
    handler_ = umockdev_ioctl_base_new();
    g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(&EmulatedBoard::HandleIoctl), this);
    GError* error = nullptr;
    // The handler must be in place before the node exists, or the node is a plain file.
    if (!umockdev_testbed_attach_ioctl(testbed_, kDeviceNode, handler_, &error)) {
        const std::string message = error ? error->message : "attach_ioctl failed";
        g_clear_error(&error);
        throw std::runtime_error(message);
    }
    sysPath_ = kSysPath;
    const std::string record = std::string("P: ") + (kSysPath + 4) +
                               "\n"
                               "N: bus/usb/001/002\n"
                               "E: SUBSYSTEM=usb\n"
                               "E: DEVTYPE=usb_device\n"
                               "E: DEVNAME=/dev/bus/usb/001/002\n"
                               "E: BUSNUM=001\n"
                               "E: DEVNUM=002\n"
                               "A: busnum=1\n"
                               "A: devnum=2\n"
                               "A: speed=480\n"
                               "A: bConfigurationValue=1\n"
                               "H: descriptors=" +
                               Hex(Descriptors(config.vendorId, config.productId)) + "\n";
    if (!umockdev_testbed_add_from_string(testbed_, record.c_str(), &error)) {
        const std::string message = error ? error->message : "add_from_string failed";
        g_clear_error(&error);
        throw std::runtime_error(message);
    }
}

EmulatedBoard::~EmulatedBoard() {
    umockdev_testbed_detach_ioctl(testbed_, kDeviceNode, nullptr);
    g_object_unref(testbed_);
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
    const std::string node = std::string(root) + kDeviceNode;
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
                error = submit(arg);
                break;
            case USBDEVFS_REAPURBNDELAY:
                count("REAPURBNDELAY");
                if (!reap(arg)) {
                    error = plugged_ ? EAGAIN : ENODEV;
                    nothingToReap = plugged_;
                }
                break;
            case USBDEVFS_DISCARDURB:
                count("DISCARDURB");
                error = discard(arg);
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

int EmulatedBoard::submit(UMockdevIoctlData* arg) {
    if (!plugged_) return ENODEV;
    UMockdevIoctlData* data = Resolve<usbdevfs_urb>(arg);
    if (data == nullptr) return EFAULT;
    usbdevfs_urb* urb = AsUrb(data);
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
    Urb pending{data, urb->endpoint};
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
bool EmulatedBoard::reap(UMockdevIoctlData* arg) {
    for (Urb& urb : retired_) g_object_unref(urb.data);
    retired_.clear();
    answerPendingReads();
    if (completed_.empty()) return false;
    // The argument is the address of the caller's URB pointer, which gets the reaped URB.
    UMockdevIoctlData* out = Resolve<void*>(arg);
    if (out == nullptr) return false;
    Urb urb = completed_.front();
    completed_.pop_front();
    umockdev_ioctl_data_set_ptr(out, 0, urb.data);
    g_object_unref(out);
    retired_.push_back(urb);
    return true;
}

int EmulatedBoard::discard(UMockdevIoctlData* arg) {
    gulong address = 0;
    std::memcpy(&address, arg->data, std::min<std::size_t>(sizeof address, arg->data_len));
    for (auto it = pendingReads_.begin(); it != pendingReads_.end(); ++it) {
        if (it->data->client_addr != address) continue;
        complete(*it, -ENOENT, nullptr);
        pendingReads_.erase(it);
        return 0;
    }
    return EINVAL;
}

}  // namespace i2cbridge::testing
