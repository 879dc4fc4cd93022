// The GPIO window's binding: clicks reach the model's handlers, the model's changes repaint the
// widgets, and the window's life follows the model's (closing it unloads the model).

#include <array>
#include <memory>

#include "foundation/colors.h"
#include "gpio/frm_gpio.h"
#include "qt/qt_binding.h"
#include "qt/qt_main_window.h"
#include "qt/qt_placement.h"
#include "qt/qt_windows.h"
#include "support/fakes.h"
#include "support/qt_windows.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

class GpioWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Rig> rig;
    std::unique_ptr<QtWindows> windows;  // destroyed before the rig's program

    QWidget* window() { return windows->gpioWindow(); }
    template <class W>
    W* child(const char* name, int index = -1) {
        const QString n = index < 0 ? QString::fromLatin1(name) : IndexedName(name, index);
        return Child<W>(window(), n);
    }
    QString hex(const char* name, int index) { return child<QLineEdit>(name, index)->text(); }
    QColor lamp(int index) { return child<LampWidget>("shpGpioWr", index)->color(); }
    // Clicks a check box on its indicator, as the user would.
    void clickBox(const char* name, int index) {
        QCheckBox* box = child<QCheckBox>(name, index);
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    }
    bool checked(const char* name, int index) { return child<QCheckBox>(name, index)->isChecked(); }
    void press(const char* name) { QTest::mouseClick(child<QPushButton>(name), Qt::LeftButton); }

