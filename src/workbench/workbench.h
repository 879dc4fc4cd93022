#pragma once

// What every window shares: the ports, the program log, the colours, the connection and
// transfer state, the I2C address, GpioState and the script run values. It creates no window:
// the program that owns the windows hands them out through the WindowHost. Tests build a
// fresh one each.

#include <cstdint>
#include <functional>

#include "foundation/colors.h"
#include "foundation/ports.h"
#include "foundation/program_log.h"
#include "usb/board_driver.h"
#include "usb/connection.h"
#include "workbench/i2c_frames.h"
#include "workbench/trace_port.h"

namespace i2cbridge {

class FrmI2CGeneral;
class FrmGPIO;

// The windows other windows refer to, each created and loaded on first reference.
class WindowHost {
public:
    virtual ~WindowHost() = default;
    virtual FrmI2CGeneral& mainWindow() = 0;
    virtual FrmGPIO& gpioScreen() = 0;
};

// What the core asks the windowing side to do. Unset entries do nothing (tests, command line).
struct WindowRequests {
    std::function<void()> showGpioScreen;
    std::function<void()> showAbout;
    std::function<void()> showScriptWindow;         // the main window's "Script Execution"
    std::function<void()> openAnotherScriptWindow;  // a script window's "Open Another ..."
    std::function<void()> endProgram;               // the main window was unloaded
};

// The four bytes of GPIO state the whole tool shares. Port C's pins are bits 4 to 7; the LEDs
// are bit 0 (red) and bit 1 (green) of the port C bytes.
struct GpioBytes {
    uint8_t portBEnables = 0;
    uint8_t portCLedEnables = 0;
    uint8_t portBData = 0;
    uint8_t portCLedData = 0;
    bool operator==(const GpioBytes&) const = default;
};

// The values a script run shares across all script windows.
struct ScriptRunState {
    bool AbortRequested = false;
    int16_t CurrentStep = 0;
    int16_t IntStep = 0;
    int16_t EndMainLine = 0;
    int16_t IntStartLine = 0;
    int16_t IntEndLine = 0;
    int16_t IntDetectLine = 0;
    // A service routine is running: a sample inside it starts no second one.
    bool ServiceRunning = false;
};

class Workbench {
public:
    Workbench(BoardDriver& driver, UiPump& pump, Dialogs& dialogs);
    Workbench(const Workbench&) = delete;
    Workbench& operator=(const Workbench&) = delete;

    BoardDriver& driver;
    UiPump& pump;
    Dialogs& dialogs;

    ColorSet colors;
    ProgramLog log;
    UsbConnection usb;
    I2CState i2c;
    GpioBytes GpioState;
    ScriptRunState script;
    WindowRequests windows;
    WindowHost* host = nullptr;  // set by the program that owns the windows
    TraceStarter startTrace;     // set by the program; unset, no trace can be started

    FrmI2CGeneral& mainWindow() { return host->mainWindow(); }
    FrmGPIO& gpioScreen() { return host->gpioScreen(); }
};

}  // namespace i2cbridge
