#pragma once

// Helpers for the Qt window tests: finding a window's controls, destroying closed windows,
// counting the visible windows of a kind, and saving pictures.

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

// Grabs the window whole; with I2CB_SCREENSHOT_DIR set, saves the picture there as `file`.
// False when the grab is not the window's size or the picture could not be saved.
inline bool SaveScreenshot(QWidget* w, const QString& file) {
    QCoreApplication::processEvents();
    const QPixmap shot = w->grab();
    if (shot.isNull() || shot.size() / shot.devicePixelRatio() != w->size()) return false;
    const QByteArray dir = qgetenv("I2CB_SCREENSHOT_DIR");
    return dir.isEmpty() || shot.save(QString::fromLocal8Bit(dir) + "/" + file);
}

}  // namespace i2cbridge::testing
