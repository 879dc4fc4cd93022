// The startup window: it never shows itself, brings up the one main window within a small
// screen, and its About entry opens the About box.

#include "gui/gui_test.h"
#include "qt/qt_main_window.h"
#include "qt/qt_startup_window.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

TEST(StartupWindow, LoadShowsTheOneMainWindowWithinTheScreenAndAboutOpensTheBox) {
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
        startup.Form_Load();
        EXPECT_EQ(startup.mainWindow(), main);
        EXPECT_EQ(rig.log(), log);  // no second load, no second probe

        // The offscreen screen is narrower than the window's full size; the window and a
        // window manager's title bar above it still fit.
        const QRect area = main->screen()->availableGeometry();
        EXPECT_GT(main->fullSize().width(), area.width());
        EXPECT_LE(main->frameGeometry().height() + 40, area.height());
        EXPECT_LE(main->frameGeometry().width(), area.width());
        startup.findChild<QAction*>("mnuAbout")->trigger();
        EXPECT_TRUE(windows.aboutBox() && windows.aboutBox()->isVisible());
    }
}
