#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/program.h"
#include "foundation/ports.h"
#include "gpio/frm_gpio.h"
#include "main_window/frm_i2c_general.h"
#include "usb/board_driver.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge::testing {

// A pump with a fixed clock. Every yield delivers the driver's pending attach and detach
// events, as the program's event loop does, and can run a scripted user action once.
class FakePump : public UiPump {
public:
    explicit FakePump(BoardDriver* driver = nullptr) : driver_(driver) {}

    void yield() override;
    void sleepMs(int milliseconds) override { sleptMs += milliseconds; }
    DateTime now() override { return clock; }

    // Runs action at the yield that comes after `afterYields` more yields.
    void atYield(long afterYields, std::function<void()> action);

    DateTime clock{2026, 11, 18, 17, 5, 9};
    long yields = 0;
    long sleptMs = 0;

private:
    struct Scheduled {
        long at;
        std::function<void()> action;
    };
    BoardDriver* driver_;
    std::vector<Scheduled> scheduled_;
};

// Dialogs answered from a script. An unanswered message box is answered OK; an unanswered file
// dialog is cancelled.
class FakeDialogs : public Dialogs {
public:
    struct Shown {
        std::string text;
        std::string title;
        Buttons buttons;
    };
    Answer messageBox(const std::string& text, const std::string& title, Buttons buttons) override;
    bool openFile(FileDialogState& state) override;
    bool saveFile(FileDialogState& state) override;

    std::vector<Shown> messages;
    std::deque<Answer> answers;
    // Full paths to choose, in order; an empty string cancels.
    std::deque<std::string> openChoices;
    std::deque<std::string> saveChoices;
    // What each file dialog was asked to show (a copy of the state at showing time).
    std::vector<FileDialogState> openShown;
    std::vector<FileDialogState> saveShown;
};

// The messages of a log's entries, in order, without their time stamps and line ends: whatever
// the clock says, Messages(log) of "Board Opened :<stamp>\r\n\r\n" is {"Board Opened"}. Text
// after the last stamp (an entry cut short) is the last message.
std::vector<std::string> Messages(std::string_view log);

// How the board is set up before the program first talks to it.
struct BoardSetup {
    uint16_t productId = BoardProductId;
    bool refuseInterface = false;  // the interface is busy (another program holds it)
};

// A workbench and its program on the simulated board, with fakes for the rest.
struct Rig {
    explicit Rig(BoardSetup setup = {});
    static constexpr UsbDeviceHandle kFirstHandle = 0x2A0;  // the driver's handle numbering

    SimulatedBoard board;
    FakePump pump{&board};
    FakeDialogs dialogs;
    std::unique_ptr<Workbench> wb = std::make_unique<Workbench>(board, pump, dialogs);
    std::unique_ptr<Program> program = std::make_unique<Program>(*wb);

    FrmI2CGeneral& main() { return program->mainWindow(); }
    FrmGPIO& gpio() { return program->gpioScreen(); }
    // The program log; reading it creates no window.
    const std::string& log() { return wb->log.Txtlog.text(); }
    // The log written from now on: remembers where the text ends.
    void markLog() { mark_ = log().size(); }
    std::string logSinceMark() { return log().substr(std::min(mark_, log().size())); }
    // The messages of the log, or of the log since markLog(), without time stamps.
    std::vector<std::string> messages() { return Messages(log()); }
    std::vector<std::string> messagesSinceMark() { return Messages(logSinceMark()); }
    // Frames sent on the wire since the last clear.
    const std::vector<WireFrame>& sent() { return board.model().sent(); }
    void clearSent() { board.model().clearSent(); }
    template <typename F>
    auto withModel(F&& f) {
        return f(board.model());
    }
    // Yields (which delivers the driver's news) until text is in the log since markLog().
    bool yieldUntilLogged(const std::string& text);
    int resets() const { return board.resetCount(); }
    bool running() const { return board.running(); }

private:
    std::size_t mark_ = 0;
};

}  // namespace i2cbridge::testing
