#pragma once

// Ports for the benchmarks: a pump that only delivers the board's events (nothing else waits
// to run, sleeps take no time, the clock stands still), dialogs that answer the file dialog
// with the script and every message box OK, and the one QApplication of a Qt benchmark.

#include <string>

#ifdef QT_WIDGETS_LIB
#include <QApplication>
#endif

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

#ifdef QT_WIDGETS_LIB
// The benchmark library owns main(), so the application is made on first use. It is never
// destroyed: Qt's own globals may be gone by the time static objects are.
inline QApplication& BenchApp(const char* name) {
    static int argc = 1;
    static std::string program = name;
    static char* argv[] = {program.data(), nullptr};
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static auto* app = new QApplication(argc, argv);
    return *app;
}
#endif

}  // namespace i2cbridge
