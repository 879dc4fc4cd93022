#pragma once

// Windows that exist once per owner (the GPIO screen, the About box): where each kind keeps the
// one open window of an owner. The pointer clears itself when the window is destroyed.

#include <QPointer>
#include <QWidget>
#include <map>

namespace i2cbridge {

template <class Kind>
QPointer<QWidget>& WindowSlot(const void* owner) {
    static std::map<const void*, QPointer<QWidget>> windows;
    return windows[owner];
}

}  // namespace i2cbridge
