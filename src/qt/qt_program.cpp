#include "qt/qt_program.h"

#include <QApplication>

#include "qt/qt_main_window.h"

namespace i2cbridge {

QtProgram::QtProgram(const CommandLine& cl)
    : options(cl),
      board(ChooseBoard(cl.simulate)),
      pump(*board.driver),
      wb(*board.driver, pump, dialogs),
      program(wb),
      windows(program),
      startup(windows, board.simulated != nullptr) {
    MatchBoard(wb.usb, board, options.vendorId, options.productId);
    wb.windows.showGpioScreen = [this] { windows.showGpioScreen(); };
    wb.windows.showAbout = [this] { windows.showAbout(); };
    wb.windows.showScriptWindow = [this] { windows.showScriptWindow(); };
    wb.windows.openAnotherScriptWindow = [this] { windows.openAnotherScriptWindow(); };
    wb.windows.endProgram = [] { QApplication::quit(); };
}

std::optional<std::string> QtProgram::start() {
    if (!options.logFile.empty()) {
        if (auto why = wb.log.streamTo(options.logFile)) return why;
    }
    startup.Form_Load();
    dialogs.parent = startup.mainWindow();
    return std::nullopt;
}

}  // namespace i2cbridge
