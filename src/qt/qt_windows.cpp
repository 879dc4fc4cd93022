#include "qt/qt_windows.h"

#include "about/system_info_launcher.h"
#include "app/program.h"
#include "qt/qt_about_box.h"
#include "qt/qt_gpio_window.h"
#include "qt/qt_system_info_launcher.h"

namespace i2cbridge {

namespace {
// A window that was closed but not yet destroyed is on its way out; it is not reused.
QWidget* OpenWindow(const QPointer<QWidget>& window) {
    return window && window->isVisible() ? window.data() : nullptr;
}

void Present(QWidget* window, bool wasOpen) {
    window->show();
    if (wasOpen) {
        window->raise();
        window->activateWindow();
    }
}
}  // namespace

QtWindows::QtWindows(Program& p) : program(p) {}

QtWindows::~QtWindows() {
    delete gpio_.data();
    delete about_.data();
}

void QtWindows::showGpioScreen() {
    QWidget* window = OpenWindow(gpio_);
    const bool wasOpen = window != nullptr;
    if (!window) {
        window = CreateGpioWindow(program);
        gpio_ = window;
        window->adjustSize();
    }
    Present(window, wasOpen);
}

void QtWindows::showAbout(std::unique_ptr<SystemInfoLauncher> launcher) {
    QWidget* box = OpenWindow(about_);
    const bool wasOpen = box != nullptr;
    if (!box) {
        if (!launcher) launcher = std::make_unique<QtSystemInfoLauncher>();
        box = CreateAboutBox(program.wb, std::move(launcher));
        about_ = box;
        box->adjustSize();
        box->setFixedSize(box->size());
    }
    Present(box, wasOpen);
}

}  // namespace i2cbridge
