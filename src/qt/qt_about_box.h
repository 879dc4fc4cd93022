#pragma once

#include <memory>

class QWidget;

namespace i2cbridge {

class Workbench;
class SystemInfoLauncher;

// A new About box with its own model, loaded (see QtWindows).
QWidget* CreateAboutBox(Workbench& wb, std::unique_ptr<SystemInfoLauncher> launcher);

}  // namespace i2cbridge
