#include "usb/board_driver.h"

namespace i2cbridge {

std::string usb_status::Name(int32_t status) {
    switch (status) {
        case kSuccess:
            return "LIBUSB_SUCCESS / LIBUSB_TRANSFER_COMPLETED";
        case kIo:
            return "LIBUSB_ERROR_IO";
        case kInvalidParam:
            return "LIBUSB_ERROR_INVALID_PARAM";
        case kAccess:
            return "LIBUSB_ERROR_ACCESS";
        case kNoDevice:
            return "LIBUSB_ERROR_NO_DEVICE";
        case kNotFound:
            return "LIBUSB_ERROR_NOT_FOUND";
        case kBusy:
            return "LIBUSB_ERROR_BUSY";
        case kTimeout:
            return "LIBUSB_ERROR_TIMEOUT";
        case kOverflow:
            return "LIBUSB_ERROR_OVERFLOW";
        case kPipe:
            return "LIBUSB_ERROR_PIPE";
        case kInterrupted:
            return "LIBUSB_ERROR_INTERRUPTED";
        case kNoMem:
            return "LIBUSB_ERROR_NO_MEM";
        case kNotSupported:
            return "LIBUSB_ERROR_NOT_SUPPORTED";
        case kOther:
            return "LIBUSB_ERROR_OTHER";
        // libusb names its transfer outcomes too; no call returns them, but the text is libusb's.
        case 1:
            return "LIBUSB_TRANSFER_ERROR";
        case 2:
            return "LIBUSB_TRANSFER_TIMED_OUT";
        case 3:
            return "LIBUSB_TRANSFER_CANCELLED";
        case 4:
            return "LIBUSB_TRANSFER_STALL";
        case 5:
            return "LIBUSB_TRANSFER_NO_DEVICE";
        case 6:
            return "LIBUSB_TRANSFER_OVERFLOW";
        default:
            return "**UNKNOWN**";
    }
}

int UsbDeviceInfo::activeEndpointCount() const {
    if (activeInterface >= interfaces.size()) return -1;
    const InterfaceInfo& iface = interfaces[activeInterface];
    if (iface.activeAlternate >= iface.alternates.size()) return -1;
    return static_cast<int>(iface.alternates[iface.activeAlternate].endpoints.size());
}

bool PipeMatches(uint32_t pipe, bool read) {
    if (pipe > 0xFF || (pipe & 0x0F) == 0 || (pipe & 0x70) != 0) return false;
    return ((pipe & 0x80) != 0) == read;
}

bool BoardIdMatches(const BoardIdentity& board, std::string_view id) {
    if (id.empty()) return false;
    return (!board.serial.empty() && board.serial == id) || board.portPath == id;
}

std::string BoardName(const BoardIdentity& board) {
    return board.portPath +
           (board.serial.empty() ? " (no serial)" : " (serial " + board.serial + ")");
}

std::string BoardIdOf(const BoardIdentity& board) {
    return board.serial.empty() ? board.portPath : board.serial;
}

std::string AccessText(int32_t access) {
    switch (access) {
        case usb_status::kSuccess:
            return "ready";
        case usb_status::kAccess:
            return "no permission";
        case usb_status::kBusy:
            return "busy";
        default:
            return usb_status::Name(access);
    }
}

}  // namespace i2cbridge
