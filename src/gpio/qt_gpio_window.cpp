#include "gpio/qt_gpio_window.h"

// Placeholder until the GPIO window lands.
namespace i2cbridge {
void ShowGpioWindow(Workbench&) {}
}  // namespace i2cbridge
