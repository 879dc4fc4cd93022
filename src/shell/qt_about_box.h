#pragma once

#include <memory>

class QWidget;

namespace i2cbridge {

class Workbench;
class SystemInfoLauncher;

// Shows the About box modeless; a second call shows the one that is already open. OK closes
// and destroys it, so the next call loads a fresh one. The box must be gone before the
// Workbench is.
void ShowAboutBox(Workbench& wb);
// The same with the given launcher for "System Info..." instead of the platform's.
void ShowAboutBox(Workbench& wb, std::unique_ptr<SystemInfoLauncher> launcher);

// The open About box of this workbench, or nullptr.
QWidget* FindAboutBox(Workbench& wb);

}  // namespace i2cbridge
