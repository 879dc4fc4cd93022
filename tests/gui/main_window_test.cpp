// The main window on the simulated board, offscreen: user actions reach the handlers through
// the widgets, and what the handlers change shows in the widgets.

#include <QtTest/qtestspontaneevent.h>

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QtTest>
#include <memory>

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
    FrmI2CGeneral& m() { return view.model(); }
    QColor lamp(const QString& name) { return view.control<LampWidget>(name)->color(); }
    QLineEdit* box(const QString& name) { return view.control<QLineEdit>(name); }
    QPushButton* button(const QString& name) { return view.control<QPushButton>(name); }
    QString logShown() { return view.control<LogView>("Txtlog")->toPlainText(); }
    QString statusShown() { return view.control<QLabel>("StatusMessage")->text(); }
    void click(const QString& name) { QTest::mouseClick(button(name), Qt::LeftButton); }
    void type(const QString& name, const QString& text) {
        QLineEdit* edit = box(name);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
};

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private slots:
    void usbConnectAndDisconnectPaintTheConnectionArea();
    void closeIsRefusedWhileTheConnectionIsOpen();
    void modelChangesRepaintTheirWidgets();
    void hiddenCellsKeepTheirPlaceInTheTable();
    void typingReachesTheModel();
    void readOnlyBoxesTakeNoTyping();
    void clearLogEmptiesBothModelAndWidget();
    void tabClickRunsTheTabHandler();
    void menuItemsReachTheirHandlers();
    void menusAnswerTheKeyboard();
    void activationTakesTheI2CAddress();
    void fullSizeFitsEveryControlWithoutScrollBars();
    void scrollBarsMoveTheRegisterView();
    void enterAndFocusLossReachTheEntryHandlers();
    void clicksReachTheRowAndPanelHandlers();
};

void MainWindowTest::usbConnectAndDisconnectPaintTheConnectionArea() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));

    w.click("cmdUSBConnect");
    QVERIFY(w.rig.wb->usb.UsbOpen);
    QCOMPARE(w.lamp("shpUSBCon(0)"), kLightGreen);
    // The handle in decimal with the blank where a sign would be.
    QCOMPARE(w.box("txthDriver")->text(),
             QString::fromStdString(DecText(w.rig.wb->usb.DriverHandle)));
    QVERIFY(w.box("txthDriver")->text().startsWith(' '));
    QVERIFY(!w.button("cmdexit")->isVisible());
    QVERIFY(!w.button("cbNoc")->isVisible());
    // The log box shows the model's CR LF line ends as plain line breaks.
    QVERIFY(w.logShown().contains("attach for \nvendor ID &H"));
    QVERIFY(!w.logShown().contains('\r'));

    w.click("cmdUSBDisconnect");
    QVERIFY(!w.rig.wb->usb.UsbOpen);
    QCOMPARE(w.lamp("shpUSBCon(1)"), kLightGreen);
    QCOMPARE(w.box("txthDriver")->text(), QStringLiteral("Closed"));
    QVERIFY(w.button("cmdexit")->isVisible());

    // The log lamp is the workbench's: an error with no board turns it red here too.
    w.rig.board.unplug();
    w.click("cmdUSBConnect");
    QCOMPARE(w.lamp("shpLogStatus"), kLightRed);
}

void MainWindowTest::closeIsRefusedWhileTheConnectionIsOpen() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    w.click("cmdUSBConnect");
    QVERIFY(!w.view.close());
    QVERIFY(w.view.isVisible());
    QCOMPARE(w.ended, 0);
    // Seen in the status bar without the log page.
    QCOMPARE(
        w.statusShown(),
        QStringLiteral("Form will not close until USB Connection is closed. Click USB Disconnect"));
    QVERIFY(w.view.statusBar()->isVisible());

    w.click("cmdUSBDisconnect");
    QVERIFY(w.view.close());
    QCOMPARE(w.ended, 1);
}

