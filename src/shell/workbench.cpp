#include "shell/workbench.h"

#include "gpio/frm_gpio.h"
#include "registers/frm_i2c_general.h"

namespace i2cbridge {

Workbench::Workbench(BoardDriver& d, UiPump& p, Dialogs& dl)
    : driver(d),
      pump(p),
      dialogs(dl),
      log(p, colors, [this]() -> LogPanel& { return mainWindow(); }),
      usb(d, p, log, colors) {}

Workbench::~Workbench() = default;

// The pointer is set before the load runs, so everything the load calls (the log above all)
// finds the window that is loading instead of creating a second one.
FrmI2CGeneral& Workbench::mainWindow() {
    if (!main_) {
        main_ = std::make_unique<FrmI2CGeneral>(*this);
        main_->Form_Load();
    }
    return *main_;
}

FrmGPIO& Workbench::gpioScreen() {
    if (!gpio_) {
        gpio_ = std::make_unique<FrmGPIO>(*this);
        gpio_->Form_Load();
    }
    return *gpio_;
}

void Workbench::unloadGpioScreen() {
    if (gpio_) retiredGpio_.push_back(std::move(gpio_));
}

}  // namespace i2cbridge
