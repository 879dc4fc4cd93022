#pragma once

// The first window of the program. It never shows itself: loading it hides it and brings up
// the main window. It stays loaded for the life of the program; its menu offers the device
// family (entries without an action) and the About box.

#include <QMainWindow>
#include <memory>

namespace i2cbridge {

class Program;
class QtWindows;
class MainWindowView;

class StartupWindow : public QMainWindow {
public:
    StartupWindow(QtWindows& windows, bool simulatedBoard);
    ~StartupWindow() override;

    // Hides this window, then creates the main window if needed and shows it.
    void Form_Load();
    MainWindowView* mainWindow() const { return main_.get(); }
    // How the main window's title names the chosen board; set before the load.
    void setBoardName(const QString& name) { board_ = name; }

private:
    QtWindows& windows_;
    bool simulated_;
    QString board_;
    std::unique_ptr<MainWindowView> main_;
};

}  // namespace i2cbridge