void MainWindowTest::modelChangesRepaintTheirWidgets() {
    ShownWindow w;
    FrmI2CGeneral& m = w.m();

    m.txtReadByte.setText("5A");
    QCOMPARE(w.box("txtReadByte")->text(), QStringLiteral("5A"));

    m.Shape1[7].setColor(qb::kLightRed);
    QCOMPARE(w.lamp("Shape1(7)"), kLightRed);

    QVERIFY(!w.view.control<QLabel>("lblNak")->isVisible());
    m.Shape3.setVisible(true);
    m.lblNak.setVisible(true);
    QVERIFY(w.view.control<LampWidget>("Shape3")->isVisible());
    QVERIFY(w.view.control<QLabel>("lblNak")->isVisible());

    m.lblCommTest.setCaption("Good");
    m.lblCommTest.setBackColor(0x008000);
    auto* result = w.view.control<QLabel>("lblCommTest");
    QCOMPARE(result->text(), QStringLiteral("Good"));
    QVERIFY(result->autoFillBackground());
    QCOMPARE(result->palette().color(QPalette::Window), kGreen);

    m.ChKManUsbConn.setChecked(true);
    QVERIFY(w.view.control<QCheckBox>("ChKManUsbConn")->isChecked());
    QVERIFY(!w.rig.wb->usb.ManualUsbConnect);  // setting the box from code runs no handler

    m.Caption.setCaption("mux.qrl - Quantrel I2CUSB");
    QCOMPARE(w.view.windowTitle(), QStringLiteral("mux.qrl - Quantrel I2CUSB [simulated board]"));

    m.SSTab1.setTab(1);
    QCOMPARE(w.view.control<QTabWidget>("SSTab1")->currentIndex(), 1);

    w.rig.wb->log.LogMessage("Already Opened");
    QVERIFY(w.logShown().endsWith("Already Opened :11-18-2026 17:05:09\n\n"));
}

void MainWindowTest::hiddenCellsKeepTheirPlaceInTheTable() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    auto* readLamp = w.view.control<LampWidget>("Shape1(20)");
    auto* writeBox = w.box("txtBWrite(20)");
    const QRect lampBefore = readLamp->geometry();
    const QRect writeBefore = writeBox->geometry();

    w.m().txtRdByte[20].setVisible(false);
    w.m().shpBwrite[20].setVisible(false);
    QApplication::processEvents();
    QVERIFY(!w.box("txtRdByte(20)")->isVisible());
    QVERIFY(!w.view.control<LampWidget>("shpBwrite(20)")->isVisible());
    QCOMPARE(readLamp->geometry(), lampBefore);
    QCOMPARE(writeBox->geometry(), writeBefore);
}

void MainWindowTest::typingReachesTheModel() {
    ShownWindow w;
    FrmI2CGeneral& m = w.m();

    w.type("Reg_Desc(3)", "Control, ch 2");
    QCOMPARE(m.Reg_Desc[3].text(), std::string("Control, ch 2"));
    w.type("txtI2CAdr", "3c");
    QCOMPARE(m.txtI2CAdr.text(), std::string("3c"));
    w.type("txtBWrite(30)", "A5");
    QCOMPARE(m.txtBWrite[30].text(), std::string("A5"));
    w.type("Reg_Adr(0)", "");  // emptied: the row is inactive from now on
    QCOMPARE(m.Reg_Adr[0].text(), std::string());

    QTest::mouseClick(w.view.control<QCheckBox>("ChKManUsbConn"), Qt::LeftButton);
    QVERIFY(m.ChKManUsbConn.checked());
    QVERIFY(w.rig.wb->usb.ManualUsbConnect);  // the click handler ran after the state changed
}

void MainWindowTest::readOnlyBoxesTakeNoTyping() {
    ShownWindow w;
    for (const char* name : {"txtRdByte(4)", "txtReadByte", "txtTstReg(0)", "txthDriver"}) {
        const QString before = w.box(name)->text();
        QTest::keyClicks(w.box(name), "12");
        QCOMPARE(w.box(name)->text(), before);
    }
    QCOMPARE(w.m().txtReadByte.text(), std::string("--"));
}

void MainWindowTest::clearLogEmptiesBothModelAndWidget() {
    ShownWindow w;
    QVERIFY(!w.logShown().isEmpty());  // the start-up probe's lines
    w.m().SSTab1.setTab(1);
    w.click("cmdClearLog");
    QVERIFY(w.m().Txtlog.text().empty());
    QVERIFY(w.logShown().isEmpty());
    QVERIFY(w.statusShown().isEmpty());
    w.rig.wb->log.LogMessage("Already Opened");
    QVERIFY(w.logShown().startsWith("Already Opened :"));
    QCOMPARE(w.statusShown(), QStringLiteral("Already Opened"));
    w.rig.wb->log.LogMessage("");  // a time stamp alone
    QCOMPARE(w.statusShown(), QStringLiteral("Already Opened"));
    w.rig.wb->log.LogNote("DeviceDetach: Received detach\r\nfor device handle &H1");
    QCOMPARE(w.statusShown(),
             QStringLiteral("DeviceDetach: Received detach for device handle &H1"));
}

void MainWindowTest::tabClickRunsTheTabHandler() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    QTabBar* bar = w.view.control<QTabWidget>("SSTab1")->tabBar();
    const long yields = w.rig.pump.yields;
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
    QCOMPARE(w.m().SSTab1.tab(), 1);
    QCOMPARE(w.rig.pump.yields - yields, 2);  // the tab handler yields twice
    QVERIFY(w.view.control<LogView>("Txtlog")->isVisible());
}

