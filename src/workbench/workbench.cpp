#include "workbench/workbench.h"

namespace i2cbridge {

Workbench::Workbench(BoardDriver& d, UiPump& p, Dialogs& dl)
    : driver(d), pump(p), dialogs(dl), log(p, colors), usb(d, p, log, colors) {}

}  // namespace i2cbridge
