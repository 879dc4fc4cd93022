#include "usb/connection.h"

#include <algorithm>

#include "foundation/hex_text.h"

namespace i2cbridge {

namespace {
std::string Crlf(std::string s) {
    return s.append(kCrLf);
}
}  // namespace

UsbConnection::UsbConnection(BoardDriver& driver, UiPump& pump, ProgramLog& log,
                             const ColorSet& colors)
    : driver_(driver), pump_(pump), log_(log), colors_(colors) {}

std::string UsbConnection::StatusText(int32_t status) {
    std::string text = driver_.statusText(status);
    const auto nul = text.find('\0');
    if (nul != std::string::npos) text.resize(nul);
    return text;
}

// The open waits for the board by yielding a fixed number of times: the library announces a
// board that is already plugged in during those yields, and the attach handler selects its
// interface. Whatever the device-information lookup says afterwards, the connection counts as
// open; transfers then fail in their own lookup until a board attaches.
void UsbConnection::open(ConnectionView* view) {
    if (UsbOpen) {
        log_.LogMessage("Already Opened", kCrLf);
        return;
    }
    DriverContext.InterfaceNumber = 0;
    DriverContext.AlternateSetting = 0;
    DriverEvents events;
    events.attach = [this](UsbDeviceHandle h, const UsbDeviceInfo& d) {
        return DeviceAttach(h, d, DriverContext);
    };
    events.detach = [this](UsbDeviceHandle h) { DeviceDetach(h, DriverContext); };
    events.notice = [this](const std::string& text) { log_.LogMessage(text, kCrLf); };
    log_.LogErrorFlag = false;
    log_.LogMessage(Crlf("Setting eventable up,  verifing that the device is attached..."), kCrLf);
    pump_.yield();

    int32_t status = driver_.init(DriverHandle, MatchTable, std::move(events));
    LastStatus = status;
    if (view) view->driverStarted(DriverHandle);
    if (status != 0) {
        if (view) view->driverFailed();
        log_.LogError("Form_Activate(): Failed to initialize USB driver: error &H" +
                      HexText(status) + Crlf("") + "(" + StatusText(status) + ")");
        return;
    }
    log_.LogErrorFlag = false;

    for (int i = 1; i <= kAttachWaitYields; ++i) pump_.yield();

    TransferDeviceHandle = DriverContext.DeviceHandle;
    status = driver_.getDeviceInfo(TransferDeviceHandle, DeviceInfo);
    LastStatus = status;
    if (status != 0) {
        log_.LogError(Crlf("WriteGPIOPipe: WDU_GetDeviceInfo() failed:") + "error &H" +
                      HexText(status) + " (" + StatusText(status) + ")" + Crlf(""));
    } else {
        log_.LogErrorFlag = false;
    }

    // The main window's open also selects the I2C pipe; an open without a view leaves it as
    // it is.
    if (view) view->opening();
    pump_.yield();
    UsbOpen = true;
    if (view) InitI2CPipe();
    pump_.yield();
    if (view) view->opened();
}

// The close ignores what the reset, the handle close and the library stop return.
void UsbConnection::close(ConnectionView* view) {
    if (!UsbOpen || DriverHandle <= 0) return;
    driver_.resetDevice(TransferDeviceHandle, 0);
    pump_.yield();
    pump_.yield();  // where the driver handle was closed; the library's stop closes it
    driver_.uninit(DriverHandle);
    pump_.yield();
    UsbOpen = false;
    pump_.yield();
    if (view) view->closed();
    pump_.yield();
}

bool UsbConnection::takes(UsbDeviceHandle h, const BoardIdentity& board,
                          const DriverContextRecord& c) {
    // Without a chosen board, the one attached keeps the connection; a handle left from an
    // earlier open is no board.
    UsbDeviceInfo attached;
    const bool chosen = BoardId.empty() ? c.DeviceHandle == 0 || c.DeviceHandle == h ||
                                              driver_.getDeviceInfo(c.DeviceHandle, attached) != 0
                                        : BoardIdMatches(board, BoardId);
    if (chosen) return true;
    if (ignored_.insert(BoardName(board)).second) {
        log_.LogNote("DeviceAttach: Ignoring the board at " + BoardName(board) +
                     (BoardId.empty() ? ": another board is attached" : ": not board " + BoardId));
    }
    return false;
}

bool UsbConnection::DeviceAttach(UsbDeviceHandle h, const UsbDeviceInfo& d,
                                 DriverContextRecord& c) {
    if (!takes(h, d.identity, c)) return false;
    c.DeviceHandle = h;
    Board = d.identity;
    const int32_t status = driver_.setInterface(h, static_cast<uint32_t>(c.InterfaceNumber),
                                                static_cast<uint32_t>(c.AlternateSetting));
    c.AttachStatus = status;
    bool accepted = true;
    if (status != 0) {
        log_.LogError(Crlf("DeviceAttach: WDU_SetInterface failed") + "(num. " +
                      DecText(c.InterfaceNumber) + " alternate " + DecText(c.AlternateSetting) +
                      ")" + Crlf("") + "device &H" + HexText(h) + ": error &H" + HexText(status) +
                      Crlf("") + "(" + StatusText(status) + ")");
        c.DeviceHandle = 0;
        accepted = false;
    } else {
        log_.LogNote(Crlf("DeviceAttach: Received and accepted attach for ") + "vendor ID &H" +
                     HexText(d.vendorId()) + " product ID &H" + HexText(d.productId()) + Crlf("") +
                     "device handle &H" + HexText(h));
    }
    log_.LogMessage("", kCrLf);
    return accepted;
}

void UsbConnection::DeviceDetach(UsbDeviceHandle h, DriverContextRecord& c) {
    if (const auto form = CurrentForm.lock()) {
        if (Lamp* lamp = form->attachLamp()) lamp->setColor(colors_.lightRed());
    }
    c.DeviceHandle = 0;
    log_.LogNote("DeviceDetach: Received detach for device handle &H" + HexText(h));
}

// Every transfer looks the device up again, so a detach makes the next one fail at the lookup
// and a re-attach makes it work again without a new open. A write yields just before its
// transfer and takes the buffer only afterwards: a handler that ran in the yield may have
// replaced it.
void UsbConnection::pipeTransfer(bool read) {
    const char* prefix = read ? "ReadPipe: " : "WritePipe: ";
    if (!UsbOpen) {
        log_.LogMessage(read ? "ReadPipe .. USB Not opened" : "Write GPIOPipe .. USB Not opened",
                        kCrLf);
        if (read) pump_.yield();
        return;
    }
    TransferDeviceHandle = DriverContext.DeviceHandle;
    int32_t status = driver_.getDeviceInfo(TransferDeviceHandle, DeviceInfo);
    LastStatus = status;
    if (status != 0) {
        log_.LogError(Crlf(std::string(prefix) + "WDU_GetDeviceInfo() failed:") + "error &H" +
                      HexText(status) + " (" + StatusText(status) + ")" + Crlf(""));
        return;
    }
    log_.LogErrorFlag = false;
    if (DeviceInfo.activeEndpointCount() <= 0) {
        log_.LogMessage(Crlf("  No pipes are defined for this device ") +
                            "other than the default pipe (number 0)",
                        kCrLf);
        return;
    }
    if (!read) pump_.yield();

    if (TransferBuffer.size() < TransferLength) TransferBuffer.resize(TransferLength, 0);
    uint8_t* buffer = TransferLength > 0 ? TransferBuffer.data() : nullptr;
    const auto submitted =
        onTransfer ? std::chrono::steady_clock::now() : std::chrono::steady_clock::time_point{};
    status = driver_.transfer(TransferDeviceHandle, TransferPipe, read, 0, buffer, TransferLength,
                              BytesTransferred, kTransferTimeoutMs);
    LastStatus = status;
    if (onTransfer) {
        const uint32_t shown = read ? std::min(BytesTransferred, TransferLength) : TransferLength;
        onTransfer({submitted, std::chrono::steady_clock::now(), TransferPipe, read, TransferLength,
                    status,
                    std::vector<uint8_t>(TransferBuffer.begin(), TransferBuffer.begin() + shown)});
    }
    if (status != 0) {
        log_.LogError(std::string(prefix) + "WDU_Transfer() failed: error &H" + HexText(status) +
                      " (" + StatusText(status) + ")");
    } else {
        log_.LogErrorFlag = false;
    }
}

}  // namespace i2cbridge
