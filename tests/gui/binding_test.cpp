// What the generic binders add beyond the window tables: Windows-1252 text, a widget with no
// window, the keypad's Enter and a click let go beside the widget. Also the program's pump.

#include "gui/gui_test.h"
#include "qt/qt_ports.h"
#include "usb/simulated_board.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

TEST(Binding, TextBoxesKeepWindows1252AndAWidgetWithoutParentNeverOpensAsAWindow) {
    TextBox model("Phase 90\xB0");
    QLineEdit box;
    bind::text(model, &box);
    EXPECT_EQ(box.text(), "Phase 90°");
    QTest::keyClicks(&box, " µs");
    EXPECT_EQ(model.text(), "Phase 90\xB0 \xB5s");
    model.setVisible(false);
    model.setVisible(true);
    EXPECT_FALSE(box.isVisible());
}

TEST(Binding, EnterGivesCode13AndAClickNeedsPressAndReleaseOverTheWidget) {
    QWidget window;
    window.resize(200, 100);
    auto* box = new QLineEdit(&window);
    box->setGeometry(10, 10, 60, 24);
    QList<int> keys;
    int clicks = 0;
    bind::onEnter(box, [&keys](int& key) { keys << key; });
    bind::onClick(box, [&clicks] { ++clicks; });
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::keyClicks(box, "7F");
    QTest::keyClick(box, Qt::Key_Enter);  // the keypad's
    EXPECT_EQ(keys, QList<int>{13});
    QTest::mouseClick(box, Qt::RightButton);  // and a left press let go beside the box
    QTest::mousePress(box, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseRelease(box, Qt::LeftButton, {}, QPoint(150, 60));
    EXPECT_EQ(clicks, 0);
}

// A yield always delivers the board's attach and detach, and runs Qt's events only when the
// last yield that ran them ended at least the interval ago, so that a run does not repaint at
// every yield while clicks still get through.
TEST(QtPump, YieldRunsQtEventsOnlyAfterAQuietSpell) {
    const struct {
        const char* name;
        int firstYieldTakesMs, gapMs;  // how long the first yield's events run; then the gap
        bool qtEventsRun;
    } rows[] = {
        {"right after", 0, 0, false},
        {"just inside the interval", 0, 4, false},
        {"at the interval", 0, 5, true},
        {"counted from the end of a slow repaint", 10, 1, false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        QtPump::Clock::time_point now{};
        SimulatedBoard board;
        QtPump pump(board, [&now] { return now; });
        int attaches = 0;
        DriverEvents events;
        events.attach = [&attaches](UsbDeviceHandle, const UsbDeviceInfo&) { return ++attaches; };
        UsbDriverHandle handle = 0;
        ASSERT_EQ(board.init(handle, MatchEntry{BoardVendorId, BoardProductId}, events), 0);
        bool ran = false;
        int takesMs = r.firstYieldTakesMs;
        const auto post = [&] {
            QTimer::singleShot(0, [&] { ran = true, now += std::chrono::milliseconds(takesMs); });
        };
        post();
        pump.yield();  // the very first yield runs Qt's events
        EXPECT_TRUE(ran);
        ran = false, takesMs = 0;
        now += std::chrono::milliseconds(r.gapMs);
        post();
        board.unplug();
        board.plug();
        pump.yield();
        EXPECT_EQ(ran, r.qtEventsRun);
        EXPECT_EQ(attaches, 2);             // the board's news never waits
        now += QtPump::kFullYieldInterval;  // what waited runs after the interval
        pump.yield();
        EXPECT_TRUE(ran);
    }
}
