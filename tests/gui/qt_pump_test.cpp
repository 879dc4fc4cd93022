// The program's pump: a yield always delivers the board's attach and detach, and runs Qt's
// events only when the last yield that ran them ended long enough ago, so that a run does not
// repaint the window at every yield while clicks still get through.

#include <QMetaObject>
#include <QObject>
#include <QtTest>
#include <chrono>

#include "qt/qt_ports.h"
#include "usb/simulated_board.h"

using namespace i2cbridge;
using std::chrono::milliseconds;

class QtPumpTest : public QObject {
    Q_OBJECT

private slots:
    void yieldRunsQtEventsOnlyAfterAQuietSpell_data();
    void yieldRunsQtEventsOnlyAfterAQuietSpell();
};

void QtPumpTest::yieldRunsQtEventsOnlyAfterAQuietSpell_data() {
    QTest::addColumn<int>("fullYieldTakesMs");  // how long the first yield's events run
    QTest::addColumn<int>("gapMs");             // from its end to the next yield
    QTest::addColumn<bool>("qtEventsRun");

    QTest::newRow("right after") << 0 << 0 << false;
    QTest::newRow("just inside the interval") << 0 << 4 << false;
    QTest::newRow("at the interval") << 0 << 5 << true;
    QTest::newRow("after a quiet spell") << 0 << 200 << true;
    QTest::newRow("counted from the end of a slow repaint") << 10 << 1 << false;
}

void QtPumpTest::yieldRunsQtEventsOnlyAfterAQuietSpell() {
    QFETCH(int, fullYieldTakesMs);
    QFETCH(int, gapMs);
    QFETCH(bool, qtEventsRun);

    QtPump::Clock::time_point now{};
    SimulatedBoard board;
    QtPump pump(board, [&now] { return now; });
    int attaches = 0;
    DriverEvents events;
    events.attach = [&attaches](UsbDeviceHandle, const UsbDeviceInfo&) { return ++attaches > 0; };
    UsbDriverHandle handle = 0;
    QCOMPARE(board.init(handle, MatchEntry{BoardVendorId, BoardProductId}, events), 0);

    QObject target;
    bool ran = false;
    auto post = [&](auto action) {
        QMetaObject::invokeMethod(&target, action, Qt::QueuedConnection);
    };

    // The very first yield runs Qt's events (and the slow one takes its time inside them).
    post([&] {
        ran = true;
        now += milliseconds(fullYieldTakesMs);
    });
    pump.yield();
    QVERIFY(ran);
    QCOMPARE(attaches, 1);

    ran = false;
    now += milliseconds(gapMs);
    post([&] { ran = true; });
    board.unplug();
    board.plug();
    pump.yield();
    QCOMPARE(ran, qtEventsRun);
    QCOMPARE(attaches, 2);  // the board's news never waits

    // Whatever was left waiting runs at the first yield after the interval.
    now += QtPump::kFullYieldInterval;
    pump.yield();
    QVERIFY(ran);
}

QTEST_MAIN(QtPumpTest)
#include "qt_pump_test.moc"
