#pragma once

// Helpers for the Qt window tests: finding a window's controls, destroying closed windows,
// and counting the visible windows of a kind.

#include <QtTest>
#include <QtWidgets>

namespace i2cbridge::testing {

// The control of that object name inside the window; a missing one ends the test program.
template <class W = QWidget>
W* Child(QWidget* window, const QString& name) {
    W* w = window ? window->findChild<W*>(name) : nullptr;
    if (!w) qFatal("no widget %s", qPrintable(name));
    return w;
}

// Runs the deferred deletes that closing a window posts.
inline void DestroyClosedWindows() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

inline int VisibleWindowsNamed(const QString& objectName) {
    int open = 0;
    for (QWidget* w : QApplication::topLevelWidgets())
        open += w->objectName() == objectName && w->isVisible();
    return open;
}

}  // namespace i2cbridge::testing
