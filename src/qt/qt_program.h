#pragma once

// The Qt program as its entry point builds it: the board (on USB, or the built-in one), the
// ports, the workbench and its windows, wired to the Qt windows and started through the
// startup window. The program and the screenshot tool both start this way.

#include <optional>
#include <string>

#include "app/board_choice.h"
#include "app/command_line.h"
#include "app/program.h"
#include "qt/qt_ports.h"
#include "qt/qt_startup_window.h"
#include "qt/qt_windows.h"
#include "workbench/workbench.h"

namespace i2cbridge {

class MainWindowView;

// Made after the QApplication. Members are destroyed in reverse order, so the windows go
// before the models they show.
class QtProgram {
public:
    explicit QtProgram(const CommandLine& options);

    // Which board the window keeps to: the one --board names, the only one attached, or, with
    // several attached, the one the user picks from a list (asked once). False when the user
    // picks none.
    bool chooseBoard();
    // Streams the log to the file named by --log, if any (before anything is logged, so the
    // file gets every entry), then loads the startup window, which shows the main window.
    // Returns why the log file cannot be written; nothing is shown then.
    std::optional<std::string> start();
    MainWindowView& mainWindow() { return *startup.mainWindow(); }

    const CommandLine options;
    BoardChoice board;
    QtPump pump;
    QtDialogs dialogs;
    Workbench wb;
    Program program;
    QtWindows windows;
    StartupWindow startup;
};

}  // namespace i2cbridge
