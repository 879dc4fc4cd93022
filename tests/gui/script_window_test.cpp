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

const QColor kGreen(0, 255, 0), kRed(255, 0, 0);

struct ScriptWindow : Gui {
    TempDir dir;

    ScriptWindow() {
        rig.wb->windows.openAnotherScriptWindow = [this] { windows->openAnotherScriptWindow(); };
    }
    std::string script(const char* name, const char* text = kScript) {
        WriteBytes(dir.file(name), text);
        return dir.file(name);
    }
    // Opens a window on these files (the first loads; the rest wait for the next loads).
    ScriptWindowView* open(std::deque<std::string> files) {
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

TEST(ScriptWindow, GridAndControlsFollowTheModelThroughALoadAndARun) {
    ScriptWindow t;
    ScriptWindowView* v = t.open({t.script("regs.txt")});
    EXPECT_EQ(v->windowTitle(), "[ regs.txt ]    Script IC Send / Receive");
    QAbstractItemModel* grid = v->grid()->model();
    EXPECT_EQ(grid->rowCount(), 6);
    EXPECT_EQ(grid->headerData(kColDataWr - 1, Qt::Horizontal), "Data_Wr");
    EXPECT_EQ(ScriptWindow::cell(v, 2, kColComment), QString::fromUtf8("# caf\u00e9"));
    EXPECT_EQ(ScriptWindow::cell(v, 4, kColLine, Qt::BackgroundRole).value<QColor>(),
              v->grid()->palette().color(QPalette::Button));
    EXPECT_FALSE(ScriptWindow::cell(v, 4, kColActRd, Qt::BackgroundRole).isValid());

    // A run repaints cell by cell, never the whole grid.
    QSignalSpy changed(grid, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(grid, &QAbstractItemModel::modelReset);
    Do(v, "click:cmdExecAll");
    EXPECT_EQ(reset.count(), 0);
    EXPECT_GT(changed.count(), 0);
    for (const QList<QVariant>& args : changed) EXPECT_EQ(args[0], args[1]);

    const struct {
        int row, column;
        QVariant shown;
        int role = Qt::DisplayRole;
    } cells[] = {
        {3, kColActRd, "12"},  {3, kColActRd, kGreen, Qt::BackgroundRole},
        {5, kColActRd, "00"},  {5, kColActRd, kRed, Qt::BackgroundRole},
        {4, kColDataRd, "5A"}, {5, kColI2CAdr, kGreen, Qt::BackgroundRole},
    };
    for (const auto& c : cells)
        EXPECT_EQ(ScriptWindow::cell(v, c.row, c.column, c.role), c.shown) << c.row << c.column;
    const struct {
        const char* widget;
        Shows what;
        QString shown;
    } widgets[] = {
        {"txtRdFails", Shows::Text, "1"},           {"txtRunning", Shows::Text, "Done"},
        {"frmDataRecord", Shows::Visible, "shown"}, {"frmScriptExec", Shows::Visible, "shown"},
        {"cmdExecAll", Shows::Visible, "shown"},    {"cmdAbort", Shows::Visible, "hidden"},
    };
    for (const auto& w : widgets) EXPECT_EQ(Read(Child(v, w.widget), w.what), w.shown) << w.widget;
}

TEST(ScriptWindow, UserSelectedRowRunsOnceAndARunNeverRunsItsRowsTwice) {
    ScriptWindow t;
    ScriptWindowView* v = t.open({t.script("regs.txt")});
    t.rig.clearSent();
    ScriptWindow::clickRow(v, 4);
    EXPECT_EQ(t.requests(), 1);
    EXPECT_EQ(ScriptWindow::cell(v, 4, kColActRd), "5A");
    QTest::keyClick(v->grid(), Qt::Key_Down);
    EXPECT_EQ(t.requests(), 2);
    EXPECT_EQ(v->model().vbalGrid1.selectedRow(), 5);
    ScriptWindow::clickRow(v, 5);  // already selected: no new selection
    EXPECT_EQ(t.requests(), 2);

    t.rig.clearSent();
    Do(v, "click:cmdExecAll");
    EXPECT_EQ(t.requests(), 4);  // rows 2 to 5, once each
    EXPECT_EQ(v->grid()->selectionModel()->selectedRows(),
              QModelIndexList{v->grid()->model()->index(4, 0)});

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
    QPointer<ScriptWindowView> a = t.open({t.script("a.txt"), t.script("b.txt")});
    Do(a, "menu:Dupform");
    QPointer<ScriptWindowView> b = t.view(1);
    EXPECT_EQ(b->windowTitle(), "[ b.txt ]    Script IC Send / Receive");
    t.windows->showScriptWindow();  // the main window's entry shows the first one again
    EXPECT_EQ(t.rig.program->scriptWindows().size(), 2u);
    EXPECT_EQ(t.windows->scriptWindows().size(), 2u);

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
    EXPECT_EQ(t.view()->windowTitle(), "No Script File Selected");
    EXPECT_EQ(t.view()->grid()->model()->rowCount(), kEmptyGridRows);
    EXPECT_EQ(Read(Child(t.view(), "frmScriptExec"), Shows::Visible), "hidden");
}
