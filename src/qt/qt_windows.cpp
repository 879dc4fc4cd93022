#include "qt/qt_windows.h"

#include <exception>
#include <string>

#include "about/system_info_launcher.h"
#include "app/program.h"
#include "qt/qt_about_box.h"
#include "qt/qt_gpio_window.h"
#include "qt/qt_placement.h"
#include "qt/qt_script_window.h"
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
    for (const QPointer<QWidget>& script : scripts_) delete script.data();
}

void QtWindows::showGpioScreen() {
    QWidget* window = OpenWindow(gpio_);
    const bool wasOpen = window != nullptr;
    if (!window) {
        window = CreateGpioWindow(program);
        gpio_ = window;
        window->adjustSize();
        // Beside the main window rather than over it, so both can be watched.
        if (mainWindow && mainWindow->isVisible()) MoveBeside(*window, *mainWindow);
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

std::vector<QWidget*> QtWindows::scriptWindows() const {
    std::vector<QWidget*> open;
    for (const QPointer<QWidget>& window : scripts_) {
        auto* view = static_cast<ScriptWindowView*>(window.data());
        if (view && !view->closing()) open.push_back(view);
    }
    return open;
}

void QtWindows::showScriptWindow() {
    const std::vector<QWidget*> open = scriptWindows();
    if (open.empty()) {
        openScriptWindow();
    } else {
        Present(open.front(), true);
    }
}

void QtWindows::openAnotherScriptWindow() {
    openScriptWindow();
}

void QtWindows::openScriptWindow() {
    std::erase_if(scripts_, [](const QPointer<QWidget>& w) { return w.isNull(); });
    auto* view = new ScriptWindowView(program, program.newScriptWindow());
    scripts_.emplace_back(view);
    Present(view, false);
    try {
        view->load();
    } catch (const std::exception& e) {
        program.wb.dialogs.messageBox(std::string("Script Load Error ") + e.what(), kAppTitle,
                                      Dialogs::Buttons::Ok);
    }
}

}  // namespace i2cbridge