void MainWindowTest::menuItemsReachTheirHandlers() {
    ShownWindow w;
    auto trigger = [&w](const char* name) { w.view.control<QAction>(name)->trigger(); };

    trigger("mnuGPIO");
    QCOMPARE(w.gpioShown, 1);
    QVERIFY(w.rig.program->hasGpioScreen());
    trigger("frmAbout");
    QCOMPARE(w.aboutShown, 1);
    trigger("mnu_ScriptShow");
    QCOMPARE(w.scriptShown, 1);

    trigger("mnuScanBus");
    QCOMPARE(QString::fromStdString(w.rig.dialogs.messages.back().text),
             QStringLiteral("Devices answering (write addresses): 40 60 A0"));
    QVERIFY(!w.rig.wb->usb.UsbOpen);

    // A trace from start to stop holds the frames of what ran between.
    i2cbridge::testing::TempDir dir;
    w.rig.dialogs.saveChoices.push_back(dir.file("trace.txt"));
    trigger("mnuTraceStart");
    QVERIFY(!w.view.control<QAction>("mnuTraceStart")->isEnabled());
    w.click("cmdRead");
    trigger("mnuTraceStop");
    QVERIFY(w.view.control<QAction>("mnuTraceStart")->isEnabled());
    const std::string trace = i2cbridge::testing::ReadBytes(dir.file("trace.txt"));
    QVERIFY(trace.find(" OUT 02 3/3 0 01 61 00\n") != std::string::npos);
}

void MainWindowTest::menusAnswerTheKeyboard() {
    ShownWindow w;
    QApplication::setActiveWindow(&w.view);
    QVERIFY(QTest::qWaitForWindowActive(&w.view));

    QTest::keyClick(&w.view, Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(w.rig.dialogs.openShown.size(), std::size_t{1});
    QTest::keyClick(&w.view, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(w.rig.dialogs.saveShown.size(), std::size_t{1});
    QTest::keyClick(&w.view, Qt::Key_A, Qt::AltModifier);
    QCOMPARE(w.aboutShown, 1);

    auto* file = w.view.control<QMenu>("mnuFileProcess");
    QTest::keyClick(&w.view, Qt::Key_F, Qt::AltModifier);
    QTRY_VERIFY(file->isVisible());
    file->close();
    QCOMPARE(file->title().remove(QLatin1Char('&')), QStringLiteral("File"));
}

void MainWindowTest::activationTakesTheI2CAddress() {
    ShownWindow w;
    w.m().txtI2CAdr.setText("3C");
    QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x60);
    QEvent activate(QEvent::WindowActivate);
    QApplication::sendEvent(&w.view, &activate);
    QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x3C);
    QCOMPARE(w.rig.wb->i2c.I2CReadAddress, 0x3D);
    QCOMPARE(w.rig.wb->usb.CurrentForm, static_cast<Form*>(&w.m()));
}

void MainWindowTest::fullSizeFitsEveryControlWithoutScrollBars() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    QTRY_COMPARE(w.view.size(), w.view.fullSize());
    QVERIFY(!w.view.control<QScrollBar>("VScroll1")->isVisible());
    QVERIFY(!w.view.control<QScrollBar>("HScroll1")->isVisible());
    // The last row and the buttons under the table lie inside the viewport.
    auto* viewport = w.view.control<QWidget>("pbouter");
    for (const char* name : {"Shape1(31)", "cmdexit", "cmdAppsSet", "Shape1(15)"}) {
        QWidget* widget = w.view.control<QWidget>(name);
        const QRect inViewport(widget->mapTo(viewport, QPoint(0, 0)), widget->size());
        QVERIFY2(viewport->rect().contains(inViewport), name);
    }
}

