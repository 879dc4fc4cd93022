// The main window's binding on the simulated board: each kind of widget shows its control
// model, and each kind of user action reaches the model's handlers.

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
    std::string opened;  // the windows it asked for: GPIO, About, script, the end
    TempDir dir;

    ShownWindow() {
        rig.wb->windows.showGpioScreen = [this] { opened += 'g'; };
        rig.wb->windows.showAbout = [this] { opened += 'a'; };
        rig.wb->windows.showScriptWindow = [this] { opened += 's'; };
        rig.wb->windows.endProgram = [this] { opened += 'e'; };
        rig.dialogs.saveChoices.push_back(dir.file("trace.txt"));
        view.resize(view.fullSize());
        view.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
        rig.pump.yields = 0;
    }
    FrmI2CGeneral& m() { return view.model(); }
    // Do()'s steps, and "tab:INDEX" (a click on the tab), "activate", "close".
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
            } else {
                if (step.startsWith("key:")) QApplication::setActiveWindow(&view);
                Do(&view, step);
            }
        }
    }
    // What a widget (or an action) shows, or with "@" what the program did.
    QString read(const QString& name, Shows what = Shows::Text) {
        if (name.isEmpty()) return Read(&view, what);
        if (name == "@manual") return QString::number(rig.wb->usb.ManualUsbConnect);
        if (name == "@address") return QString::number(rig.wb->i2c.I2CWriteAddress, 16);
        if (name == "@opened")
            return QString("%1 %2%3")
                .arg(opened.c_str())
                .arg(rig.dialogs.openShown.size())
                .arg(rig.dialogs.saveShown.size());
        if (auto* action = view.findChild<QAction*>(name))
            return action->isEnabled() ? "on" : "off";
        if (name == "@tab")  // the model's tab, the widget's, and the handler's yields
            return QString("%1%2 %3")
                .arg(m().SSTab1.tab())
                .arg(Child<QTabWidget>(&view, "SSTab1")->currentIndex())
                .arg(rig.pump.yields);
        return Read(Child(&view, name), what);
    }
};

}  // namespace

// A change the model makes shows, and never runs the handler the user's change would run.
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
        {"cmdRead", [](auto& m) { m.cmdRead.setEnabled(false); }, Shows::Enabled, "disabled"},
        {"lblCommTest", [](auto& m) { m.lblCommTest.setBackColor(0x008000); }, Shows::Background,
         "#008000"},
        {"ChKManUsbConn", [](auto& m) { m.ChKManUsbConn.setChecked(true); }, Shows::Checked, "on"},
        {"@manual", [](auto& m) { m.ChKManUsbConn.setChecked(true); }, Shows::Text, "0"},
        {"@tab", [](auto& m) { m.SSTab1.setTab(1); }, Shows::Text, "11 0"},
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
        {"enter:txtI2CAdr=7", "txtI2CAdr", "07"},
        {"type:txtI2CAdr=a;blur:txtI2CAdr", "txtI2CAdr", "a"},
        {"type:txtI2CAdr=a;focus:txtI2CAdr", "@address", "a"},
        {"type:txtI2CAdr=3C;activate", "@address", "3c"},
        {"type:txtBWrite(5)=100;dclick:txtBWrite(5)", "txtBWrite(5)", "--"},
        {"type:txtUserRegAdr=02;click:cmdRead", "txtReadByte", "5A"},
        {"tab:1", "@tab", "11 2"},  // the tab handler yields twice
        {"menu:mnuGPIO;menu:frmAbout;menu:mnu_ScriptShow", "@opened", "gas 00"},
        {"key:Ctrl+O;key:Ctrl+S;key:Alt+A", "@opened", "a 11"},
        {"menu:mnuTraceStart", "mnuTraceStart", "off"},
        {"click:cmdUSBConnect;close", "", "shown", Shows::Visible},  // refused while connected
        {"close", "@opened", "e 00"},
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
    w.rig.wb->log.LogNote("DeviceDetach: Received detach\r\nfor device handle &H1");
    w.rig.wb->log.LogMessage("");
    EXPECT_EQ(Child<LogView>(&w.view, "Txtlog")->toPlainText(),
              QString::fromStdString(w.m().Txtlog.text()).remove('\r'));
    EXPECT_EQ(w.read("StatusMessage"), "DeviceDetach: Received detach for device handle &H1");
}

// A small window scrolls the register view by its bar, whose steps are the model's twips.
TEST(MainWindow, ScrollBarMovesTheRegisterView) {
    ShownWindow w;
    auto* vbar = Child<QScrollBar>(&w.view, "VScroll1");
    w.view.resize(700, 450);
    ASSERT_TRUE(QTest::qWaitFor([&] { return vbar->isVisible(); }));
    vbar->setValue(40);
    EXPECT_EQ(w.m().VScroll1.value(), 40 * kTwipsPerPixel);
    EXPECT_EQ(Child(&w.view, "pbinner")->y(), -40);
}