private slots:
    void init() {
        rig = std::make_unique<Rig>();
        rig->main();  // start-up: the model exists, written once, and has no window
        rig->clearSent();
        windows = std::make_unique<QtWindows>(*rig->program);
    }
    void cleanup() {
        windows.reset();
        DestroyClosedWindows();
        rig.reset();
    }

    void showBindsTheModelTheStartUpCreatedAndASecondShowRaisesIt() {
        // The communications test drives the LEDs before any window exists.
        FrmGPIO* model = &rig->gpio();
        model->setChecked(model->ChKLedData[0], false, &FrmGPIO::ChKLedData_Click, 0);
        windows->showGpioScreen();
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        QCOMPARE(&rig->gpio(), model);
        QCOMPARE(hex("txtPCHexData", 1), QString("FF"));  // the start-up write's answer
        QVERIFY(!checked("ChKLedData", 0));
        QCOMPARE(lamp(4), LampColor(qb::kLightGreen));

        QWidget* first = window();
        windows->showGpioScreen();
        QCOMPARE(window(), first);
        QCOMPARE(VisibleWindowsNamed("frmGPIO"), 1);
    }

    void pinRowsLineUpAcrossTheThreeFrames() {
        windows->showGpioScreen();
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        auto centre = [this](const char* name, int i) {
            QWidget* w = child<QWidget>(name, i);
            return w->mapTo(window(), w->rect().center()).y();
        };
        for (int i = 0; i < 12; ++i) {
            const int y = centre("txtGPIOUserName", i);
            for (const char* box :
                 i < 8 ? std::array{"chkOutEn", "ChkBData"} : std::array{"chkOutEnc", "ChkCData"})
                QVERIFY(std::abs(centre(box, i % 8) - y) <= 1);
        }
        QVERIFY(centre("ChKLedData", 0) > centre("ChkCData", 3));
        QVERIFY(centre("ChKLedData", 1) > centre("ChKLedData", 0));
    }

    void boxClicksReachTheHandlersAndRepaintTheHexBoxes() {
        windows->showGpioScreen();
        clickBox("ChkBData", 3);
        clickBox("chkOutEnc", 0);
        const bool enabled = child<QCheckBox>("ChkCData", 0)->isEnabled();
        QCOMPARE(QStringList({hex("txtPCHexData", 0), hex("txtPCHex", 2)}),
                 QStringList({"F7", "10"}));
        QVERIFY(!checked("ChkBData", 3) && enabled);
        clickBox("chkOutEnc", 0);
        QVERIFY(!child<QCheckBox>("ChkCData", 0)->isEnabled());
        clickBox("ChkCData", 0);  // a disabled box takes no click
        QCOMPARE(rig->wb->GpioState.portCLedData, uint8_t{0xFF});
        QVERIFY(rig->sent().empty());

        // Typing in a hex box is shown but never sent.
        QLineEdit* box = child<QLineEdit>("txtPCHexData", 0);
        box->selectAll();
        QTest::keyClicks(box, "12");
        QCOMPARE(rig->gpio().txtPCHexData[0].text(), std::string("12"));
    }

    void writeButtonsSendTheFrameAndRepaintReadBackAndLamps() {
        windows->showGpioScreen();
        clickBox("chkOutEn", 0);
        clickBox("ChkBData", 0);
        rig->board.model().gpio().pcInputs = 0x00;
        press("cmdGPIO_Write");
        QCOMPARE(QStringList({hex("txtPCHexData", 3), hex("txtPCHex", 1)}),
                 QStringList({"03", "01"}));
        QCOMPARE(lamp(4), LampColor(qb::kGreen));  // start-up lit it light green
        press("cmdWrite_GPIO_Data");
        QCOMPARE(lamp(4), LampColor(qb::kLightGreen));
        QCOMPARE(rig->sent(),
                 (std::vector<WireFrame>{{0x01, {0xFE, 0xFF, 0x01, 0x00}}, {0x01, {0xFE, 0xFF}}}));
    }

    void closeUnloadsTheModelAndTheNextShowLoadsAFreshOne() {
        windows->showGpioScreen();
        clickBox("ChkBData", 3);
        clickBox("chkOutEn", 0);
        std::weak_ptr<FrmGPIO> model = rig->program->gpioScreenModel();
        QPointer<QWidget> old = window();
        old->close();
        QVERIFY(!rig->program->hasGpioScreen());
        DestroyClosedWindows();
        QVERIFY(old.isNull() && model.expired() && !window());

        windows->showGpioScreen();
        QVERIFY(rig->program->hasGpioScreen() && !checked("chkOutEn", 0));
        QCOMPARE(hex("txtPCHexData", 0), QString("F7"));
    }

    void showAgainBeforeTheClosedWindowIsDestroyedMakesANewOne() {
        windows->showGpioScreen();
        QPointer<QWidget> old = window();
        old->close();
        windows->showGpioScreen();
        QVERIFY(window() != old.data());
        DestroyClosedWindows();
        QVERIFY(old.isNull());
        // The new window drives the live model.
        clickBox("ChkBData", 1);
        QCOMPARE(hex("txtPCHexData", 0), QString("FD"));
    }

    void closingWhileAWriteYieldsLetsTheWriteFinishThenFreesTheModel() {
        windows->showGpioScreen();
        QPointer<QWidget> w = window();
        std::weak_ptr<FrmGPIO> model = rig->program->gpioScreenModel();
        QPushButton* write = child<QPushButton>("cmdGPIO_Write");
        bool aliveInsideTheWrite = false;
        // The user closes the window at the write's first yield, which runs pending events as
        // the program's yield does.
        rig->pump.atYield(0, [&] {
            w->close();
            QCoreApplication::processEvents();
            aliveInsideTheWrite = !w.isNull() && !model.expired();
        });
        QEventLoop loop;
        QTimer::singleShot(0, [&] {
            QTest::mouseClick(write, Qt::LeftButton);
            loop.quit();
        });
        loop.exec();

        QVERIFY(aliveInsideTheWrite);
        QCOMPARE(rig->sent().size(), std::size_t{1});
        QVERIFY(!rig->program->hasGpioScreen());
        DestroyClosedWindows();
        QVERIFY(w.isNull() && model.expired());
    }

    void placementBesideAnotherWindow() {
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
        for (const auto& c : cases) QCOMPARE(PlaceBeside(c.anchor, c.size, screen), c.at);
    }

    void opensBesideTheMainWindow() {
        MainWindowView main(*rig->program, true);
        main.resize(120, 300);
        main.move(0, 0);
        main.show();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        windows->mainWindow = &main;
        windows->showGpioScreen();
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        const QRect gpio = window()->frameGeometry();
        QVERIFY(!gpio.intersects(main.frameGeometry()));
        QVERIFY(main.screen()->availableGeometry().contains(gpio));
    }

    // Under a real display with I2CB_SCREENSHOT_DIR set, saves the window as gpio_screen.png.
    void screenshot() {
        windows->showGpioScreen();
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        clickBox("chkOutEn", 1);
        clickBox("ChkBData", 1);
        clickBox("chkOutEnc", 3);
        press("cmdGPIO_Write");
        QVERIFY(SaveScreenshot(window(), "gpio_screen.png"));
    }
};

QTEST_MAIN(GpioWindowTest)
#include "gpio_window_test.moc"
