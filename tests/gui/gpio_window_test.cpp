// The GPIO window's binding: clicks reach the model's handlers, the model's changes repaint the
// widgets, and closing the window unloads the model.

#include <QApplication>
#include <QCheckBox>
#include <QEventLoop>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <memory>

#include "foundation/colors.h"
#include "foundation/qt_binding.h"
#include "foundation/qt_placement.h"
#include "gpio/frm_gpio.h"
#include "gpio/qt_gpio_window.h"
#include "registers/qt_main_window.h"
#include "support/fakes.h"

using namespace i2cbridge;
using i2cbridge::testing::Rig;

class GpioWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Rig> rig;

    QWidget* window() { return FindGpioWindow(*rig->wb); }
    template <class W>
    W* child(const char* name) {
        W* w = window()->findChild<W*>(QString::fromLatin1(name));
        if (!w) qFatal("no widget %s", name);
        return w;
    }
    // Clicks a check box on its indicator, as the user would.
    static void clickBox(QCheckBox* box) {
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
    }
    static void destroyClosedWindows() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    void closeWindow() {
        if (QWidget* w = window()) w->close();
        destroyClosedWindows();
    }

private slots:
    void init() {
        rig = std::make_unique<Rig>();
        rig->main();  // start-up: the model exists, written once, and has no window
        rig->board.model().clearSent();
    }
    void cleanup() {
        closeWindow();
        rig.reset();
    }

    void showBindsTheModelTheStartUpCreated() {
        FrmGPIO* model = &rig->gpio();
        ShowGpioWindow(*rig->wb);
        QVERIFY(window());
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        QCOMPARE(window()->windowTitle(), QString("GPIO Control"));
        QCOMPARE(&rig->gpio(), model);
        // The start-up write's answer is on screen, not the design texts.
        QCOMPARE(child<QLineEdit>("txtPCHexData_1")->text(), QString("FF"));
        QCOMPARE(child<QLineEdit>("txtPCHex_1")->text(), QString("00"));
        QCOMPARE(child<QLineEdit>("txtPCHexData_0")->text(), QString("FF"));
        QCOMPARE(child<LampWidget>("shpGpioWr_4")->color(), LampColor(qb::kLightGreen));
        QCOMPARE(child<QLineEdit>("txtGPIOUserName_2")->text(), QString("HVSYNC_POL"));
        QCOMPARE(child<QCheckBox>("ChkCData_0")->text(), QString("PC4 P2.05"));
        QVERIFY(child<QCheckBox>("ChKLedData_1")->isChecked());
        QVERIFY(!child<QCheckBox>("chkOutEn_0")->isChecked());
        QVERIFY(child<QCheckBox>("ChLed1_0")->isHidden());
        QVERIFY(child<QCheckBox>("ChLed1_1")->isHidden());
        QCOMPARE(child<QPushButton>("cmdGPIO_Write")->text(),
                 QString("Write / Read Enables and Data"));
    }

    void secondShowRaisesTheSameWindow() {
        ShowGpioWindow(*rig->wb);
        QWidget* first = window();
        ShowGpioWindow(*rig->wb);
        QCOMPARE(window(), first);
        int count = 0;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() == "frmGPIO" && w->isVisible()) ++count;
        }
        QCOMPARE(count, 1);
    }

    void pinRowsLineUpAcrossTheThreeFrames() {
        ShowGpioWindow(*rig->wb);
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        auto centre = [this](const char* name) {
            QWidget* w = child<QWidget>(name);
            return w->mapTo(window(), w->rect().center()).y();
        };
        for (int i = 0; i < 8; ++i) {
            const QByteArray n = QByteArray::number(i);
            const int y = centre("txtGPIOUserName_" + n);
            QVERIFY(std::abs(centre("chkOutEn_" + n) - y) <= 1);
            QVERIFY(std::abs(centre("ChkBData_" + n) - y) <= 1);
        }
        for (int i = 0; i < 4; ++i) {
            const QByteArray n = QByteArray::number(i);
            const int y = centre("txtGPIOUserName_" + QByteArray::number(8 + i));
            QVERIFY(std::abs(centre("chkOutEnc_" + n) - y) <= 1);
            QVERIFY(std::abs(centre("ChkCData_" + n) - y) <= 1);
        }
        QVERIFY(centre("ChKLedData_0") > centre("ChkCData_3"));
        QVERIFY(centre("ChKLedData_1") > centre("ChKLedData_0"));
    }

    void dataBoxClickReachesTheHandlerAndRepaintsTheHexBox() {
        ShowGpioWindow(*rig->wb);
        QCheckBox* pb3 = child<QCheckBox>("ChkBData_3");
        clickBox(pb3);
        QVERIFY(!pb3->isChecked());
        QCOMPARE(rig->wb->GpioState[2], uint8_t{0xF7});
        QCOMPARE(child<QLineEdit>("txtPCHexData_0")->text(), QString("F7"));
        clickBox(pb3);
        QCOMPARE(child<QLineEdit>("txtPCHexData_0")->text(), QString("FF"));
        QVERIFY(rig->sent().empty());
    }

    void enableBoxClickGatesItsDataBox() {
        ShowGpioWindow(*rig->wb);
        QCheckBox* enable = child<QCheckBox>("chkOutEnc_0");
        QCheckBox* data = child<QCheckBox>("ChkCData_0");
        clickBox(enable);
        QCOMPARE(child<QLineEdit>("txtPCHex_2")->text(), QString("10"));
        QVERIFY(data->isEnabled());
        clickBox(enable);
        QCOMPARE(child<QLineEdit>("txtPCHex_2")->text(), QString("00"));
        QVERIFY(!data->isEnabled());
        // A click on a disabled box changes nothing.
        clickBox(data);
        QVERIFY(data->isChecked());
        QCOMPARE(rig->wb->GpioState[3], uint8_t{0xFF});
    }

    void writeButtonSendsTheFrameAndRepaintsReadBackAndLamps() {
        ShowGpioWindow(*rig->wb);
        clickBox(child<QCheckBox>("chkOutEn_0"));
        clickBox(child<QCheckBox>("ChkBData_0"));
        rig->board.model().gpio().pcInputs = 0x00;

        QTest::mouseClick(child<QPushButton>("cmdGPIO_Write"), Qt::LeftButton);

        QCOMPARE(rig->sent().size(), std::size_t{1});
        QCOMPARE(rig->sent()[0].bytes, (std::vector<uint8_t>{0xFE, 0xFF, 0x01, 0x00}));
        QCOMPARE(child<QLineEdit>("txtPCHexData_1")->text(), QString("FE"));
        QCOMPARE(child<QLineEdit>("txtPCHexData_3")->text(), QString("03"));
        QCOMPARE(child<QLineEdit>("txtPCHex_1")->text(), QString("01"));
        // Start-up lit them light green; this write flips them.
        QCOMPARE(child<LampWidget>("shpGpioWr_4")->color(), LampColor(qb::kGreen));
        QCOMPARE(child<LampWidget>("shpGpioWr_0")->color(), LampColor(qb::kGreen));
        QCOMPARE(child<LampWidget>("shpGpioWr_2")->color(), LampColor(qb::kLightGreen));

        QTest::mouseClick(child<QPushButton>("cmdWrite_GPIO_Data"), Qt::LeftButton);
        QCOMPARE(rig->sent().size(), std::size_t{2});
        QCOMPARE(rig->sent()[1].bytes, (std::vector<uint8_t>{0xFE, 0xFF}));
        QCOMPARE(child<LampWidget>("shpGpioWr_4")->color(), LampColor(qb::kLightGreen));
        QCOMPARE(child<LampWidget>("shpGpioWr_0")->color(), LampColor(qb::kGreen));
    }

    void typingInAHexBoxIsShownButNeverSent() {
        ShowGpioWindow(*rig->wb);
        QLineEdit* box = child<QLineEdit>("txtPCHexData_0");
        box->selectAll();
        QTest::keyClicks(box, "12");
        QCOMPARE(rig->gpio().txtPCHexData[0].text(), std::string("12"));
        QTest::mouseClick(child<QPushButton>("cmdWrite_GPIO_Data"), Qt::LeftButton);
        QCOMPARE(rig->sent().back().bytes, (std::vector<uint8_t>{0xFF, 0xFF}));
    }

    void closeUnloadsTheModelAndTheNextShowLoadsAFreshOne() {
        ShowGpioWindow(*rig->wb);
        clickBox(child<QCheckBox>("ChkBData_3"));
        clickBox(child<QCheckBox>("chkOutEn_0"));
        QPointer<QWidget> old = window();

        old->close();
        QVERIFY(!rig->wb->hasGpioScreen());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(old.isNull());
        QVERIFY(!window());
        QCOMPARE(rig->wb->GpioState[2], uint8_t{0xF7});

        ShowGpioWindow(*rig->wb);
        QVERIFY(window());
        QVERIFY(rig->wb->hasGpioScreen());
        QVERIFY(child<QCheckBox>("ChkBData_3")->isChecked());
        QVERIFY(!child<QCheckBox>("chkOutEn_0")->isChecked());
        QCOMPARE(child<QLineEdit>("txtPCHexData_0")->text(), QString("F7"));
        QCOMPARE(child<QLineEdit>("txtPCHex_0")->text(), QString("01"));
        QCOMPARE(child<QLineEdit>("txtPCHexData_1")->text(), QString("--"));
        QCOMPARE(child<LampWidget>("shpGpioWr_4")->color(), LampColor(qb::kBlack));
    }

    void showAgainBeforeTheClosedWindowIsDestroyedMakesANewOne() {
        ShowGpioWindow(*rig->wb);
        QPointer<QWidget> old = window();
        old->close();
        ShowGpioWindow(*rig->wb);
        QVERIFY(window() != old.data());
        QVERIFY(rig->wb->hasGpioScreen());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(old.isNull());
        // The new window still drives the live model.
        clickBox(child<QCheckBox>("ChkBData_1"));
        QCOMPARE(rig->gpio().txtPCHexData[0].text(), std::string("FD"));
        QCOMPARE(child<QLineEdit>("txtPCHexData_0")->text(), QString("FD"));
    }

    void closingWhileAWriteYieldsLetsTheWriteFinishBeforeTheWindowGoes() {
        ShowGpioWindow(*rig->wb);
        QPointer<QWidget> w = window();
        QPushButton* write = child<QPushButton>("cmdGPIO_Write");
        bool aliveInsideTheWrite = false;
        // The user closes the window at the write's first yield, which runs pending events as
        // the program's yield does.
        rig->pump.atYield(0, [&] {
            w->close();
            QCoreApplication::processEvents();
            aliveInsideTheWrite = !w.isNull();
        });
        QEventLoop loop;
        QTimer::singleShot(0, [&] {
            QTest::mouseClick(write, Qt::LeftButton);
            loop.quit();
        });
        loop.exec();

        QVERIFY(aliveInsideTheWrite);
        QCOMPARE(rig->sent().size(), std::size_t{1});
        QVERIFY(!rig->wb->hasGpioScreen());
        destroyClosedWindows();
        QVERIFY(w.isNull());
    }

    void screenCreatedByTheCoreWhileNoWindowIsOpenIsShownAsItStands() {
        // The communications test drives the LEDs without a window.
        FrmGPIO& g = rig->gpio();
        g.setChecked(g.ChKLedData[0], false, &FrmGPIO::ChKLedData_Click, 0);
        ShowGpioWindow(*rig->wb);
        QVERIFY(!child<QCheckBox>("ChKLedData_0")->isChecked());
        QCOMPARE(child<QLineEdit>("txtPCHexData_2")->text(), QString("FE"));
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
        MainWindowView main(*rig->wb, true);
        main.resize(120, 300);
        main.move(0, 0);
        main.show();
        QVERIFY(QTest::qWaitForWindowExposed(&main));
        ShowGpioWindow(*rig->wb);
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        const QRect gpio = window()->frameGeometry();
        QVERIFY(!gpio.intersects(main.frameGeometry()));
        QVERIFY(main.screen()->availableGeometry().contains(gpio));
    }

    // Under a real display with I2CB_SCREENSHOT_DIR set, saves the window as gpio_screen.png.
    void screenshot() {
        ShowGpioWindow(*rig->wb);
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        clickBox(child<QCheckBox>("chkOutEn_1"));
        clickBox(child<QCheckBox>("ChkBData_1"));
        clickBox(child<QCheckBox>("chkOutEnc_3"));
        QTest::mouseClick(child<QPushButton>("cmdGPIO_Write"), Qt::LeftButton);
        const QPixmap shot = window()->grab();
        QVERIFY(!shot.isNull());
        QCOMPARE(shot.size() / shot.devicePixelRatio(), window()->size());
        const QByteArray dir = qgetenv("I2CB_SCREENSHOT_DIR");
        if (!dir.isEmpty()) QVERIFY(shot.save(QString::fromLocal8Bit(dir) + "/gpio_screen.png"));
    }
};

QTEST_MAIN(GpioWindowTest)
#include "gpio_window_test.moc"
