#pragma once

namespace i2cbridge {

class Workbench;

// Shows the About box modeless; a second call shows the one that is already open.
void ShowAboutBox(Workbench& wb);

}  // namespace i2cbridge
