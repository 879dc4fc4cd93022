// The About box's binding: it shows the model's texts, OK and Escape close and destroy it, a
// second showing reuses the open box, and "System Info..." reaches the launcher. Also the
// platform's launcher on this system.

#include "about/frm_about2.h"
#include "foundation/ports.h"
#include "gui/gui_test.h"
#include "qt/qt_system_info_launcher.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

namespace {

// No registry and no program anywhere.
class NothingInstalled : public SystemInfoLauncher {
public:
    bool openKey(uint32_t, const std::string&, uint32_t, KeyHandle&) override { return false; }
    bool queryValue(KeyHandle, const std::string&, std::size_t, uint32_t&, std::string&) override {
        return false;
    }
    void closeKey(KeyHandle) override {}
    bool fileExists(const std::string&) override { return false; }
    std::string findProgram(const std::string&) override { return {}; }
    bool startDetached(const std::string&, const std::vector<std::string>&) override {
        return true;
    }
};

struct AboutBox : Gui {
    QWidget* box() { return windows->aboutBox(); }
    void show() { windows->showAbout(std::make_unique<NothingInstalled>()); }
    QString read(const char* name) { return Read(Child(box(), name), Shows::Text); }
};

}  // namespace

TEST(AboutBox, ShowsTheModelsTexts) {
    AboutBox t;
    t.show();
    const QString title = QString::fromStdString(kAppTitle);
    EXPECT_EQ(t.box()->windowTitle(), "About " + title);
    EXPECT_EQ(t.read("lblTitle"), title);
    EXPECT_EQ(t.read("lblVersion"), QString::fromStdString(ProgramVersionText()));
    EXPECT_EQ(t.read("lblDescription"), "");
}

TEST(AboutBox, OkAndEscapeCloseAndDestroyTheBoxAndTheNextShowMakesANewOne) {
    for (bool escape : {false, true}) {
        SCOPED_TRACE(escape);
        AboutBox t;
        t.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(t.box()));
        QPointer<QWidget> opened = t.box();
        t.show();  // raises the open one
        EXPECT_EQ(t.box(), opened.data());
        EXPECT_EQ(VisibleWindowsNamed("frmAbout2"), 1);
        escape ? QTest::keyClick(opened, Qt::Key_Escape) : Click(Child(opened, "cmdOK"));
        EXPECT_FALSE(opened->isVisible());
        t.show();  // before the closed box is destroyed
        EXPECT_NE(t.box(), opened.data());
        DestroyClosedWindows();
        EXPECT_TRUE(opened.isNull() && t.box() && t.box()->isVisible() && !t.box()->isModal());
    }
}

TEST(AboutBox, SystemInfoWithNothingInstalledLogsTheLineAndStaysOpen) {
    AboutBox t;
    t.show();
    t.rig.markLog();
    Click(Child(t.box(), "cmdSysInfo"));
    EXPECT_EQ(t.rig.messagesSinceMark(),
              std::vector<std::string>{"System Information Is Unavailable At This Time"});
    EXPECT_TRUE(t.box() && t.box()->isVisible());
}

TEST(AboutBox, PlatformLauncherHasNoRegistryAndFindsRealPrograms) {
    QtSystemInfoLauncher os;
    SystemInfoLauncher::KeyHandle key = 0;
    EXPECT_FALSE(os.openKey(registry::kLocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO",
                            registry::kAccessMask, key));
    const std::string sh = os.findProgram("sh");
    EXPECT_TRUE(!sh.empty() && os.fileExists(sh));
    EXPECT_TRUE(os.findProgram("no-such-program-on-this-path-9f3c").empty());

    QTemporaryDir dir;
    const std::string file = (dir.path() + "/MSINFO32.EXE").toStdString();
    EXPECT_FALSE(os.fileExists(file));
    QFile f(QString::fromStdString(file));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    EXPECT_TRUE(os.fileExists(file));
    EXPECT_FALSE(os.fileExists(dir.path().toStdString()));  // a folder is no program
    EXPECT_FALSE(os.startDetached(dir.path().toStdString() + "/missing-program", {}));
    EXPECT_TRUE(os.startDetached(sh, {"-c", "exit 0"}));
}
