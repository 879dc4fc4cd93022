// The startup window: it never shows itself, brings up the one main window within a small
// screen, its device menu does nothing and its About entry opens the About box.

#include "gui/gui_test.h"
#include "qt/qt_main_window.h"
#include "qt/qt_startup_window.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

TEST(StartupWindow, LoadShowsTheOneMainWindowWithinTheScreen) {
    for (bool simulated : {true, false}) {
        SCOPED_TRACE(simulated);
        Rig rig;
        QtWindows windows(*rig.program);
        StartupWindow startup(windows, simulated);
        startup.Form_Load();
        MainWindowView* main = startup.mainWindow();
        ASSERT_TRUE(main && main->isVisible() && rig.program->hasMainWindow());
        EXPECT_FALSE(startup.isVisible());
        EXPECT_EQ(main->windowTitle().endsWith(" [simulated board]"), simulated);
        const auto log = rig.log();
        EXPECT_FALSE(log.empty());  // the main window's load ran its start-up probe
        startup.Form_Load();
        EXPECT_EQ(startup.mainWindow(), main);
        EXPECT_EQ(rig.log(), log);  // no second load, no second probe

        // The offscreen screen is narrower than the window's full size; the window and a
        // window manager's title bar above it still fit.
        const QRect area = main->screen()->availableGeometry();
        EXPECT_GT(main->fullSize().width(), area.width());
        EXPECT_LE(main->frameGeometry().height() + 40, area.height());
        EXPECT_LE(main->frameGeometry().width(), area.width());
    }
}

TEST(StartupWindow, DeviceEntriesDoNothingAndAboutOpensTheBox) {
    Rig rig;
    QtWindows windows(*rig.program);
    StartupWindow startup(windows, true);
    startup.Form_Load();
    auto* devices = Child<QMenu>(&startup, "MnuDevSel1");
    EXPECT_EQ(devices->actions().size(), 6);
    const std::string log = rig.log();
    const auto frames = rig.sent().size();
    const auto windowsBefore = QApplication::topLevelWidgets().size();
    for (QAction* entry : devices->actions()) entry->trigger();
    EXPECT_EQ(rig.log(), log);
    EXPECT_EQ(rig.sent().size(), frames);
    EXPECT_EQ(QApplication::topLevelWidgets().size(), windowsBefore);

    startup.findChild<QAction*>("mnuAbout")->trigger();
    EXPECT_TRUE(windows.aboutBox() && windows.aboutBox()->isVisible());
}
