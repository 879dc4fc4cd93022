// The script window's binding: the grid shows the model's cells and colours, a row the user
// selects runs once, a row a run selects is not run again, and windows come and go
// independently, also in the middle of a run.

#include <stdexcept>

#include "gui/gui_test.h"
#include "qt/qt_script_window.h"
#include "scripts/frm_script_ops.h"
#include "support/temp_dir.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

namespace {

// Rows 3 and 4 pass, row 5 fails (register 3 holds 00); row 2's comment is Windows-1252.
const char* const kScript =
    "# register test\r\n00,12      # caf\xe9\r\n00,,12\r\n02,,5A\r\n03,,77\r\n`ENDM\r\n";

struct ScriptWindow : Gui {
    TempDir dir;

    ScriptWindow() {
        rig.wb->windows.openAnotherScriptWindow = [this] { windows->openAnotherScriptWindow(); };
    }
    // Opens a window on these scripts (the first loads; the rest wait for the next loads).
    ScriptWindowView* open(std::deque<std::string> files) {
        for (std::string& f : files) WriteBytes(f = dir.file(f), kScript);
        rig.dialogs.openChoices = std::move(files);
        windows->showScriptWindow();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(view()));
        return view();
    }
    ScriptWindowView* view(std::size_t i = 0) {
        return static_cast<ScriptWindowView*>(windows->scriptWindows().at(i));
    }
    static QVariant cell(ScriptWindowView* v, int row, int column, int role = Qt::DisplayRole) {
        return v->grid()->model()->index(row - 1, column - 1).data(role);
    }
    long requests() {  // I2C requests sent to the board: one per row that reads or writes
        return std::count_if(rig.sent().begin(), rig.sent().end(),
                             [](const WireFrame& f) { return f.endpoint == 0x02; });
    }
    static void clickRow(ScriptWindowView* v, int row) {
        QTableView* grid = v->grid();
        const QRect r = grid->visualRect(grid->model()->index(row - 1, kColRegAdr - 1));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, r.center());
    }
};

}  // namespace

// A run shows the model's cells and colours, and selects each row without running it again.
TEST(ScriptWindow, GridShowsTheModelAndAUserSelectedRowRunsOnce) {
    ScriptWindow t;
    ScriptWindowView* v = t.open({"regs.txt"});
    t.rig.clearSent();
    Do(v, "click:cmdExecAll");
    EXPECT_EQ(t.requests(), 4);  // rows 2 to 5, once each
    const QColor green(0, 255, 0), red(255, 0, 0);
    const struct {
        int row, column;
        QVariant shown;
        int role = Qt::DisplayRole;
    } cells[] = {
        {2, kColComment, QString::fromUtf8("# caf\u00e9")},
        {3, kColActRd, green, Qt::BackgroundRole},
        {5, kColActRd, "00"},
        {5, kColActRd, red, Qt::BackgroundRole},
        {4, kColLine, v->grid()->palette().color(QPalette::Button), Qt::BackgroundRole},
        {4, kColDataWr, QVariant(), Qt::BackgroundRole},  // no colour: the grid's own
    };
    for (const auto& c : cells)
        EXPECT_EQ(ScriptWindow::cell(v, c.row, c.column, c.role), c.shown) << c.row << c.column;
    EXPECT_EQ(v->grid()->selectionModel()->selectedRows(),
              QModelIndexList{v->grid()->model()->index(4, 0)});

    // A row the user selects runs once.
    t.rig.clearSent();
    ScriptWindow::clickRow(v, 4);
    EXPECT_EQ(ScriptWindow::cell(v, 4, kColActRd), "5A");
    QTest::keyClick(v->grid(), Qt::Key_Down);
    EXPECT_EQ(v->model().vbalGrid1.selectedRow(), 5);
    ScriptWindow::clickRow(v, 5);  // already selected: no new selection
    EXPECT_EQ(t.requests(), 2);

    // Esc is Abort during a run: pressed before the first row, the run stops after that row
    // (a comment), so no request goes out.
    v->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(v));
    t.rig.clearSent();
    std::function<void()> escOnceRunning = [&] {
        if (!v->model().ScriptRunning) return t.rig.pump.atYield(1, escOnceRunning);
        QTest::keyClick(v->grid(), Qt::Key_Escape);
    };
    t.rig.pump.atYield(1, escOnceRunning);
    Do(v, "click:cmdExecAll");
    EXPECT_EQ(t.requests(), 0);
}

// Another window goes at once while one runs; a window closed inside its own run stays until
// the run returns.
TEST(ScriptWindow, WindowsOpenAndCloseIndependentlyDuringARun) {
    ScriptWindow t;
    QPointer<ScriptWindowView> a = t.open({"a.txt", "b.txt"});
    Do(a, "menu:Dupform");
    QPointer<ScriptWindowView> b = t.view(1);
    EXPECT_EQ(b->windowTitle(), "[ b.txt ]    Script IC Send / Receive");

    bool aliveInsideTheRun = false;
    for (QPointer<ScriptWindowView> closed : {b, a}) {
        t.rig.clearSent();
        t.rig.pump.atYield(20, [&] {
            closed->close();
            DestroyClosedWindows();
            aliveInsideTheRun = !closed.isNull();
        });
        Do(a, "click:cmdExecAll");
        EXPECT_EQ(t.requests(), 4);
    }
    EXPECT_TRUE(b.isNull() && aliveInsideTheRun);
    EXPECT_TRUE(t.rig.program->scriptWindows().empty() && t.windows->scriptWindows().empty());
    DestroyClosedWindows();
    EXPECT_TRUE(a.isNull());
}

TEST(ScriptWindow, FailedStartUpIsReportedAndLeavesAnEmptyWindow) {
    ScriptWindow t;
    t.rig.pump.atYield(0, [] { throw std::runtime_error("disk gone"); });
    t.windows->showScriptWindow();
    EXPECT_EQ(t.rig.dialogs.messages.back().text, "Script Load Error disk gone");
    EXPECT_EQ(t.view()->grid()->model()->rowCount(), kEmptyGridRows);
}
