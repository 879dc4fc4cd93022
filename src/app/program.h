#pragma once

// The program's windows: one main window, one GPIO screen and any number of script windows,
// each created and loaded on first reference. The front ends (the Qt program, the command
// line) build one over a Workbench; the windows reach each other through it.
//
// Closing a window lets go of its model at once. A handler of that window that is still waiting
// in a yield holds the model with Form::keepAlive(), and a view holds the model it shows, so the
// model is freed when the last of them lets go, never while one still runs on it.

#include <memory>
#include <vector>

#include "workbench/workbench.h"

namespace i2cbridge {

class FrmScriptOps;

class Program : public WindowHost {
public:
    explicit Program(Workbench& wb);
    ~Program() override;
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    Workbench& wb;

    FrmI2CGeneral& mainWindow() override;
    FrmGPIO& gpioScreen() override;
    // The same windows, shared with a view that shows them.
    std::shared_ptr<FrmI2CGeneral> mainWindowModel();
    std::shared_ptr<FrmGPIO> gpioScreenModel();
    bool hasMainWindow() const { return main_ != nullptr; }
    bool hasGpioScreen() const { return gpio_ != nullptr; }

    // Closing the GPIO screen destroys its controls; GpioState lives on, and the next
    // reference loads a fresh screen.
    void unloadGpioScreen() { gpio_.reset(); }

    // Script windows, any number. A new one is created but not loaded: its view shows it
    // first, then runs its Form_Load, which asks for a script file at once.
    std::shared_ptr<FrmScriptOps> newScriptWindow();
    // Lets go of a closed script window; a handler still running on it keeps it alive.
    void closeScriptWindow(const FrmScriptOps& window);
    const std::vector<std::shared_ptr<FrmScriptOps>>& scriptWindows() const { return scripts_; }

private:
    std::vector<std::shared_ptr<FrmScriptOps>> scripts_;
    std::shared_ptr<FrmI2CGeneral> main_;
    std::shared_ptr<FrmGPIO> gpio_;
};

}  // namespace i2cbridge
