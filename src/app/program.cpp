#include "app/program.h"

#include <algorithm>

#include "app/transfer_trace.h"
#include "gpio/frm_gpio.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"

namespace i2cbridge {

Program::Program(Workbench& w) : wb(w) {
    wb.host = this;
    wb.startTrace = [&usb = wb.usb](const std::string& path, std::string& why) {
        return std::unique_ptr<RunningTrace>(TransferTrace::Start(usb, path, why));
    };
}

Program::~Program() {
    if (wb.host == this) wb.host = nullptr;
}

// The pointer is set before the load runs, so everything the load refers to finds the window
// that is loading instead of creating a second one.
std::shared_ptr<FrmI2CGeneral> Program::mainWindowModel() {
    if (!main_) {
        main_ = std::make_shared<FrmI2CGeneral>(wb);
        const auto keep = main_;
        keep->Form_Load();
    }
    return main_;
}

std::shared_ptr<FrmGPIO> Program::gpioScreenModel() {
    if (!gpio_) {
        gpio_ = std::make_shared<FrmGPIO>(wb);
        const auto keep = gpio_;
        keep->Form_Load();
    }
    return gpio_;
}

std::shared_ptr<FrmScriptOps> Program::newScriptWindow() {
    scripts_.push_back(std::make_shared<FrmScriptOps>(wb));
    return scripts_.back();
}

void Program::closeScriptWindow(const FrmScriptOps& window) {
    std::erase_if(scripts_, [&window](const auto& w) { return w.get() == &window; });
}

FrmI2CGeneral& Program::mainWindow() {
    return *mainWindowModel();
}

FrmGPIO& Program::gpioScreen() {
    return *gpioScreenModel();
}

}  // namespace i2cbridge
