#pragma once

#include "foundation/ports.h"
#include "usb/connection.h"

namespace i2cbridge {

// Unless the user holds the connection by hand, every operation that transfers opens the
// connection before its transfers and closes it after them, each followed by a yield. The
// main window opens and closes as its USB Connect and USB Disconnect buttons do (painting its
// connection area); other windows use the module-level twins.
class ConnectionBracket {
public:
    // What a window's own connect and disconnect do beyond the open and close.
    class Painter : public ConnectionView {
    public:
        virtual void connectClicked() = 0;
        virtual void disconnectClicked() = 0;
    };

    ConnectionBracket(UsbConnection& usb, UiPump& pump, Painter* painter = nullptr)
        : usb_(usb), pump_(pump), painter_(painter) {}

    void open() {
        if (usb_.ManualUsbConnect) return;
        usb_.open(painter_);
        if (painter_) painter_->connectClicked();
        pump_.yield();
    }
    void close() {
        if (usb_.ManualUsbConnect) return;
        usb_.close(painter_);
        if (painter_) painter_->disconnectClicked();
        pump_.yield();
    }

private:
    UsbConnection& usb_;
    UiPump& pump_;
    Painter* painter_;
};

}  // namespace i2cbridge
