// The main window on the simulated board, offscreen: user actions reach the handlers through
// the widgets, and what the handlers change shows in the widgets.

#include <QtTest/qtestspontaneevent.h>

#include <QtTest>
#include <QtWidgets>

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "qt/qt_binding.h"
#include "qt/qt_log_view.h"
#include "qt/qt_main_window.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

using namespace i2cbridge;
using i2cbridge::testing::Rig;

namespace {

const QColor kLightGreen(0, 255, 0);
const QColor kGreen(0, 128, 0);
const QColor kLightRed(255, 0, 0);

// A rig with the main window shown on it.
struct ShownWindow {
    Rig rig;
    MainWindowView view{*rig.program, true};
    int gpioShown = 0, aboutShown = 0, scriptShown = 0, ended = 0;

    ShownWindow() {
        rig.wb->windows.showGpioScreen = [this] { ++gpioShown; };
        rig.wb->windows.showAbout = [this] { ++aboutShown; };
        rig.wb->windows.showScriptWindow = [this] { ++scriptShown; };
        rig.wb->windows.endProgram = [this] { ++ended; };
        view.resize(view.fullSize());
        view.show();
    }
    bool exposed() { return QTest::qWaitForWindowExposed(&view); }
    FrmI2CGeneral& m() { return view.model(); }
    template <class W = QWidget>
    W* c(const QString& name) {
        return view.control<W>(name);
    }
    QColor lamp(const QString& name) { return c<LampWidget>(name)->color(); }
    QLineEdit* box(const QString& name) { return c<QLineEdit>(name); }
    QString text(const QString& name) { return box(name)->text(); }
    bool shown(const QString& name) { return c(name)->isVisible(); }
    QString logShown() { return c<LogView>("Txtlog")->toPlainText(); }
    QString statusShown() { return c<QLabel>("StatusMessage")->text(); }
    void click(const QString& name) { QTest::mouseClick(c<QPushButton>(name), Qt::LeftButton); }
    void type(const QString& name, const QString& typed, bool enter = false) {
        QLineEdit* edit = box(name);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, typed);
        if (enter) QTest::keyClick(edit, Qt::Key_Return);
    }
    long yieldsSince(long before) const { return rig.pump.yields - before; }
};

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void usbConnectAndDisconnectPaintTheConnectionArea() {
        ShownWindow w;
        QVERIFY(w.exposed());
        w.click("cmdUSBConnect");
        QVERIFY(w.rig.wb->usb.UsbOpen);
        QCOMPARE(w.lamp("shpUSBCon(0)"), kLightGreen);
        // The handle in decimal with the blank where a sign would be.
        QCOMPARE(w.text("txthDriver"), QString::fromStdString(DecText(w.rig.wb->usb.DriverHandle)));
        QVERIFY(w.text("txthDriver").startsWith(' '));
        QCOMPARE(QList<bool>({w.shown("cmdexit"), w.shown("cbNoc")}), QList<bool>({false, false}));
        // The log box shows the model's CR LF line ends as plain line breaks.
        QVERIFY(w.logShown().contains("attach for \nvendor ID &H"));
        QVERIFY(!w.logShown().contains('\r'));

        w.click("cmdUSBDisconnect");
        QVERIFY(!w.rig.wb->usb.UsbOpen);
        QCOMPARE(w.lamp("shpUSBCon(1)"), kLightGreen);
        QCOMPARE(w.text("txthDriver"), QStringLiteral("Closed"));
        QVERIFY(w.shown("cmdexit"));
        // The log lamp is the workbench's: an error with no board turns it red here too.
        w.rig.board.unplug();
        w.click("cmdUSBConnect");
        QCOMPARE(w.lamp("shpLogStatus"), kLightRed);
    }

    void closeIsRefusedWhileTheConnectionIsOpen() {
        ShownWindow w;
        w.click("cmdUSBConnect");
        QVERIFY(!w.view.close());
        QVERIFY(w.view.isVisible());
        QCOMPARE(w.ended, 0);
        // Seen in the status bar without the log page.
        QCOMPARE(w.statusShown(), QStringLiteral("Form will not close until USB Connection is "
                                                 "closed. Click USB Disconnect"));
        QVERIFY(w.view.statusBar()->isVisible());
        w.click("cmdUSBDisconnect");
        QVERIFY(w.view.close());
        QCOMPARE(w.ended, 1);
    }

    void modelChangesRepaintTheirWidgets() {
        ShownWindow w;
        FrmI2CGeneral& m = w.m();
        QVERIFY(!w.shown("lblNak"));
        m.txtReadByte.setText("5A");
        m.Shape1[7].setColor(qb::kLightRed);
        m.Shape3.setVisible(true);
        m.lblNak.setVisible(true);
        m.lblCommTest.setCaption("Good");
        m.lblCommTest.setBackColor(0x008000);
        m.ChKManUsbConn.setChecked(true);
        m.Caption.setCaption("mux.qrl - Quantrel I2CUSB");

        QCOMPARE(w.text("txtReadByte"), QStringLiteral("5A"));
        QCOMPARE(w.lamp("Shape1(7)"), kLightRed);
        QVERIFY(w.shown("Shape3") && w.shown("lblNak"));
        m.SSTab1.setTab(1);
        w.rig.wb->log.LogMessage("Already Opened");
        auto* result = w.c<QLabel>("lblCommTest");
        QCOMPARE(result->text(), QStringLiteral("Good"));
        QVERIFY(result->autoFillBackground());
        QCOMPARE(result->palette().color(QPalette::Window), kGreen);
        QVERIFY(w.c<QCheckBox>("ChKManUsbConn")->isChecked());
        QVERIFY(!w.rig.wb->usb.ManualUsbConnect);  // setting the box from code runs no handler
        QCOMPARE(w.view.windowTitle(),
                 QStringLiteral("mux.qrl - Quantrel I2CUSB [simulated board]"));
        QCOMPARE(w.c<QTabWidget>("SSTab1")->currentIndex(), 1);
        QVERIFY(w.logShown().endsWith("Already Opened :11-18-2026 17:05:09\n\n"));
    }

    void hiddenCellsKeepTheirPlaceInTheTable() {
        ShownWindow w;
        QVERIFY(w.exposed());
        const QList<QRect> before = {w.c("Shape1(20)")->geometry(),
                                     w.c("txtBWrite(20)")->geometry()};
        w.m().txtRdByte[20].setVisible(false);
        w.m().shpBwrite[20].setVisible(false);
        QApplication::processEvents();
        QVERIFY(!w.shown("txtRdByte(20)") && !w.shown("shpBwrite(20)"));
        QCOMPARE(QList<QRect>({w.c("Shape1(20)")->geometry(), w.c("txtBWrite(20)")->geometry()}),
                 before);
    }

    void typingReachesTheModel() {
        ShownWindow w;
        FrmI2CGeneral& m = w.m();
        w.type("Reg_Desc(3)", "Control, ch 2");
        w.type("txtI2CAdr", "3c");
        w.type("txtBWrite(30)", "A5");
        w.type("Reg_Adr(0)", "");  // emptied: the row is inactive from now on
        QCOMPARE((std::vector<std::string>{m.Reg_Desc[3].text(), m.txtI2CAdr.text(),
                                           m.txtBWrite[30].text(), m.Reg_Adr[0].text()}),
                 (std::vector<std::string>{"Control, ch 2", "3c", "A5", ""}));
        QTest::mouseClick(w.c<QCheckBox>("ChKManUsbConn"), Qt::LeftButton);
        QVERIFY(m.ChKManUsbConn.checked());
        QVERIFY(w.rig.wb->usb.ManualUsbConnect);  // the click handler ran after the state changed
    }

    void readOnlyBoxesTakeNoTyping() {
        ShownWindow w;
        for (const char* name : {"txtRdByte(4)", "txtReadByte", "txtTstReg(0)", "txthDriver"}) {
            const QString before = w.text(name);
            QTest::keyClicks(w.box(name), "12");
            QCOMPARE(w.text(name), before);
        }
        QCOMPARE(w.m().txtReadByte.text(), std::string("--"));
    }

    void clearLogEmptiesBothModelAndWidget() {
        ShownWindow w;
        QVERIFY(!w.logShown().isEmpty());  // the start-up probe's lines
        w.m().SSTab1.setTab(1);
        w.click("cmdClearLog");
        QVERIFY(w.m().Txtlog.text().empty() && w.logShown().isEmpty() && w.statusShown().isEmpty());
        w.rig.wb->log.LogMessage("Already Opened");
        QVERIFY(w.logShown().startsWith("Already Opened :"));
        QCOMPARE(w.statusShown(), QStringLiteral("Already Opened"));
        w.rig.wb->log.LogMessage("");  // a time stamp alone
        QCOMPARE(w.statusShown(), QStringLiteral("Already Opened"));
        w.rig.wb->log.LogNote("DeviceDetach: Received detach\r\nfor device handle &H1");
        QCOMPARE(w.statusShown(),
                 QStringLiteral("DeviceDetach: Received detach for device handle &H1"));
    }

    void tabClickRunsTheTabHandler() {
        ShownWindow w;
        QVERIFY(w.exposed());
        QTabBar* bar = w.c<QTabWidget>("SSTab1")->tabBar();
        const long yields = w.rig.pump.yields;
        QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
        QCOMPARE(w.m().SSTab1.tab(), 1);
        QCOMPARE(w.yieldsSince(yields), 2);  // the tab handler yields twice
        QVERIFY(w.shown("Txtlog"));
    }

    void menuItemsReachTheirHandlers() {
        ShownWindow w;
        auto trigger = [&w](const char* name) { w.c<QAction>(name)->trigger(); };
        for (const char* name : {"mnuGPIO", "frmAbout", "mnu_ScriptShow"}) trigger(name);
        QCOMPARE(QList<int>({w.gpioShown, w.aboutShown, w.scriptShown}), QList<int>({1, 1, 1}));
        QVERIFY(w.rig.program->hasGpioScreen());
        trigger("mnuScanBus");
        QCOMPARE(QString::fromStdString(w.rig.dialogs.messages.back().text),
                 QStringLiteral("Devices answering (write addresses): 40 60 A0"));
        QVERIFY(!w.rig.wb->usb.UsbOpen);

        // A trace from start to stop holds the frames of what ran between.
        i2cbridge::testing::TempDir dir;
        w.rig.dialogs.saveChoices.push_back(dir.file("trace.txt"));
        trigger("mnuTraceStart");
        QVERIFY(!w.c<QAction>("mnuTraceStart")->isEnabled());
        w.click("cmdRead");
        trigger("mnuTraceStop");
        QVERIFY(w.c<QAction>("mnuTraceStart")->isEnabled());
        QVERIFY(
            i2cbridge::testing::ReadBytes(dir.file("trace.txt")).find(" OUT 02 3/3 0 01 61 00\n") !=
            std::string::npos);

        // Save Log writes the log as shown, and every later entry goes to the file too.
        w.rig.dialogs.saveChoices.push_back(dir.file("program.log"));
        trigger("mnuSaveLog");
        w.click("cmdRead");
        QCOMPARE(i2cbridge::testing::ReadBytes(dir.file("program.log")), w.m().Txtlog.text());
        QVERIFY(w.m().Txtlog.text().find("Log saved to ") != std::string::npos);
    }

    void menusAnswerTheKeyboard() {
        ShownWindow w;
        QApplication::setActiveWindow(&w.view);
        QVERIFY(QTest::qWaitForWindowActive(&w.view));
        QTest::keyClick(&w.view, Qt::Key_O, Qt::ControlModifier);
        QTest::keyClick(&w.view, Qt::Key_S, Qt::ControlModifier);
        QTest::keyClick(&w.view, Qt::Key_A, Qt::AltModifier);
        QCOMPARE(QList<int>({int(w.rig.dialogs.openShown.size()),
                             int(w.rig.dialogs.saveShown.size()), w.aboutShown}),
                 QList<int>({1, 1, 1}));
        auto* file = w.c<QMenu>("mnuFileProcess");
        QTest::keyClick(&w.view, Qt::Key_F, Qt::AltModifier);
        QTRY_VERIFY(file->isVisible());
        file->close();
        QCOMPARE(file->title().remove(QLatin1Char('&')), QStringLiteral("File"));
    }

    void activationTakesTheI2CAddress() {
        ShownWindow w;
        w.m().txtI2CAdr.setText("3C");
        QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x60);
        QEvent activate(QEvent::WindowActivate);
        QApplication::sendEvent(&w.view, &activate);
        QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x3C);
        QCOMPARE(w.rig.wb->i2c.I2CReadAddress, 0x3D);
        QCOMPARE(w.rig.wb->usb.CurrentForm.lock().get(), static_cast<Form*>(&w.m()));
    }

    void fullSizeFitsEveryControlWithoutScrollBars() {
        ShownWindow w;
        QVERIFY(w.exposed());
        QTRY_COMPARE(w.view.size(), w.view.fullSize());
        QVERIFY(!w.shown("VScroll1") && !w.shown("HScroll1"));
        // The last rows lie inside the viewport.
        QWidget* viewport = w.c("pbouter");
        for (const char* name : {"Shape1(31)", "Shape1(15)"}) {
            QWidget* widget = w.c(name);
            const QRect inViewport(widget->mapTo(viewport, QPoint(0, 0)), widget->size());
            QVERIFY2(viewport->rect().contains(inViewport), name);
        }
    }

    void scrollBarsMoveTheRegisterView() {
        ShownWindow w;
        QVERIFY(w.exposed());
        auto* vbar = w.c<QScrollBar>("VScroll1");
        auto* hbar = w.c<QScrollBar>("HScroll1");
        QWidget* content = w.c("pbinner");
        FrmI2CGeneral& m = w.m();
        w.view.resize(700, 450);
        QTRY_VERIFY(vbar->isVisible());
        QVERIFY(hbar->isVisible());
        // The table scrolls; the buttons under it stay whole in sight, below the view.
        for (const char* name : {"cmdReadRegs", "cmdwriteAll", "cmdexit"}) {
            QWidget* button = w.c(name);
            const QRect inWindow(button->mapTo(&w.view, QPoint(0, 0)), button->size());
            QVERIFY2(button->isVisible() && w.view.rect().contains(inWindow), name);
            QVERIFY2(inWindow.top() >=
                         w.c("PbForm")->mapTo(&w.view, QPoint(0, 0)).y() + w.c("PbForm")->height(),
                     name);
        }
        QCOMPARE(vbar->maximum(), m.VScroll1.max() / kTwipsPerPixel);
        QCOMPARE(m.VScroll1.max(), m.pbinner.rect().height - m.pbouter.rect().height);
        // The bars sit on the right and bottom edges of the page, clear of the view.
        QCOMPARE(vbar->geometry().right() + 1, vbar->parentWidget()->width());
        QVERIFY(w.c("PbForm")->geometry().right() < vbar->geometry().left());

        vbar->setValue(40);
        QCOMPARE(m.VScroll1.value(), 40 * kTwipsPerPixel);
        QCOMPARE(content->y(), -40);
        const long yields = w.rig.pump.yields;
        hbar->setValue(30);
        QCOMPARE(content->x(), -30);
        QCOMPARE(w.yieldsSince(yields), 1);  // the horizontal handler yields first

        // The wheel over a cell scrolls the view the same way, down and back up. Only a wheel
        // event from the system goes on to the cell's parents.
        QWidget* cell = w.box("Reg_Desc(3)");
        auto wheel = [cell](int steps) {
            const QPointF at(5, 5);
            QWheelEvent event(at, cell->mapToGlobal(at), QPoint(), QPoint(0, 120 * steps),
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QSpontaneKeyEvent::setSpontaneous(&event);
            qApp->notify(cell, &event);
        };
        wheel(-1);
        QVERIFY(m.VScroll1.value() > 40 * kTwipsPerPixel);
        QCOMPARE(content->y(), -m.VScroll1.value() / kTwipsPerPixel);
        wheel(10);
        QCOMPARE(QList<int>({m.VScroll1.value(), content->y()}), QList<int>({0, 0}));

        // Grown back to full size: the bars go, and the view is not left scrolled.
        w.view.resize(w.view.fullSize());
        QTRY_VERIFY(!vbar->isVisible());
        QVERIFY(!hbar->isVisible());
        QCOMPARE(content->pos(), QPoint(0, 0));
    }

    void enterAndFocusLossReachTheEntryHandlers() {
        ShownWindow w;
        QVERIFY(w.exposed());
        w.type("txtI2CAdr", "7", true);
        QVERIFY(!w.m().lblCommTest.caption().empty());  // the communications test ran
        w.type("txtUserRegAdr", "zz", true);
        w.type("txtsbwr(0)", "1FF", true);
        w.type("txtBWrite(4)", "100", true);
        QCOMPARE(QStringList({w.text("txtI2CAdr"), w.text("txtUserRegAdr"), w.text("txtsbwr(0)"),
                              w.text("txtBWrite(4)")}),
                 QStringList({"07", "00", "--", "--"}));

        // Leaving the address box for another window leaves it as typed; for another box, commits.
        w.type("txtI2CAdr", "a");
        QFocusEvent otherWindow(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
        QApplication::sendEvent(w.box("txtI2CAdr"), &otherWindow);
        QCOMPARE(w.text("txtI2CAdr"), QStringLiteral("a"));
        QFocusEvent nextBox(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(w.box("txtI2CAdr"), &nextBox);
        QCOMPARE(w.text("txtI2CAdr"), QStringLiteral("0A"));
        QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x0A);
    }

    void clicksReachTheRowAndPanelHandlers() {
        ShownWindow w;
        QVERIFY(w.exposed());
        w.type("txtBWrite(5)", "100");
        QTest::mouseDClick(w.box("txtBWrite(5)"), Qt::LeftButton);
        QCOMPARE(w.text("txtBWrite(5)"), QStringLiteral("--"));
        // Register 2 of the device at 60 holds its identifier.
        QTest::mouseClick(w.box("txtRdByte(2)"), Qt::LeftButton);
        w.type("txtUserRegAdr", "02");
        w.click("cmdRead");
        QVERIFY(w.shown("lblNak"));
        w.click("Command7");
        w.click("cmdTestComm");
        QCOMPARE(QStringList({w.text("txtRdByte(2)"), w.text("txtReadByte"), w.text("txtBWrite(2)"),
                              w.c<QLabel>("lblCommTest")->text()}),
                 QStringList({"5A", "5A", "5A", "Good"}));
    }
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
