#pragma once

// The Qt program's top-level windows besides the main window: the GPIO screen and the About
// box, at most one of each, and any number of script windows, shown over the models the
// Program owns. The set belongs to the program's entry (or a test); destroying it destroys the
// windows still open, before the models they show.

#include <QPointer>
#include <QWidget>
#include <memory>
#include <vector>

#include "about/system_info_launcher.h"

namespace i2cbridge {

class Program;

class QtWindows {
public:
    explicit QtWindows(Program& program);
    ~QtWindows();
    QtWindows(const QtWindows&) = delete;
    QtWindows& operator=(const QtWindows&) = delete;

    Program& program;
    // The main window, which other windows open beside.
    QPointer<QWidget> mainWindow;

    // Shows the GPIO screen modeless, creating its window if needed; a second call raises the
    // open one. The window shows the model the Program already has (the main window's start-up
    // write creates one without a window) or creates it. Closing the window unloads the model;
    // GpioState lives on.
    void showGpioScreen();
    QWidget* gpioWindow() const { return gpio_.data(); }

    // Shows the About box modeless; a second call shows the open one. OK closes and destroys
    // it, so the next call loads a fresh one. Without a launcher, the platform's is used.
    void showAbout(std::unique_ptr<SystemInfoLauncher> launcher = nullptr);
    QWidget* aboutBox() const { return about_.data(); }

    // The main window's "Script Execution": shows the first script window that is open, or
    // opens a new one when none is.
    void showScriptWindow();
    // A script window's "Open Another Script Processing Form": always a new window. A new
    // window is shown first, then loaded, and its start-up asks for a script file at once. A
    // start-up that fails is reported in a message box; the window stays open, empty.
    void openAnotherScriptWindow();
    // The script windows that are open, oldest first.
    std::vector<QWidget*> scriptWindows() const;

private:
    void openScriptWindow();

    QPointer<QWidget> gpio_;
    QPointer<QWidget> about_;
    std::vector<QPointer<QWidget>> scripts_;
};

}  // namespace i2cbridge
