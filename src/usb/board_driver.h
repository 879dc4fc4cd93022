#pragma once

// The driver library the tool talks to the board through: it matches the board by vendor and
// product identifier, announces its arrival and removal to handlers, and carries transfers on
// numbered pipes. LibusbDriver is the real board over USB; SimulatedBoard is the built-in one.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace i2cbridge {

using UsbDeviceHandle = uint32_t;  // 0: no device
using UsbDriverHandle = int32_t;   // positive once the library is started

// Status codes of library calls: 0 is success. The values are libusb's error codes, so the
// built-in board and the real one print the same "error &H..." text for the same failure.
namespace usb_status {
inline constexpr int32_t kSuccess = 0;
inline constexpr int32_t kIo = -1;
inline constexpr int32_t kInvalidParam = -2;
inline constexpr int32_t kAccess = -3;
inline constexpr int32_t kNoDevice = -4;
inline constexpr int32_t kNotFound = -5;
inline constexpr int32_t kBusy = -6;
inline constexpr int32_t kTimeout = -7;
inline constexpr int32_t kOverflow = -8;
inline constexpr int32_t kPipe = -9;
inline constexpr int32_t kInterrupted = -10;
inline constexpr int32_t kNoMem = -11;
inline constexpr int32_t kNotSupported = -12;
inline constexpr int32_t kOther = -99;
// libusb's name for a status, as libusb_error_name gives it.
std::string Name(int32_t status);
}  // namespace usb_status

// A pipe is an endpoint address: 1 to 15, with bit 7 set for IN and nothing else set. Its
// direction must match the transfer's. Both drivers refuse any other pipe the same way, with
// kInvalidParam, before anything reaches the bus.
bool PipeMatches(uint32_t pipe, bool read);

// The one entry of the match table.
struct MatchEntry {
    uint16_t vendorId = 0;
    uint16_t productId = 0;
    uint8_t deviceClass = 0;  // 0 everywhere below: match any
    uint8_t deviceSubClass = 0;
    uint8_t interfaceClass = 0;
    uint8_t interfaceSubClass = 0;
    uint8_t interfaceProtocol = 0;
};

struct EndpointInfo {
    uint8_t address = 0;     // bit 7 set for IN
    uint8_t attributes = 2;  // bulk
    uint16_t maxPacketSize = 64;
};

struct AlternateSettingInfo {
    uint8_t alternateSetting = 0;
    uint8_t interfaceClass = 0xFF;
    std::vector<EndpointInfo> endpoints;  // numEndpoints is its size
};

struct InterfaceInfo {
    uint8_t number = 0;
    std::vector<AlternateSettingInfo> alternates;
    std::size_t activeAlternate = 0;  // index into alternates
};

// Where a board sits and what it calls itself: how a user picks one of several boards.
struct BoardIdentity {
    std::string
        portPath;  // as Linux names the USB port: bus, then the ports from the root, "1-2.3"
    uint8_t bus = 0;
    uint8_t address = 0;  // the device number on its bus
    std::string serial;   // the serial number string; empty when the board has none
    std::string product;  // the product string; empty when the board has none
};

// True when ID names this board: its serial number (when it has one) or its port path.
bool BoardIdMatches(const BoardIdentity& board, std::string_view id);
// How the log and the reports name a board: "1-2.3 (serial A17)", "1-2.3 (no serial)".
std::string BoardName(const BoardIdentity& board);
// The ID that keeps naming this board: its serial number, or its port path when it has none.
std::string BoardIdOf(const BoardIdentity& board);

// A matching board found by listBoards, and whether this user could open it now:
// kSuccess, kAccess (no permission) or kBusy (another program holds it).
struct AttachedBoard {
    BoardIdentity identity;
    int32_t access = 0;
};
// "ready", "no permission", "busy", or the status's name.
std::string AccessText(int32_t access);

// What the library knows of an attached device: its device descriptor and its interfaces.
struct UsbDeviceInfo {
    BoardIdentity identity;
    std::array<uint8_t, 18> deviceDescriptor{};
    std::vector<InterfaceInfo> interfaces;
    std::size_t activeInterface = 0;  // index into interfaces

    uint16_t vendorId() const { return deviceDescriptor[8] | (deviceDescriptor[9] << 8); }
    uint16_t productId() const { return deviceDescriptor[10] | (deviceDescriptor[11] << 8); }
    // Endpoints of the active alternate setting of the first active interface; -1 when the
    // device reports no interface at all.
    int activeEndpointCount() const;
};

// The handlers the library calls, always on the user-interface thread from deliverEvents().
struct DriverEvents {
    std::function<bool(UsbDeviceHandle, const UsbDeviceInfo&)> attach;  // true: device accepted
    std::function<void(UsbDeviceHandle)> detach;
    // Something the user should know that is neither an attach nor a detach, e.g. a board that
    // was found but cannot be opened. Optional.
    std::function<void(const std::string&)> notice;
};

class BoardDriver {
public:
    virtual ~BoardDriver() = default;

    // Starts the library with one match entry. Boards already plugged in are announced too,
    // at the next deliverEvents(). Returns a status; sets driverHandle (> 0) on success.
    virtual int32_t init(UsbDriverHandle& driverHandle, const MatchEntry& match,
                         DriverEvents events) = 0;
    virtual int32_t setInterface(UsbDeviceHandle device, uint32_t interfaceNumber,
                                 uint32_t alternateSetting) = 0;
    // Fails (non-zero) for handle 0 or a device that is gone.
    virtual int32_t getDeviceInfo(UsbDeviceHandle device, UsbDeviceInfo& info) = 0;
    // One transfer on a pipe named by its endpoint address (2, 0x82, 1, 0x81, 4). A read
    // fills at most size bytes of buffer; buffer may be null when size is 0.
    virtual int32_t transfer(UsbDeviceHandle device, uint32_t pipe, bool read, uint32_t options,
                             uint8_t* buffer, uint32_t size, uint32_t& bytesTransferred,
                             uint32_t timeoutMs) = 0;
    virtual int32_t resetDevice(UsbDeviceHandle device, uint32_t options) = 0;
    virtual void uninit(UsbDriverHandle driverHandle) = 0;
    virtual std::string statusText(int32_t status) = 0;

    // Every attached board that matches the entry, whether the library runs or not, in the
    // order of their port paths. Returns a status (the library could not be started).
    virtual int32_t listBoards(const MatchEntry& match, std::vector<AttachedBoard>& boards) = 0;

    // Runs the attach and detach handlers of events that arrived since the last call, in the
    // order they arrived. Called by the user-interface pump on every yield.
    virtual void deliverEvents() = 0;
};

// The board's USB identity. The vendor identifier is the bridge maker's; both can be
// overridden on the command line (--vid, --pid) for boards with other identifiers.
inline constexpr uint16_t BoardVendorId = 0x0547;
inline constexpr uint16_t BoardProductId = 0x2005;
inline constexpr uint32_t kTransferTimeoutMs = 1000;

}  // namespace i2cbridge
