// The startup window: it never shows itself, brings up the main window, and its device menu
// does nothing.

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QtTest>

#include "qt/qt_main_window.h"
#include "qt/qt_startup_window.h"
#include "qt/qt_windows.h"
#include "support/fakes.h"

using namespace i2cbridge;
using i2cbridge::testing::Rig;

class StartupWindowTest : public QObject {
    Q_OBJECT

private slots:
    void loadHidesItselfAndShowsTheMainWindow();
    void secondLoadKeepsTheOneMainWindow();
    void deviceEntriesDoNothing();
    void mainWindowOpensWithinTheScreen();
};

void StartupWindowTest::loadHidesItselfAndShowsTheMainWindow() {
    Rig rig;
    QtWindows windows(*rig.program);
    StartupWindow startup(windows, true);
    QVERIFY(startup.mainWindow() == nullptr);
    QVERIFY(!rig.program->hasMainWindow());

    startup.Form_Load();
    QVERIFY(!startup.isVisible());
    MainWindowView* main = startup.mainWindow();
    QVERIFY(main != nullptr);
    QVERIFY(main->isVisible());
    QVERIFY(rig.program->hasMainWindow());
    QVERIFY(main->windowTitle().endsWith(QStringLiteral(" [simulated board]")));
    QVERIFY(!rig.log().empty());  // the main window's load ran its start-up probe
}

void StartupWindowTest::secondLoadKeepsTheOneMainWindow() {
    Rig rig;
    QtWindows windows(*rig.program);
    StartupWindow startup(windows, false);
    startup.Form_Load();
    MainWindowView* first = startup.mainWindow();
    const std::string log = rig.log();
    startup.Form_Load();
    QCOMPARE(startup.mainWindow(), first);
    QCOMPARE(rig.log(), log);  // no second load, no second probe
    QVERIFY(!first->windowTitle().contains(QStringLiteral("simulated")));
}

void StartupWindowTest::deviceEntriesDoNothing() {
    Rig rig;
    QtWindows windows(*rig.program);
    StartupWindow startup(windows, true);
    startup.Form_Load();
    auto* devices = startup.findChild<QMenu*>("MnuDevSel1");
    QVERIFY(devices != nullptr);
    QCOMPARE(devices->actions().size(), 6);

    const std::string log = rig.log();
    const int frames = static_cast<int>(rig.sent().size());
    const auto windowsBefore = QApplication::topLevelWidgets().size();
    for (QAction* entry : devices->actions()) entry->trigger();
    QCOMPARE(rig.log(), log);
    QCOMPARE(static_cast<int>(rig.sent().size()), frames);
    QCOMPARE(QApplication::topLevelWidgets().size(), windowsBefore);
}

// The offscreen screen is narrower than the window's full size; the window and the title bar a
// window manager puts above it still fit.
void StartupWindowTest::mainWindowOpensWithinTheScreen() {
    Rig rig;
    QtWindows windows(*rig.program);
    StartupWindow startup(windows, true);
    startup.Form_Load();
    MainWindowView* main = startup.mainWindow();
    const QRect area = main->screen()->availableGeometry();
    QVERIFY(main->fullSize().width() > area.width());
    constexpr int kTitleBar = 40;
    QVERIFY(main->frameGeometry().height() + kTitleBar <= area.height());
    QVERIFY(main->frameGeometry().width() <= area.width());
}

QTEST_MAIN(StartupWindowTest)
#include "startup_window_test.moc"
