// The About box's binding: OK and Escape close and destroy it, a second showing reuses the
// open box, and "System Info..." reaches the launcher, which on this system finds nothing to
// start.

#include "foundation/ports.h"
#include "gui/gui_test.h"
#include "qt/qt_system_info_launcher.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

TEST(AboutBox, OkAndEscapeCloseAndDestroyIt) {
    for (bool escape : {false, true}) {
        SCOPED_TRACE(escape);
        Gui t;
        t.windows->showAbout();
        QPointer<QWidget> box = t.windows->aboutBox();
        ASSERT_TRUE(QTest::qWaitForWindowActive(box));
        t.windows->showAbout();  // raises the open one
        EXPECT_EQ(VisibleWindowsNamed("frmAbout2"), 1);
        t.rig.markLog();
        Do(box, "click:cmdSysInfo");
        EXPECT_EQ(t.rig.messagesSinceMark(),
                  std::vector<std::string>{"System Information Is Unavailable At This Time"});
        escape ? QTest::keyClick(box, Qt::Key_Escape) : Do(box, "click:cmdOK");
        EXPECT_FALSE(box->isVisible());
        t.windows->showAbout();  // before the closed box is destroyed: a new one
        EXPECT_NE(t.windows->aboutBox(), box.data());
        DestroyClosedWindows();
        EXPECT_TRUE(box.isNull() && t.windows->aboutBox()->isVisible());
    }
}

TEST(AboutBox, PlatformLauncherHasNoRegistryAndFindsRealPrograms) {
    QtSystemInfoLauncher os;
    SystemInfoLauncher::KeyHandle key = 0;
    EXPECT_FALSE(os.openKey(registry::kLocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO",
                            registry::kAccessMask, key));
    const std::string sh = os.findProgram("sh");
    EXPECT_TRUE(!sh.empty() && os.fileExists(sh));
    EXPECT_TRUE(os.findProgram("no-such-program-on-this-path-9f3c").empty());
    EXPECT_FALSE(os.fileExists("/"));  // a folder is no program
    EXPECT_FALSE(os.startDetached("/no-such-program-9f3c", {}));
    EXPECT_TRUE(os.startDetached(sh, {"-c", "exit 0"}));
}
