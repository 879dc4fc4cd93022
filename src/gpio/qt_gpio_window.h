#pragma once

class QWidget;

namespace i2cbridge {

class Workbench;

// Shows the GPIO screen modeless, creating its window if needed; a second call raises the open
// one. The window binds to the model the Workbench already has (the main window's start-up
// write creates one without a window) or creates it. Closing the window unloads the model and
// destroys the window; GpioState lives on. The window must be gone before the Workbench is.
void ShowGpioWindow(Workbench& wb);

// The open GPIO window of this workbench, or nullptr.
QWidget* FindGpioWindow(Workbench& wb);

}  // namespace i2cbridge
