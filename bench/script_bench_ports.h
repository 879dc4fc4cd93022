#pragma once

// Ports for the script benchmarks: a pump that only delivers the board's events (nothing else
// waits to run, sleeps take no time, the clock stands still) and dialogs that answer the file
// dialog with the script and every message box OK.

#include <string>

#include "foundation/ports.h"
#include "usb/board_driver.h"

namespace i2cbridge {

class BoardEventsPump : public UiPump {
public:
    explicit BoardEventsPump(BoardDriver& driver) : driver_(driver) {}
    void yield() override { driver_.deliverEvents(); }
    void sleepMs(int) override {}
    DateTime now() override { return {2026, 11, 18, 17, 5, 9}; }

private:
    BoardDriver& driver_;
};

class ScriptDialogs : public Dialogs {
public:
    explicit ScriptDialogs(std::string path) : path_(std::move(path)) {}
    Answer messageBox(const std::string&, const std::string&, Buttons) override {
        return Answer::Ok;
    }
    bool openFile(FileDialogState& state) override {
        state.setFileName(path_);
        return true;
    }
    bool saveFile(FileDialogState&) override { return false; }

private:
    std::string path_;
};

}  // namespace i2cbridge
