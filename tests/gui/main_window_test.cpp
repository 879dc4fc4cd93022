// The main window's binding on the simulated board: each widget shows its control model, and
// what the user does reaches the model's handlers. Also the register view's scrolling.

#include <QtTest/qtestspontaneevent.h>

#include <functional>

#include "foundation/colors.h"
#include "gui/gui_test.h"
#include "qt/qt_log_view.h"
#include "qt/qt_main_window.h"
#include "support/temp_dir.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

namespace {

// A rig with the main window shown on it; the windows it would open are counted.
struct ShownWindow {
    Rig rig;
    MainWindowView view{*rig.program, true};
    int gpio = 0, about = 0, script = 0, ended = 0;
    TempDir dir;

    ShownWindow() {
        rig.wb->windows.showGpioScreen = [this] { ++gpio; };
        rig.wb->windows.showAbout = [this] { ++about; };
        rig.wb->windows.showScriptWindow = [this] { ++script; };
        rig.wb->windows.endProgram = [this] { ++ended; };
        rig.dialogs.saveChoices.push_back(dir.file("trace.txt"));
        view.resize(view.fullSize());
        view.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
        rig.pump.yields = 0;
    }
    FrmI2CGeneral& m() { return view.model(); }
    QWidget* c(const QString& name) { return Child(&view, name); }
    // Do()'s steps, and "tab:INDEX" (a click on the tab), "activate", "close", "unplug".
    void run(const QString& steps) {
        for (const QString& step : steps.split(';')) {
            if (step.startsWith("tab:")) {
                QTabBar* bar = Child<QTabWidget>(&view, "SSTab1")->tabBar();
                QTest::mouseClick(bar, Qt::LeftButton, {},
                                  bar->tabRect(step.mid(4).toInt()).center());
            } else if (step == "activate") {
                QEvent activate(QEvent::WindowActivate);
                QApplication::sendEvent(&view, &activate);
            } else if (step == "close") {
                view.close();
            } else if (step == "unplug") {
                rig.board.unplug();
            } else {
                if (step.startsWith("key:")) QApplication::setActiveWindow(&view);
                Do(&view, step);
            }
        }
    }
    // What a widget shows, or with "@" what the program did.
    QString read(const QString& name, Shows what = Shows::Text) {
        const auto& d = rig.dialogs;
        if (name.isEmpty()) return Read(&view, what);
        if (name == "@manual") return QString::number(rig.wb->usb.ManualUsbConnect);
        if (name == "@address")
            return QString("%1 %2 %3")
                .arg(rig.wb->i2c.I2CWriteAddress, 0, 16)
                .arg(rig.wb->i2c.I2CReadAddress, 0, 16)
                .arg(rig.wb->usb.CurrentForm.lock().get() == &m());
        if (name == "@opened")
            return QString("%1%2%3%4 %5%6")
                .arg(gpio)
                .arg(about)
                .arg(script)
                .arg(ended)
                .arg(d.openShown.size())
                .arg(d.saveShown.size());
        if (auto* action = view.findChild<QAction*>(name))
            return action->isEnabled() ? "on" : "off";
        if (name == "@message") return QString::fromStdString(d.messages.back().text);
        if (name == "@tab") return QString("%1 %2").arg(m().SSTab1.tab()).arg(rig.pump.yields);
        return Read(c(name), what);
    }
    QString logShown() { return Child<LogView>(&view, "Txtlog")->toPlainText(); }
};

}  // namespace

TEST(MainWindow, WidgetsShowTheirModels) {
    struct Row {
        const char* widget;  // "" is the window itself
        std::function<void(FrmI2CGeneral&)> change;
        Shows what;
        QString shown;
    };
    const Row rows[] = {
        {"txtReadByte", [](auto& m) { m.txtReadByte.setText("5A"); }, Shows::Text, "5A"},
        {"Shape1(7)", [](auto& m) { m.Shape1[7].setColor(qb::kLightRed); }, Shows::Color,
         "#ff0000"},
        {"Shape3", [](auto& m) { m.Shape3.setVisible(true); }, Shows::Visible, "shown"},
        {"lblNak", [](auto&) {}, Shows::Visible, "hidden"},
        {"txtRdByte(20)", [](auto& m) { m.txtRdByte[20].setVisible(false); }, Shows::Visible,
         "hidden"},
        {"cmdRead", [](auto& m) { m.cmdRead.setEnabled(false); }, Shows::Enabled, "disabled"},
        {"lblCommTest", [](auto& m) { m.lblCommTest.setCaption("Good"); }, Shows::Text, "Good"},
        {"lblCommTest", [](auto& m) { m.lblCommTest.setBackColor(0x008000); }, Shows::Background,
         "#008000"},
        {"ChKManUsbConn", [](auto& m) { m.ChKManUsbConn.setChecked(true); }, Shows::Checked, "on"},
        {"@manual", [](auto& m) { m.ChKManUsbConn.setChecked(true); }, Shows::Text, "0"},
        {"SSTab1", [](auto& m) { m.SSTab1.setTab(1); }, Shows::Index, "1"},
        {"@tab", [](auto& m) { m.SSTab1.setTab(1); }, Shows::Text, "1 0"},
        {"", [](auto& m) { m.Caption.setCaption("mux.qrl - Quantrel I2CUSB"); }, Shows::Text,
         "mux.qrl - Quantrel I2CUSB [simulated board]"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.widget);
        ShownWindow w;
        r.change(w.m());
        EXPECT_EQ(w.read(r.widget, r.what), r.shown);
    }
}

