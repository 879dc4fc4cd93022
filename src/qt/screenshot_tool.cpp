// i2cbridge-screenshots DIR: pictures of the main window for the docs, taken on the built-in
// simulated board: as it starts, with the connection open, a refused close in the status bar,
// the log page, a window too small for the register view, at 1366x768 (the register table
// scrolls, its buttons stay), the GPIO screen opened beside it, and a register table loaded
// from the example definitions file. A tool of the source tree, not installed.

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QScreen>
#include <QTimer>
#include <cstdio>
#include <string>

#include "main_window/frm_i2c_general.h"
#include "qt/qt_main_window.h"
#include "qt/qt_program.h"

using namespace i2cbridge;

namespace {

void Settle() {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

bool Save(QWidget& window, const QDir& dir, const char* name) {
    Settle();
    const QString path = dir.filePath(QLatin1String(name));
    if (window.grab().save(path)) return true;
    std::fprintf(stderr, "i2cbridge-screenshots: could not write %s\n", qPrintable(path));
    return false;
}

int SaveScreenshots(QtProgram& program, const QDir& dir) {
    MainWindowView& view = program.mainWindow();
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
    // The window as it opens on a 1366x768 screen, less the window manager's title bar, borders
    // and a panel.
    view.resize(full.boundedTo(QSize(1366 - 16, 768 - 48 - 32)));
    ok = Save(view, dir, "main-1366x768.png") && ok;
    view.resize(900, full.height());
    m.mnuGPIO_Click();
    Settle();
    const QString both = dir.filePath(QStringLiteral("gpio-beside-main.png"));
    if (!view.screen()->grabWindow(0).save(both)) {
        std::fprintf(stderr, "i2cbridge-screenshots: could not write %s\n", qPrintable(both));
        ok = false;
    }
    if (QWidget* gpio = program.windows.gpioWindow()) gpio->close();
    view.resize(full);

    // A register table loaded from the example definitions file, written and read back.
    const QString example = QDir(QStringLiteral(I2CB_SOURCE_DIR))
                                .filePath(QStringLiteral("docs/examples/video_mux.qrl"));
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
    if (argc != 2 || argv[1][0] == '-') {
        std::fputs(
            "Usage: i2cbridge-screenshots DIR\n"
            "Saves pictures of the main window on the simulated board into DIR.\n",
            stderr);
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QDir dir(folder);
    if (!dir.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "i2cbridge-screenshots: cannot create the folder %s\n", argv[1]);
        return 1;
    }
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QApplication::setApplicationName(QLatin1String(kAppTitle));
    CommandLine options;
    options.simulate = true;
    QtProgram program(options);
    program.start();
    QTimer::singleShot(300, &program.mainWindow(),
                       [&program, dir] { QApplication::exit(SaveScreenshots(program, dir)); });
    return app.exec();
}
