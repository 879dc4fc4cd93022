// Pictures of the window program on a station with two boards (a reference with a serial
// number on port 1-2.3, a target without one on 1-4): the question which board to use, and the
// main window keeping to the answer, named in its title. Not a test; run it under the umockdev
// preload and a display:
//   LD_PRELOAD=libumockdev-preload.so.0 xvfb-run -a build/tests/e2e/several_boards_screenshots DIR
// It is built with the end-to-end tests, whose emulated board it uses.

// glib's headers name a field "signals", which Qt defines as a keyword: they come first.
#include "emulated_board.h"
// Then Qt.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QInputDialog>
#include <QPainter>
#include <QTimer>
#include <cstdio>

#include "qt/qt_main_window.h"
#include "qt/qt_program.h"

using namespace i2cbridge;

namespace {

// The window with its title drawn as a strip above it: under xvfb no window manager frames it.
bool SaveWithTitle(QWidget& window, const QString& path) {
    const QPixmap content = window.grab();
    constexpr int kStrip = 26;
    QImage picture(content.width(), content.height() + kStrip, QImage::Format_RGB32);
    picture.fill(window.palette().color(QPalette::Highlight));
    QPainter painter(&picture);
    painter.setPen(window.palette().color(QPalette::HighlightedText));
    painter.drawText(QRect(8, 0, content.width() - 16, kStrip), Qt::AlignVCenter | Qt::AlignLeft,
                     window.windowTitle());
    painter.drawPixmap(0, kStrip, content);
    painter.end();
    return picture.save(path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: several_boards_screenshots DIR\n");
        return 2;
    }
    testing::EmulatedBoardConfig ref, target;
    ref.port = "1-2.3";
    ref.serial = "REF-0001";
    target.port = "1-4";
    testing::EmulatedBoard refBoard(ref), targetBoard(target);

    QApplication app(argc, argv);
    const QDir dir(QString::fromLocal8Bit(argv[1]));
    QtProgram program(CommandLine{});
    bool saved = true;
    // The question is a modal dialog: picture it from inside its own loop, then pick the target.
    QTimer::singleShot(500, [&] {
        auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            saved = false;
            return;
        }
        saved = SaveWithTitle(*dialog, dir.filePath(QStringLiteral("choose-board.png")));
        dialog->setTextValue(dialog->comboBoxItems().value(1));
        dialog->accept();
    });
    if (!program.chooseBoard() || program.start()) return 1;
    QTimer::singleShot(1000, [&] {
        saved = saved && SaveWithTitle(program.mainWindow(),
                                       dir.filePath(QStringLiteral("main-window-board.png")));
        QApplication::quit();
    });
    QApplication::exec();
    std::printf("%s\n", program.mainWindow().windowTitle().toUtf8().constData());
    return saved ? 0 : 1;
}
