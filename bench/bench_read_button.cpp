// What the user feels on pressing READ in the single-byte panel in automatic mode: the press
// and release go through the Qt event loop (offscreen) to the main window on the built-in
// board, whose handler opens the connection (10,000 yields, each running Qt's pending events),
// reads the register and closes again. The goal is under 10 ms a press.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QEventLoop>
#include <QMouseEvent>
#include <QPushButton>

#include "app/program.h"
#include "bench_ports.h"
#include "qt/qt_main_window.h"
#include "qt/qt_ports.h"
#include "main_window/frm_i2c_general.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge {
namespace {

QApplication& App() {
    return BenchApp("bench_read_button");
}

void Post(QWidget* widget, QEvent::Type type) {
    const QPointF at = QRectF(widget->rect()).center();
    QApplication::postEvent(
        widget, new QMouseEvent(type, at, widget->mapToGlobal(at), Qt::LeftButton,
                                type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                                Qt::NoModifier));
}

void BM_ReadButtonAutomatic(benchmark::State& state) {
    App();
    SimulatedBoard board;
    QtPump pump(board);
    QtDialogs dialogs;
    Workbench wb(board, pump, dialogs);
    Program program(wb);
    MainWindowView view(program, true);
    view.show();
    QApplication::processEvents();
    board.model().setRecording(false);
    auto* read = view.control<QPushButton>(QStringLiteral("cmdRead"));

    QEventLoop loop;
    // Connected after the window's own connection, so it runs once the handler has returned.
    QObject::connect(read, &QPushButton::clicked, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    for (auto _ : state) {
        Post(read, QEvent::MouseButtonPress);
        Post(read, QEvent::MouseButtonRelease);
        loop.exec();
    }
    if (view.model().txtReadByte.text() == "--") state.SkipWithError("the read failed");
}
BENCHMARK(BM_ReadButtonAutomatic)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace i2cbridge
