#pragma once

// The ports for a front end without a window system (the command line): a yield delivers the
// board's attach and detach events and nothing else, sleeps are real, a message box is
// printed and answered as the caller says, file dialogs are cancelled.

#include <cstdio>
#include <deque>
#include <string>

#include "foundation/ports.h"
#include "usb/board_driver.h"

namespace i2cbridge {

class HeadlessPump : public UiPump {
public:
    explicit HeadlessPump(BoardDriver& driver) : driver_(driver) {}
    void yield() override { driver_.deliverEvents(); }
    void sleepMs(int milliseconds) override;
    DateTime now() override;

private:
    BoardDriver& driver_;
};

class HeadlessDialogs : public Dialogs {
public:
    explicit HeadlessDialogs(std::FILE* out) : out_(out) {}
    // How an OK/Cancel box (a keypress pause) is answered; a plain message box is always OK.
    Answer okCancelAnswer = Answer::Ok;

    // Files an open dialog is answered with, in order; without one it is cancelled.
    std::deque<std::string> openChoices;

    Answer messageBox(const std::string& text, const std::string& title, Buttons buttons) override;
    bool openFile(FileDialogState& state) override {
        if (openChoices.empty()) return false;
        state.setFileName(openChoices.front());
        openChoices.pop_front();
        return true;
    }
    bool saveFile(FileDialogState&) override { return false; }

private:
    std::FILE* out_;
};

}  // namespace i2cbridge
