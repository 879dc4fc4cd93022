// The generic binders: visibility before and after the window shows, Enter, focus loss,
// clicks, tabs and scroll bars.

#include <QFocusEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTabWidget>
#include <QVBoxLayout>
#include <QtTest>

#include "foundation/controls.h"
#include "qt/qt_binding.h"
#include "qt/qt_log_view.h"

using namespace i2cbridge;

class BindingTest : public QObject {
    Q_OBJECT

private slots:
    void hiddenModelKeepsItsWidgetHiddenWhenTheWindowShows();
    void widgetWithoutParentNeverOpensAsAWindow();
    void textFromAWindowsFileShowsAndIsTypedAsWindows1252();
    void enterGivesTheKeyPressHandlerCode13();
    void focusLossCountsOnlyInsideTheWindow();
    void clickNeedsLeftPressAndReleaseOverTheWidget();
    void tabsFollowTheModelAndReportTheUsersChoice();
    void scrollBarTakesPlaceRangeAndValueInTwips();
    void logViewShowsTheModelsLinesWithTheNewestInView();
};

void BindingTest::hiddenModelKeepsItsWidgetHiddenWhenTheWindowShows() {
    // Models outlive their widgets, as the workbench outlives the windows.
    TextBox hiddenModel("--");
    hiddenModel.setVisible(false);
    TextBox shownModel("AA");
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* hidden = new QLineEdit(&window);
    auto* shown = new QLineEdit(&window);
    layout->addWidget(hidden);
    layout->addWidget(shown);
    bind::text(hiddenModel, hidden);
    bind::text(shownModel, shown);

    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QList<bool> seen{hidden->isVisible(), shown->isVisible()};
    hiddenModel.setVisible(true);
    seen << hidden->isVisible();
    for (bool visible : {false, true}) {
        shownModel.setVisible(visible);
        seen << shown->isVisible();
    }
    QCOMPARE(seen, (QList<bool>{false, true, true, false, true}));
}

void BindingTest::widgetWithoutParentNeverOpensAsAWindow() {
    TextBox model("60");
    QLineEdit orphan;
    bind::text(model, &orphan);
    QCOMPARE(orphan.text(), QStringLiteral("60"));
    QVERIFY(!orphan.isVisible());
    model.setVisible(false);
    model.setVisible(true);
    QVERIFY(!orphan.isVisible());
}

void BindingTest::textFromAWindowsFileShowsAndIsTypedAsWindows1252() {
    TextBox model("Phase 90\xB0");
    QLineEdit box;
    bind::text(model, &box);
    QCOMPARE(box.text(), QStringLiteral("Phase 90°"));
    QTest::keyClicks(&box, QStringLiteral(" µs"));
    QCOMPARE(model.text(), std::string("Phase 90\xB0 \xB5s"));
}

void BindingTest::enterGivesTheKeyPressHandlerCode13() {
    QWidget window;
    auto* box = new QLineEdit(&window);
    QList<int> keys;
    bind::onEnter(box, [&keys](int& key) { keys << key; });
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QTest::keyClicks(box, QStringLiteral("7F"));
    QVERIFY(keys.isEmpty());
    QTest::keyClick(box, Qt::Key_Return);
    QTest::keyClick(box, Qt::Key_Enter);  // the keypad's Enter
    QCOMPARE(keys, (QList<int>{13, 13}));
}

void BindingTest::focusLossCountsOnlyInsideTheWindow() {
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* first = new QLineEdit(&window);
    layout->addWidget(first);
    layout->addWidget(new QLineEdit(&window));
    int lost = 0;
    bind::onFocusLost(first, [&lost] { ++lost; });
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // Another window or a popup takes the focus: the box still has it within its window. The
    // next box by Tab or by mouse takes it for good.
    QList<int> seen;
    for (Qt::FocusReason reason : {Qt::ActiveWindowFocusReason, Qt::PopupFocusReason,
                                   Qt::TabFocusReason, Qt::MouseFocusReason}) {
        QFocusEvent out(QEvent::FocusOut, reason);
        QApplication::sendEvent(first, &out);
        seen << lost;
    }
    QCOMPARE(seen, (QList<int>{0, 0, 1, 2}));
}

void BindingTest::clickNeedsLeftPressAndReleaseOverTheWidget() {
    QWidget window;
    window.resize(200, 100);
    auto* box = new QLineEdit(&window);
    box->setGeometry(10, 10, 60, 24);
    int clicks = 0;
    bind::onClick(box, [&clicks] { ++clicks; });
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QTest::mouseClick(box, Qt::LeftButton);
    QList<int> seen{clicks};
    QTest::mouseClick(box, Qt::RightButton);
    seen << clicks;
    // Pressed over the box, let go beside it: no click.
    QTest::mousePress(box, Qt::LeftButton, {}, QPoint(5, 5));
    QTest::mouseRelease(box, Qt::LeftButton, {}, QPoint(150, 60));
    QCOMPARE(seen << clicks, (QList<int>{1, 1, 1}));
}

void BindingTest::tabsFollowTheModelAndReportTheUsersChoice() {
    TabControl model;
    QTabWidget tabs;
    tabs.addTab(new QWidget, QStringLiteral("General I2C Comm"));
    tabs.addTab(new QWidget, QStringLiteral("Program Log"));
    QList<int> seenByHandler;
    bind::tabs(model, &tabs, [&] { seenByHandler << model.tab(); });

    model.setTab(1);  // the handler is for the user's clicks only
    const int shownFirst = tabs.currentIndex();
    tabs.setCurrentIndex(0);
    QCOMPARE((QList<int>{shownFirst, model.tab()}), (QList<int>{1, 0}));
    QCOMPARE(seenByHandler, QList<int>{0});
}

void BindingTest::scrollBarTakesPlaceRangeAndValueInTwips() {
    ScrollBar model;
    QWidget window;
    auto* bar = new QScrollBar(Qt::Vertical, &window);
    int changes = 0;
    bind::scroll(model, bar, [&changes] { ++changes; });

    model.setRect({4500, 0, 255, 6000});
    QCOMPARE(bar->geometry(), QRect(300, 0, 17, 400));
    model.setMax(3000);
    model.setLargeChange(2500);
    model.setSmallChange(250);
    model.setValue(1500);
    // No change handler call: the model moved it, not the user.
    QCOMPARE(
        (QList<int>{bar->maximum(), bar->pageStep(), bar->singleStep(), bar->value(), changes}),
        (QList<int>{200, 166, 16, 100, 0}));
    bar->setValue(40);
    QCOMPARE((QList<int>{model.value(), changes}), (QList<int>{600, 1}));
}

void BindingTest::logViewShowsTheModelsLinesWithTheNewestInView() {
    LogBox model;
    model.append("Setting up :11-18-2026 17:05:09\r\n\r\n");
    LogView view(model.text());
    bind::log(model, &view);
    view.resize(300, 100);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    for (int i = 0; i < 50; ++i) model.append("Entry " + std::to_string(i) + "\r\n\r\n");

    QCOMPARE(view.lineCount(), 2 * 51 + 1);  // each entry, a blank line, and the empty last
    QString shown = QString::fromStdString(model.text());
    QCOMPARE(view.toPlainText(), shown.remove(QLatin1Char('\r')));
    QScrollBar* bar = view.verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 0);
    QCOMPARE(bar->value(), bar->maximum());

    QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(view.selectedText(), view.toPlainText());
    model.clear();
    QCOMPARE(view.toPlainText() + view.selectedText(), QString());
    QCOMPARE(bar->maximum(), 0);
}

QTEST_MAIN(BindingTest)
#include "binding_test.moc"
