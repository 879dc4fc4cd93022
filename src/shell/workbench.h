#pragma once

// The one object that owns what the whole program shares: the ports, the log, the connection
// and transfer state, the I2C address, GpioState, and the single main window and GPIO screen
// models (each created and loaded on first reference). Tests build a fresh one each.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "foundation/colors.h"
#include "foundation/ports.h"
#include "foundation/program_log.h"
#include "registers/i2c_frames.h"
#include "usb/board_driver.h"
#include "usb/connection.h"

namespace i2cbridge {

class FrmI2CGeneral;
class FrmGPIO;

// What the core asks the windowing side to do. Unset entries do nothing (tests).
struct WindowRequests {
    std::function<void()> showGpioScreen;
    std::function<void()> showAbout;
    std::function<void()> showScriptWindow;
    std::function<void()> endProgram;  // the main window was unloaded
};

class Workbench {
public:
    Workbench(BoardDriver& driver, UiPump& pump, Dialogs& dialogs);
    ~Workbench();
    Workbench(const Workbench&) = delete;
    Workbench& operator=(const Workbench&) = delete;

    BoardDriver& driver;
    UiPump& pump;
    Dialogs& dialogs;

    ColorSet colors;
    ProgramLog log;
    UsbConnection usb;
    I2CState i2c;
    // 0 PB enables, 1 PC and LED enables, 2 PB data, 3 PC and LED data.
    std::array<uint8_t, 4> GpioState{};
    WindowRequests windows;

    FrmI2CGeneral& mainWindow();  // created and loaded on first reference
    bool hasMainWindow() const { return main_ != nullptr; }
    FrmGPIO& gpioScreen();  // created and loaded on first reference, not shown
    bool hasGpioScreen() const { return gpio_ != nullptr; }
    // Closing the GPIO screen destroys its controls; GpioState lives on. The old model is kept
    // aside rather than freed, because the close may arrive inside a yield of one of its own
    // handlers, which still runs on it.
    void unloadGpioScreen();

private:
    std::unique_ptr<FrmI2CGeneral> main_;
    std::unique_ptr<FrmGPIO> gpio_;
    std::vector<std::unique_ptr<FrmGPIO>> retiredGpio_;
};

}  // namespace i2cbridge
