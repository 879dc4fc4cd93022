#include "qt/qt_program.h"

#include <QApplication>
#include <QInputDialog>
#include <QStringList>

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
    MatchBoard(wb.usb, board, options.vendorId, options.productId, options.board);
    wb.windows.showGpioScreen = [this] { windows.showGpioScreen(); };
    wb.windows.showAbout = [this] { windows.showAbout(); };
    wb.windows.showScriptWindow = [this] { windows.showScriptWindow(); };
    wb.windows.openAnotherScriptWindow = [this] { windows.openAnotherScriptWindow(); };
    wb.windows.endProgram = [] { QApplication::quit(); };
}

bool QtProgram::chooseBoard() {
    // The built-in board is the only one there is; its title says so already.
    if (board.simulated && options.board.empty()) return true;
    const BoardPick pick = PickBoard(*board.driver, wb.usb.MatchTable, wb.usb.BoardId);
    std::string chosen = pick.id;
    if (pick.outcome == BoardPick::Several) {
        QStringList lines;
        for (const AttachedBoard& b : pick.boards) lines << QString::fromStdString(BoardLine(b));
        bool ok = false;
        const QString line = QInputDialog::getItem(
            nullptr, QLatin1String(kAppTitle),
            QStringLiteral("Several boards are attached. Which one should the program use?"), lines,
            0, false, &ok);
        if (!ok) return false;
        chosen = BoardIdOf(pick.boards[static_cast<std::size_t>(lines.indexOf(line))].identity);
    }
    if (chosen.empty()) return true;  // nothing attached yet: the first board that comes
    wb.usb.BoardId = chosen;
    std::string name = chosen;
    for (const AttachedBoard& b : pick.boards)
        if (BoardIdMatches(b.identity, chosen)) name = BoardName(b.identity);
    startup.setBoardName(QString::fromStdString(name));
    return true;
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
