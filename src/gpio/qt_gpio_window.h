#pragma once

namespace i2cbridge {

class Workbench;

// Shows the GPIO screen modeless, creating its window (and loading its model) if needed.
// Closing the window unloads the model; GpioState lives on.
void ShowGpioWindow(Workbench& wb);

}  // namespace i2cbridge
