// The GPIO window's binding: clicks reach the model's handlers and its changes repaint the
// widgets; the window's life follows the model's, also when it is closed inside a handler; it
// opens beside the main window.

#include "foundation/colors.h"
#include "gpio/frm_gpio.h"
#include "gui/gui_test.h"
#include "qt/qt_placement.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

namespace {

struct GpioWindow : Gui {
    GpioWindow() {
        rig.clearSent();
        windows->showGpioScreen();
    }
    QWidget* window() { return windows->gpioWindow(); }
    QString read(const char* name, Shows what = Shows::Text) {
        return Read(Child(window(), name), what);
    }
};

struct GpioWindowTest : ::testing::Test, GpioWindow {};

}  // namespace

TEST(GpioWindow, WidgetsFollowTheModelAndTheUsersClicksReachIt) {
    struct Row {
        const char* steps;
        const char* widget;
        QString shown;
        Shows what = Shows::Text;
    };
    const Row rows[] = {
        {"", "txtPCHexData(1)", "FF"},  // the start-up's read-back
        {"click:ChkBData(3)", "txtPCHexData(0)", "F7"},
        {"click:chkOutEnc(0)", "ChkCData(0)", "enabled", Shows::Enabled},
        {"click:cmdGPIO_Write", "shpGpioWr(4)", LampColor(qb::kGreen).name(), Shows::Color},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.steps);
        GpioWindow t;
        t.rig.board.model().gpio().pcInputs = 0x00;
        Do(t.window(), r.steps);
        EXPECT_EQ(t.read(r.widget, r.what), r.shown);
    }
}

// A second show raises the open window, which shows the model the start-up made (the
// communications test drives it too); a disabled box takes no click.
TEST_F(GpioWindowTest, ShowBindsTheLiveModel) {
    QWidget* first = window();
    windows->showGpioScreen();
    EXPECT_EQ(window(), first);
    EXPECT_EQ(VisibleWindowsNamed("frmGPIO"), 1);
    Do(window(), "click:chkOutEnc(0);click:chkOutEnc(0);click:ChkCData(0)");
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFF);
    rig.gpio().setChecked(rig.gpio().ChKLedData[0], false, &FrmGPIO::ChKLedData_Click, 0);
    EXPECT_EQ(read("ChKLedData(0)", Shows::Checked), "off");
}

TEST_F(GpioWindowTest, CloseUnloadsTheModelAndTheNextShowLoadsAFreshOne) {
    for (bool destroyFirst : {true, false}) {
        SCOPED_TRACE(destroyFirst);
        windows->showGpioScreen();
        Do(window(), "click:ChkBData(3);click:chkOutEn(0)");
        std::weak_ptr<FrmGPIO> model = rig.program->gpioScreenModel();
        QPointer<QWidget> old = window();
        old->close();
        EXPECT_FALSE(rig.program->hasGpioScreen());
        if (destroyFirst) DestroyClosedWindows();
        windows->showGpioScreen();
        DestroyClosedWindows();
        EXPECT_TRUE(old.isNull() && model.expired() && window());
        // The fresh window drives the live model; the port data stays with the workbench.
        EXPECT_EQ(read("chkOutEn(0)", Shows::Checked), "off");
        EXPECT_EQ(read("txtPCHexData(0)"), "F7");
        Do(window(), "click:ChkBData(3)");
        window()->close();
        DestroyClosedWindows();
    }
}

// The user closes the window at the write's first yield, which runs pending events as the
// program's yield does: the write finishes, then window and model go.
TEST_F(GpioWindowTest, ClosingWhileAWriteYieldsLetsTheWriteFinish) {
    QPointer<QWidget> w = window();
    std::weak_ptr<FrmGPIO> model = rig.program->gpioScreenModel();
    bool aliveInsideTheWrite = false;
    rig.pump.atYield(0, [&] {
        w->close();
        QCoreApplication::processEvents();
        aliveInsideTheWrite = !w.isNull() && !model.expired();
    });
    QEventLoop loop;
    QTimer::singleShot(0, [&] {
        Do(w, "click:cmdGPIO_Write");
        loop.quit();
    });
    loop.exec();
    EXPECT_TRUE(aliveInsideTheWrite);
    EXPECT_EQ(rig.sent().size(), 1u);
    EXPECT_FALSE(rig.program->hasGpioScreen());
    DestroyClosedWindows();
    EXPECT_TRUE(w.isNull() && model.expired());
}

// The GPIO window opens beside the main window, and on the screen where there is no room.
TEST(GpioWindow, PlacementBesideTheMainWindow) {
    const QRect screen(0, 0, 1000, 800);
    const struct {
        QRect anchor;
        QSize size;
        QPoint at;
    } cases[] = {
        {{0, 0, 600, 500}, {300, 400}, {600, 0}},        // to the right
        {{500, 100, 400, 300}, {300, 200}, {200, 100}},  // no room right: to the left
        {{100, 0, 800, 700}, {300, 200}, {700, 0}},      // no room either side: on the area
        {{0, 700, 400, 100}, {300, 200}, {400, 600}},    // pushed up onto the area
    };
    for (const auto& c : cases) EXPECT_EQ(PlaceBeside(c.anchor, c.size, screen), c.at);
}