TEST(MainWindow, UserActionsReachTheHandlers) {
    struct Row {
        const char* steps;
        const char* widget;
        QString shown;
        Shows what = Shows::Text;
    };
    const Row rows[] = {
        {"click:ChKManUsbConn", "@manual", "1"},       // the handler runs after the state changed
        {"type:txtRdByte(4)=12", "txtRdByte(4)", ""},  // read-only boxes
        {"type:txtReadByte=12", "txtReadByte", "--"},
        {"enter:txtI2CAdr=7", "lblCommTest", "Fail"},
        {"enter:txtI2CAdr=7", "txtI2CAdr", "07"},
        {"enter:txtUserRegAdr=zz", "txtUserRegAdr", "00"},
        {"enter:txtsbwr(0)=1FF", "txtsbwr(0)", "--"},
        {"enter:txtBWrite(4)=100", "txtBWrite(4)", "--"},
        {"type:txtI2CAdr=a;blur:txtI2CAdr", "txtI2CAdr", "a"},
        {"type:txtI2CAdr=a;focus:txtI2CAdr", "@address", "a b 1"},
        {"type:txtI2CAdr=3C;activate", "@address", "3c 3d 1"},
        {"type:txtBWrite(5)=100;dclick:txtBWrite(5)", "txtBWrite(5)", "--"},
        {"click:txtRdByte(2);click:Command7", "txtBWrite(2)", "5A"},
        {"type:txtUserRegAdr=02;click:cmdRead", "txtReadByte", "5A"},
        {"click:cmdTestComm", "lblCommTest", "#008000", Shows::Background},
        {"click:cmdUSBConnect", "shpUSBCon(0)", "#00ff00", Shows::Color},
        {"click:cmdUSBConnect", "cmdexit", "hidden", Shows::Visible},
        {"click:cmdUSBConnect;click:cmdUSBDisconnect", "shpUSBCon(1)", "#00ff00", Shows::Color},
        {"click:cmdUSBConnect;click:cmdUSBDisconnect", "txthDriver", "Closed"},
        {"unplug;click:cmdUSBConnect", "shpLogStatus", "#ff0000", Shows::Color},
        {"tab:1", "@tab", "1 2"},  // the tab handler yields twice
        {"tab:1;click:cmdClearLog", "StatusMessage", ""},
        {"menu:mnuGPIO;menu:frmAbout;menu:mnu_ScriptShow", "@opened", "1110 00"},
        {"key:Ctrl+O;key:Ctrl+S;key:Alt+A", "@opened", "0100 11"},
        {"menu:mnuScanBus", "@message", "Devices answering (write addresses): 40 60 A0"},
        {"menu:mnuTraceStart", "mnuTraceStart", "off"},
        {"menu:mnuTraceStart;menu:mnuTraceStop", "mnuTraceStart", "on"},
        {"click:cmdUSBConnect;close", "StatusMessage",
         "Form will not close until USB Connection is closed. Click USB Disconnect"},
        {"click:cmdUSBConnect;close", "@opened", "0000 00"},
        {"close", "@opened", "0001 00"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.steps);
        ShownWindow w;
        w.run(r.steps);
        EXPECT_EQ(w.read(r.widget, r.what), r.shown);
    }
}

// The log page shows the model's text with plain line breaks, and the status bar its newest
// message on one line; an entry without a message leaves the status bar as it was.
TEST(MainWindow, LogPageAndStatusBarFollowTheLog) {
    ShownWindow w;
    w.run("click:cmdUSBConnect");
    w.rig.wb->log.LogMessage("Already Opened");
    EXPECT_EQ(w.logShown(), QString::fromStdString(w.m().Txtlog.text()).remove('\r'));
    EXPECT_EQ(w.read("StatusMessage"), "Already Opened");
    w.rig.wb->log.LogMessage("");
    EXPECT_EQ(w.read("StatusMessage"), "Already Opened");
    w.rig.wb->log.LogNote("DeviceDetach: Received detach\r\nfor device handle &H1");
    EXPECT_EQ(w.read("StatusMessage"), "DeviceDetach: Received detach for device handle &H1");
    EXPECT_TRUE(w.view.statusBar()->isVisible());
}

// A small window scrolls the register view by its bars (in twips) and by the wheel; grown
// back to full size, the bars go and the view is not left scrolled.
TEST(MainWindow, ScrollBarsAndWheelMoveTheRegisterView) {
    ShownWindow w;
    auto* vbar = Child<QScrollBar>(&w.view, "VScroll1");
    QWidget* content = w.c("pbinner");
    FrmI2CGeneral& m = w.m();
    w.view.resize(700, 450);
    ASSERT_TRUE(QTest::qWaitFor([&] { return vbar->isVisible(); }));
    EXPECT_EQ(vbar->maximum(), m.VScroll1.max() / kTwipsPerPixel);
    vbar->setValue(40);
    EXPECT_EQ(m.VScroll1.value(), 40 * kTwipsPerPixel);
    EXPECT_EQ(content->y(), -40);

    // Only a wheel event from the system goes on from the cell to its parents.
    QWidget* cell = w.c("Reg_Desc(3)");
    QWheelEvent wheel(QPointF(5, 5), cell->mapToGlobal(QPointF(5, 5)), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&wheel);
    qApp->notify(cell, &wheel);
    EXPECT_GT(m.VScroll1.value(), 40 * kTwipsPerPixel);
    EXPECT_EQ(content->y(), -m.VScroll1.value() / kTwipsPerPixel);

    w.view.resize(w.view.fullSize());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !vbar->isVisible(); }));
    EXPECT_EQ(content->pos(), QPoint(0, 0));
}
