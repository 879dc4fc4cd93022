#pragma once

class QWidget;

namespace i2cbridge {

class Program;

// A new GPIO screen window over the Program's GPIO screen model (see QtWindows).
QWidget* CreateGpioWindow(Program& program);

}  // namespace i2cbridge
