// The About box's binding: it shows the model's texts, OK closes and destroys it, a second
// showing reuses the open box, and "System Info..." reaches the launcher. Also the platform's
// launcher on this system.

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "about/frm_about2.h"
#include "foundation/ports.h"
#include "qt/qt_system_info_launcher.h"
#include "qt/qt_windows.h"
#include "support/fakes.h"

using namespace i2cbridge;
using i2cbridge::testing::Entry;
using i2cbridge::testing::Rig;

namespace {

// No registry and no program anywhere; counts the starts it was asked for.
class NothingInstalled : public SystemInfoLauncher {
public:
    explicit NothingInstalled(int& starts) : starts_(starts) {}
    bool openKey(uint32_t, const std::string&, uint32_t, KeyHandle&) override { return false; }
    bool queryValue(KeyHandle, const std::string&, std::size_t, uint32_t&, std::string&) override {
        return false;
    }
    void closeKey(KeyHandle) override {}
    bool fileExists(const std::string&) override { return false; }
    std::string findProgram(const std::string&) override { return {}; }
    bool startDetached(const std::string&, const std::vector<std::string>&) override {
        ++starts_;
        return true;
    }

private:
    int& starts_;
};

}  // namespace

class AboutBoxTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<Rig> rig;
    std::unique_ptr<QtWindows> windows;  // destroyed before the rig's program
    int starts = 0;

    QWidget* box() { return windows->aboutBox(); }
    template <class W>
    W* child(const char* name) {
        W* w = box()->findChild<W*>(QString::fromLatin1(name));
        if (!w) qFatal("no widget %s", name);
        return w;
    }
    void show() { windows->showAbout(std::make_unique<NothingInstalled>(starts)); }
    static void destroyClosed() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private slots:
    void init() {
        rig = std::make_unique<Rig>();
        rig->main();
        windows = std::make_unique<QtWindows>(*rig->program);
        starts = 0;
    }
    void cleanup() {
        windows.reset();
        destroyClosed();
        rig.reset();
    }

    void okClosesAndDestroysTheBox() {
        show();
        QPointer<QWidget> opened = box();
        QTest::mouseClick(child<QPushButton>("cmdOK"), Qt::LeftButton);
        QVERIFY(!opened->isVisible());
        destroyClosed();
        QVERIFY(opened.isNull());
        QVERIFY(!box());
    }

    void escapeClosesLikeOk() {
        show();
        QVERIFY(QTest::qWaitForWindowActive(box()));
        QPointer<QWidget> opened = box();
        QTest::keyClick(opened, Qt::Key_Escape);
        destroyClosed();
        QVERIFY(opened.isNull());
    }

    void secondShowReusesTheOpenBoxAndAfterOkLoadsAFreshOne() {
        show();
        QWidget* first = box();
        show();
        QCOMPARE(box(), first);
        int open = 0;
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (w->objectName() == "frmAbout2" && w->isVisible()) ++open;
        }
        QCOMPARE(open, 1);

        QTest::mouseClick(child<QPushButton>("cmdOK"), Qt::LeftButton);
        destroyClosed();
        show();
        QVERIFY(box());
        QVERIFY(box()->isVisible());
        QVERIFY(!box()->isModal());
        // The fresh box ran the model's load again.
        QCOMPARE(child<QLabel>("lblVersion")->text(), QString::fromStdString(ProgramVersionText()));
    }

    void showRightAfterOkMakesANewBox() {
        show();
        QPointer<QWidget> old = box();
        QTest::mouseClick(child<QPushButton>("cmdOK"), Qt::LeftButton);
        show();
        QVERIFY(box() != old.data());
        destroyClosed();
        QVERIFY(old.isNull());
        QVERIFY(box() && box()->isVisible());
    }

    void systemInfoWithNothingInstalledLogsTheLine() {
        show();
        rig->markLog();
        QTest::mouseClick(child<QPushButton>("cmdSysInfo"), Qt::LeftButton);
        QCOMPARE(rig->logSinceMark(), Entry("System Information Is Unavailable At This Time"));
        QVERIFY(box() && box()->isVisible());  // the box stays open
    }

    void platformLauncherHasNoRegistryAndFindsRealPrograms() {
        QtSystemInfoLauncher os;
        SystemInfoLauncher::KeyHandle key = 0;
        QVERIFY(!os.openKey(registry::kLocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO",
                            registry::kAccessMask, key));
        const std::string sh = os.findProgram("sh");
        QVERIFY(!sh.empty());
        QVERIFY(os.fileExists(sh));
        QVERIFY(os.findProgram("no-such-program-on-this-path-9f3c").empty());

        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const std::string file = (dir.path() + "/MSINFO32.EXE").toStdString();
        QVERIFY(!os.fileExists(file));
        QFile f(QString::fromStdString(file));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.close();
        QVERIFY(os.fileExists(file));
        QVERIFY(!os.fileExists(dir.path().toStdString()));  // a folder is no program

        QVERIFY(!os.startDetached(dir.path().toStdString() + "/missing-program", {}));
        QVERIFY(os.startDetached(sh, {"-c", "exit 0"}));
    }

    // Under a real display with I2CB_SCREENSHOT_DIR set, saves the box as about_box.png.
    void screenshot() {
        show();
        QVERIFY(QTest::qWaitForWindowExposed(box()));
        const QPixmap shot = box()->grab();
        QCOMPARE(shot.size() / shot.devicePixelRatio(), box()->size());
        const QByteArray dir = qgetenv("I2CB_SCREENSHOT_DIR");
        if (!dir.isEmpty()) QVERIFY(shot.save(QString::fromLocal8Bit(dir) + "/about_box.png"));
    }
};

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
