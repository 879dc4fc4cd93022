// The About box's binding: it shows the model's texts, OK closes and destroys it, a second
// showing reuses the open box, and "System Info..." reaches the launcher. Also the platform's
// launcher on this system.

#include <memory>

#include "about/frm_about2.h"
#include "foundation/ports.h"
#include "qt/qt_system_info_launcher.h"
#include "qt/qt_windows.h"
#include "support/fakes.h"
#include "support/qt_windows.h"

using namespace i2cbridge;
using i2cbridge::testing::Entry;
using i2cbridge::testing::Rig;
using namespace i2cbridge::testing;

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
    void show() { windows->showAbout(std::make_unique<NothingInstalled>(starts)); }
    void press(const char* name) {
        QTest::mouseClick(Child<QPushButton>(box(), name), Qt::LeftButton);
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
        DestroyClosedWindows();
        rig.reset();
    }

    // OK and Escape close the box and destroy it.
    void okAndEscapeCloseAndDestroyTheBox() {
        for (bool escape : {false, true}) {
            show();
            QVERIFY(QTest::qWaitForWindowActive(box()));
            QPointer<QWidget> opened = box();
            escape ? QTest::keyClick(opened, Qt::Key_Escape) : press("cmdOK");
            QVERIFY(!opened->isVisible());
            DestroyClosedWindows();
            QVERIFY(opened.isNull() && !box());
        }
    }

    void secondShowReusesTheOpenBoxAndAfterOkLoadsAFreshOne() {
        show();
        QWidget* first = box();
        show();
        QCOMPARE(box(), first);
        QCOMPARE(VisibleWindowsNamed("frmAbout2"), 1);
        press("cmdOK");
        DestroyClosedWindows();
        show();
        QVERIFY(box() && box()->isVisible() && !box()->isModal());
        // The fresh box ran the model's load again.
        QCOMPARE(Child<QLabel>(box(), "lblVersion")->text(),
                 QString::fromStdString(ProgramVersionText()));
    }

    void showRightAfterOkMakesANewBox() {
        show();
        QPointer<QWidget> old = box();
        press("cmdOK");
        show();
        QVERIFY(box() != old.data());
        DestroyClosedWindows();
        QVERIFY(old.isNull() && box() && box()->isVisible());
    }

    void systemInfoWithNothingInstalledLogsTheLine() {
        show();
        rig->markLog();
        press("cmdSysInfo");
        QCOMPARE(rig->logSinceMark(), Entry("System Information Is Unavailable At This Time"));
        QVERIFY(box() && box()->isVisible());  // the box stays open
    }

    void platformLauncherHasNoRegistryAndFindsRealPrograms() {
        QtSystemInfoLauncher os;
        SystemInfoLauncher::KeyHandle key = 0;
        QVERIFY(!os.openKey(registry::kLocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO",
                            registry::kAccessMask, key));
        const std::string sh = os.findProgram("sh");
        QVERIFY(!sh.empty() && os.fileExists(sh));
        QVERIFY(os.findProgram("no-such-program-on-this-path-9f3c").empty());

        QTemporaryDir dir;
        const std::string file = (dir.path() + "/MSINFO32.EXE").toStdString();
        QVERIFY(dir.isValid() && !os.fileExists(file));
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
        QVERIFY(SaveScreenshot(box(), "about_box.png"));
    }
};

QTEST_MAIN(AboutBoxTest)
#include "about_box_test.moc"
