// The program: picks the board (on USB, or the built-in one with --simulate), builds the
// ports and the workbench, wires the window requests of the core to the Qt windows, and starts
// through the startup window.

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/board_choice.h"
#include "app/command_line.h"
#include "app/program.h"
#include "qt/qt_main_window.h"
#include "qt/qt_ports.h"
#include "qt/qt_startup_window.h"
#include "qt/qt_windows.h"
#include "main_window/frm_i2c_general.h"
#include "workbench/workbench.h"

using namespace i2cbridge;

namespace {

void Settle() {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

bool Save(QWidget& window, const QDir& dir, const char* name) {
    Settle();
    const QString path = dir.filePath(QLatin1String(name));
    if (window.grab().save(path)) return true;
    std::fprintf(stderr, "i2cbridge: could not write %s\n", qPrintable(path));
    return false;
}

// Pictures of the main window for the docs: as it starts, with the connection open, a refused
// close in the status bar, the log page, a window too small for the register view (scroll
// bars), and the GPIO screen opened beside it.
int SaveScreenshots(QtWindows& windows, MainWindowView& view, const QString& folder) {
    QDir dir(folder);
    if (!dir.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "i2cbridge: cannot create the folder %s\n", qPrintable(folder));
        return 1;
    }
    FrmI2CGeneral& m = view.model();
    bool ok = Save(view, dir, "main-general.png");
    m.cmdUSBConnect_Click();
    ok = Save(view, dir, "main-connected.png") && ok;
    view.close();  // refused while the connection is open
    ok = Save(view, dir, "main-status.png") && ok;
    m.cmdUSBDisconnect_Click();
    m.SSTab1.setTab(1);
    ok = Save(view, dir, "main-log.png") && ok;
    m.SSTab1.setTab(0);
    const QSize full = view.size();
    view.resize(760, 520);
    ok = Save(view, dir, "main-small.png") && ok;
    view.resize(900, full.height());
    m.mnuGPIO_Click();
    Settle();
    const QString both = dir.filePath(QStringLiteral("gpio-beside-main.png"));
    if (!view.screen()->grabWindow(0).save(both)) {
        std::fprintf(stderr, "i2cbridge: could not write %s\n", qPrintable(both));
        ok = false;
    }
    if (QWidget* gpio = windows.gpioWindow()) gpio->close();
    view.resize(full);

    // A register table loaded from the example definitions file, written and read back.
    const QString example = QDir(QCoreApplication::applicationDirPath())
                                .filePath(QStringLiteral("../docs/examples/video_mux.qrl"));
    if (QFileInfo::exists(example)) {
        m.cdldialog.setFileName(QFileInfo(example).canonicalFilePath().toStdString());
        m.Read_Param_File();
        m.cmdwriteAll_Click();
        m.cmdReadRegs_Click();
        ok = Save(view, dir, "main-registers.png") && ok;
    }
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const CommandLine options = CommandLine::Parse(args);
    if (!options.error.empty()) {
        std::fprintf(stderr, "i2cbridge: %s\n\n%s", options.error.c_str(),
                     UsageText("i2cbridge").c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(UsageText("i2cbridge").c_str(), stdout);
        return 0;
    }
    if (options.version) {
        std::fputs(VersionText("i2cbridge").c_str(), stdout);
        return 0;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QLatin1String(kAppTitle));

    const BoardChoice board = ChooseBoard(options.simulate);
    QtPump pump(*board.driver);
    QtDialogs dialogs;
    Workbench wb(*board.driver, pump, dialogs);
    MatchBoard(wb.usb, board, options.vendorId, options.productId);
    Program program(wb);
    QtWindows windows(program);

    wb.windows.showGpioScreen = [&windows] { windows.showGpioScreen(); };
    wb.windows.showAbout = [&windows] { windows.showAbout(); };
    wb.windows.showScriptWindow = [&windows] { windows.showScriptWindow(); };
    wb.windows.openAnotherScriptWindow = [&windows] { windows.openAnotherScriptWindow(); };
    wb.windows.endProgram = [] { QApplication::quit(); };

    StartupWindow startup(windows, board.simulated != nullptr);
    startup.Form_Load();
    MainWindowView& view = *startup.mainWindow();
    dialogs.parent = &view;

    if (!options.screenshotDir.empty()) {
        const QString folder = QString::fromStdString(options.screenshotDir);
        QTimer::singleShot(300, &view, [&windows, &view, folder] {
            QApplication::exit(SaveScreenshots(windows, view, folder));
        });
    }
    // The windows go before the models they show: `startup` and `windows` are destroyed
    // before `program` and `wb`.
    return app.exec();
}
