#pragma once

// The one connection to the board that every window shares, its attach and detach handlers,
// and the single place where a pipe transfer is made. The main window's operations and the
// module-level twins used by the GPIO screen and script windows run the same code here; the
// main window's flavour also paints its connection controls.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/colors.h"
#include "foundation/controls.h"
#include "foundation/form.h"
#include "foundation/ports.h"
#include "foundation/program_log.h"
#include "usb/board_driver.h"

namespace i2cbridge {

// The main window's connection area.
struct ConnectionPanel {
    Button cmdUSBConnect{"USB Connect", "Connect and leave USB connection open."};
    Button cmdUSBDisconnect{"USB Disconnect", "Close USB Connection."};
    CheckBox ChKManUsbConn{"Manual USB Connect / Disconnect", false,
                           "Check to disable automatic open / closing of USB connection."};
    Label lblUSBConnect{"Manual User Connect"};
    std::array<Lamp, 2> shpUSBCon;  // 0 lit while open, 1 while closed
    Lamp ShpHandleStatus;
    Lamp ShpAttach;
    TextBox txthDriver{"Not Initialized"};
    Button cbNoc{"USB Initialized"};  // a button used as a notice
    Button cmdexit{"Exit"};
    Button cbSend{"Send All", "Updates all writable registers and samples internal registers."};
    Button cbReset{"Reset", "Reset Procedure"};
};

// User data handed to the library and given back to both handlers.
struct DriverContextRecord {
    int32_t InterfaceNumber = 0;
    int32_t AlternateSetting = 0;
    UsbDeviceHandle DeviceHandle = 0;  // 0 while no board is attached
    int32_t AttachStatus = 0;
};

class UsbConnection {
public:
    static constexpr int kAttachWaitYields = 10000;

    UsbConnection(BoardDriver& driver, UiPump& pump, ProgramLog& log, const ColorSet& colors);

    // Which board to match; --vid and --pid change it.
    MatchEntry MatchTable{BoardVendorId, BoardProductId};

    bool UsbOpen = false;
    bool ManualUsbConnect = false;
    UsbDriverHandle DriverHandle = 0;
    DriverContextRecord DriverContext;
    UsbDeviceHandle TransferDeviceHandle = 0;
    int32_t LastStatus = 0;
    UsbDeviceInfo DeviceInfo;
    Form* CurrentForm = nullptr;
    int16_t I2CPipe = 0;

    // The transfer globals: the caller sets pipe and length, sizes the buffer (Redim), fills
    // it, calls a write or read, and reads the answer from the buffer.
    uint32_t TransferPipe = 0;
    uint32_t TransferLength = 0;
    std::vector<uint8_t> TransferBuffer;
    uint32_t BytesTransferred = 0;
    void Redim(std::size_t length) { TransferBuffer.assign(length, 0); }

    // Main-window flavour: paints the connection area given.
    void Connect_Usb(ConnectionPanel& panel);
    void Disconnect_USB(ConnectionPanel& panel);
    void cmdUSBConnect_Click(ConnectionPanel& panel);
    void cmdUSBDisconnect_Click(ConnectionPanel& panel);
    void ChKManUsbConn_Click(ConnectionPanel& panel);

    // Module-level twins: the same state, no controls.
    void SharedOpenUsb();
    void SharedCloseUsb();

    bool DeviceAttach(UsbDeviceHandle h, const UsbDeviceInfo& d, DriverContextRecord& c);
    void DeviceDetach(UsbDeviceHandle h, DriverContextRecord& c);
    std::string StatusText(int32_t status);
    void InitI2CPipe() { I2CPipe = 2; }
    static void CloseDriverHandle(UsbDriverHandle) {}

    // One transfer each; the main window's pair and the twins are the same operation.
    void writePipe() { pipeTransfer(false); }
    void readPipe() { pipeTransfer(true); }
    void SharedWritePipe() { pipeTransfer(false); }
    void SharedReadPipe() { pipeTransfer(true); }

    BoardDriver& driver() { return driver_; }

private:
    void open(ConnectionPanel* panel);
    void close(ConnectionPanel* panel);
    void pipeTransfer(bool read);

    BoardDriver& driver_;
    UiPump& pump_;
    ProgramLog& log_;
    const ColorSet& colors_;
};

}  // namespace i2cbridge
