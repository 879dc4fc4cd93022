#include "shell/qt_about_box.h"

// Placeholder until the About box lands.
namespace i2cbridge {
void ShowAboutBox(Workbench&) {}
}  // namespace i2cbridge
