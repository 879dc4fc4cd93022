#pragma once

#include <memory>

#include "foundation/controls.h"

namespace i2cbridge {

// A window model. The connection paints the attach lamp of whichever window is current; only
// the main window has one.
//
// A window may be closed while one of its own handlers waits in a yield. The program that owns
// the windows lets go of a closed one at once; a handler that yields holds on to its window
// with keepAlive(), so the model is freed when the last such handler returns.
class Form : public std::enable_shared_from_this<Form> {
public:
    virtual ~Form() = default;
    virtual Lamp* attachLamp() { return nullptr; }

    // Empty for a window that nobody shares (built on the stack by a test).
    std::shared_ptr<Form> keepAlive() { return weak_from_this().lock(); }
};

}  // namespace i2cbridge
