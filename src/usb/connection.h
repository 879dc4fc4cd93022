#pragma once

// The one connection to the board that every window shares, its attach and detach handlers,
// and the single place where a pipe transfer is made. The main window opens and closes it
// with its connection controls as the view; the GPIO screen and script windows run the same
// code with no view.

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "foundation/colors.h"
#include "foundation/form.h"
#include "foundation/ports.h"
#include "foundation/program_log.h"
#include "usb/board_driver.h"

namespace i2cbridge {

// What a window paints while its own connection operations run (the main window's connection
// area). An open or close without a view runs the same steps and paints nothing.
class ConnectionView {
public:
    virtual ~ConnectionView() = default;
    virtual void driverStarted(UsbDriverHandle handle) = 0;
    virtual void driverFailed() = 0;
    // Just before the connection counts as open, and once it does.
    virtual void opening() = 0;
    virtual void opened() = 0;
    virtual void closed() = 0;
};

// User data handed to the library and given back to both handlers.
struct DriverContextRecord {
    int32_t InterfaceNumber = 0;
    int32_t AlternateSetting = 0;
    UsbDeviceHandle DeviceHandle = 0;  // 0 while no board is attached
    int32_t AttachStatus = 0;
};

// One transfer as it went over the wire, for a trace: when it was handed to the driver and
// when the driver returned, the pipe, and the bytes sent (OUT) or received (IN).
struct TransferRecord {
    std::chrono::steady_clock::time_point submitted;
    std::chrono::steady_clock::time_point completed;
    uint32_t pipe = 0;
    bool read = false;
    uint32_t requested = 0;  // the transfer's length
    int32_t status = 0;
    std::vector<uint8_t> data;
};

class UsbConnection {
public:
    static constexpr int kAttachWaitYields = 10000;

    UsbConnection(BoardDriver& driver, UiPump& pump, ProgramLog& log, const ColorSet& colors);

    // Which board to match; --vid and --pid change it.
    MatchEntry MatchTable{BoardVendorId, BoardProductId};
    // The one board this connection takes (--board): a serial number or a port path. Empty:
    // the first matching board that attaches; another one arriving while it is attached is
    // ignored. Either way a board that is not taken is named in the log once, the first time
    // it is announced, and its later arrivals and departures pass unremarked.
    std::string BoardId;
    // The board attached now, or the last one that was.
    BoardIdentity Board;

    bool UsbOpen = false;
    bool ManualUsbConnect = false;
    UsbDriverHandle DriverHandle = 0;
    DriverContextRecord DriverContext;
    UsbDeviceHandle TransferDeviceHandle = 0;
    int32_t LastStatus = 0;
    UsbDeviceInfo DeviceInfo;
    FormRef CurrentForm;  // the window whose attach lamp a detach paints
    int16_t I2CPipe = 0;

    // The transfer globals: the caller sets pipe and length, sizes the buffer (Redim), fills
    // it, calls a write or read, and reads the answer from the buffer.
    uint32_t TransferPipe = 0;
    uint32_t TransferLength = 0;
    std::vector<uint8_t> TransferBuffer;
    uint32_t BytesTransferred = 0;
    void Redim(std::size_t length) { TransferBuffer.assign(length, 0); }

    // The open and the close, painting the view given (the main window's), or nothing.
    void open(ConnectionView* view);
    void close(ConnectionView* view);

    bool DeviceAttach(UsbDeviceHandle h, const UsbDeviceInfo& d, DriverContextRecord& c);
    void DeviceDetach(UsbDeviceHandle h, DriverContextRecord& c);
    std::string StatusText(int32_t status);
    void InitI2CPipe() { I2CPipe = 2; }

    // One transfer each, for every window.
    void writePipe() { pipeTransfer(false); }
    void readPipe() { pipeTransfer(true); }

    BoardDriver& driver() { return driver_; }

    // Told every transfer that reached the driver (a trace); unset costs nothing.
    std::function<void(const TransferRecord&)> onTransfer;

private:
    void pipeTransfer(bool read);
    bool takes(UsbDeviceHandle h, const BoardIdentity& board, const DriverContextRecord& c);

    BoardDriver& driver_;
    UiPump& pump_;
    ProgramLog& log_;
    const ColorSet& colors_;
    std::set<std::string> ignored_;  // boards named in the log as not taken
};

}  // namespace i2cbridge