void MainWindowTest::scrollBarsMoveTheRegisterView() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    auto* vbar = w.view.control<QScrollBar>("VScroll1");
    auto* hbar = w.view.control<QScrollBar>("HScroll1");
    auto* content = w.view.control<QWidget>("pbinner");

    w.view.resize(700, 450);
    QTRY_VERIFY(vbar->isVisible());
    QVERIFY(hbar->isVisible());
    FrmI2CGeneral& m = w.m();
    QCOMPARE(vbar->maximum(), m.VScroll1.max() / kTwipsPerPixel);
    QCOMPARE(m.VScroll1.max(), m.pbinner.rect().height - m.pbouter.rect().height);
    // The bars sit on the right and bottom edges of the page, clear of the view.
    QCOMPARE(vbar->geometry().right() + 1, vbar->parentWidget()->width());
    QVERIFY(w.view.control<QWidget>("PbForm")->geometry().right() < vbar->geometry().left());

    vbar->setValue(40);
    QCOMPARE(m.VScroll1.value(), 40 * kTwipsPerPixel);
    QCOMPARE(content->y(), -40);
    const long yields = w.rig.pump.yields;
    hbar->setValue(30);
    QCOMPARE(content->x(), -30);
    QCOMPARE(w.rig.pump.yields - yields, 1);  // the horizontal handler yields first

    // The wheel over a cell scrolls the view the same way, down and back up. Only a wheel
    // event from the system goes on to the cell's parents.
    QWidget* cell = w.box("Reg_Desc(3)");
    auto wheel = [cell](int steps) {
        const QPointF at(5, 5);
        QWheelEvent event(at, cell->mapToGlobal(at), QPoint(), QPoint(0, 120 * steps), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QSpontaneKeyEvent::setSpontaneous(&event);
        qApp->notify(cell, &event);
    };
    wheel(-1);
    QVERIFY(m.VScroll1.value() > 40 * kTwipsPerPixel);
    QCOMPARE(content->y(), -m.VScroll1.value() / kTwipsPerPixel);
    wheel(10);
    QCOMPARE(m.VScroll1.value(), 0);
    QCOMPARE(content->y(), 0);

    // Grown back to full size: the bars go, and the view is not left scrolled.
    w.view.resize(w.view.fullSize());
    QTRY_VERIFY(!vbar->isVisible());
    QVERIFY(!hbar->isVisible());
    QCOMPARE(content->pos(), QPoint(0, 0));
}

void MainWindowTest::enterAndFocusLossReachTheEntryHandlers() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));

    w.type("txtI2CAdr", "7");
    QTest::keyClick(w.box("txtI2CAdr"), Qt::Key_Return);
    QCOMPARE(w.box("txtI2CAdr")->text(), QStringLiteral("07"));
    QVERIFY(!w.m().lblCommTest.caption().empty());  // the communications test ran

    w.type("txtUserRegAdr", "zz");
    QTest::keyClick(w.box("txtUserRegAdr"), Qt::Key_Return);
    QCOMPARE(w.box("txtUserRegAdr")->text(), QStringLiteral("00"));
    w.type("txtsbwr(0)", "1FF");
    QTest::keyClick(w.box("txtsbwr(0)"), Qt::Key_Return);
    QCOMPARE(w.box("txtsbwr(0)")->text(), QStringLiteral("--"));
    w.type("txtBWrite(4)", "100");
    QTest::keyClick(w.box("txtBWrite(4)"), Qt::Key_Return);
    QCOMPARE(w.box("txtBWrite(4)")->text(), QStringLiteral("--"));

    // Leaving the address box for another window leaves it as typed; for another box, commits.
    w.type("txtI2CAdr", "a");
    QFocusEvent otherWindow(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(w.box("txtI2CAdr"), &otherWindow);
    QCOMPARE(w.box("txtI2CAdr")->text(), QStringLiteral("a"));
    QFocusEvent nextBox(QEvent::FocusOut, Qt::TabFocusReason);
    QApplication::sendEvent(w.box("txtI2CAdr"), &nextBox);
    QCOMPARE(w.box("txtI2CAdr")->text(), QStringLiteral("0A"));
    QCOMPARE(w.rig.wb->i2c.I2CWriteAddress, 0x0A);
}

void MainWindowTest::clicksReachTheRowAndPanelHandlers() {
    ShownWindow w;
    QVERIFY(QTest::qWaitForWindowExposed(&w.view));
    w.type("txtBWrite(5)", "100");
    QTest::mouseDClick(w.box("txtBWrite(5)"), Qt::LeftButton);
    QCOMPARE(w.box("txtBWrite(5)")->text(), QStringLiteral("--"));

    // Register 2 of the device at 60 holds its identifier.
    QTest::mouseClick(w.box("txtRdByte(2)"), Qt::LeftButton);
    QCOMPARE(w.box("txtRdByte(2)")->text(), QStringLiteral("5A"));

    w.type("txtUserRegAdr", "02");
    w.click("cmdRead");
    QCOMPARE(w.box("txtReadByte")->text(), QStringLiteral("5A"));
    QVERIFY(w.view.control<QLabel>("lblNak")->isVisible());
    w.click("Command7");
    QCOMPARE(w.box("txtBWrite(2)")->text(), QStringLiteral("5A"));
    w.click("cmdTestComm");
    QCOMPARE(w.view.control<QLabel>("lblCommTest")->text(), QStringLiteral("Good"));
}

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
