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

// A window that something outside it remembers (the connection's current window). It never
// keeps the window alive and reads as empty once the window is gone, so a closed window can
// never be reached through it. A window that nobody shares cannot be remembered.
class FormRef {
public:
    FormRef& operator=(Form* form) {
        form_ = form != nullptr ? form->weak_from_this() : std::weak_ptr<Form>{};
        return *this;
    }
    // The window while it is open, held for as long as the caller keeps the result.
    std::shared_ptr<Form> lock() const { return form_.lock(); }

private:
    std::weak_ptr<Form> form_;
};

}  // namespace i2cbridge
