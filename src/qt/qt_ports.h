#pragma once

// The ports as the Qt program provides them.

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>

#include "foundation/ports.h"
#include "usb/board_driver.h"

class QWidget;

namespace i2cbridge {

// Yield runs Qt's pending events and then the board's pending attach and detach, so both
// arrive inside a handler's yields as they would in the program's message loop. Between
// handlers a timer delivers board events too, so an unplug is logged when nothing runs.
//
// A run yields several times per row, and running Qt's events repaints the window each time,
// which would cost far more than the rows. So a yield that comes less than kFullYieldInterval
// after the end of the last one that ran Qt's events delivers the board's events only: the
// window repaints at most about 200 times a second and a click still runs within a few ms. The
// first yield after a quiet spell always runs Qt's events.
class QtPump : public UiPump {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kFullYieldInterval{5};

    // The clock is the steady clock; tests give their own.
    explicit QtPump(BoardDriver& driver, std::function<Clock::time_point()> clock = {});
    void yield() override;
    void sleepMs(int milliseconds) override;
    DateTime now() override;

private:
    BoardDriver& driver_;
    std::function<Clock::time_point()> clock_;
    std::optional<Clock::time_point> lastFull_;
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
