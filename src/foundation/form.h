#pragma once

#include "foundation/controls.h"

namespace i2cbridge {

// A window model. The connection paints the attach lamp of whichever window is current; only
// the main window has one.
class Form {
public:
    virtual ~Form() = default;
    virtual Lamp* attachLamp() { return nullptr; }
};

}  // namespace i2cbridge
