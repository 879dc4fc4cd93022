#pragma once

// The ports as the Qt program provides them.

#include <QObject>
#include <QTimer>

#include "foundation/ports.h"
#include "usb/board_driver.h"

class QWidget;

namespace i2cbridge {

// Yield runs Qt's pending events and then the board's pending attach and detach, so both
// arrive inside a handler's yields as they would in the program's message loop. Between
// handlers a timer delivers board events too, so an unplug is logged when nothing runs.
class QtPump : public UiPump {
public:
    explicit QtPump(BoardDriver& driver);
    void yield() override;
    void sleepMs(int milliseconds) override;
    DateTime now() override;

private:
    BoardDriver& driver_;
    QTimer idleDelivery_;
};

class QtDialogs : public Dialogs {
public:
    Answer messageBox(const std::string& text, const std::string& title, Buttons buttons) override;
    bool openFile(FileDialogState& state) override;
    bool saveFile(FileDialogState& state) override;

    // Window the dialogs are centred on.
    QWidget* parent = nullptr;

private:
    bool show(FileDialogState& state, bool save);
};

}  // namespace i2cbridge
