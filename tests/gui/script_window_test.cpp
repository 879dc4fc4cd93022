// The script window's binding: the grid shows the model's cells and colours, a row the user
// selects runs once, a row a run selects is not run again, and windows come and go
// independently, also in the middle of a run.

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "foundation/grid.h"
#include "qt/qt_binding.h"
#include "qt/qt_script_window.h"
#include "qt/qt_windows.h"
#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/qt_windows.h"
#include "support/temp_dir.h"

using namespace i2cbridge;
using namespace i2cbridge::testing;

namespace {

// Rows 3 and 4 pass, row 5 fails (register 3 holds 00); row 2's comment is Windows-1252.
const char* const kScript =
    "# register test\r\n"
    "00,12      # caf\xe9\r\n"
    "00,,12\r\n"
    "02,,5A\r\n"
    "03,,77\r\n"
    "`ENDM\r\n";

// The look of a real session, for the pictures in docs/screenshots: one read fails on purpose.
const char* const kScreenshotScript =
    "# Register test of the device at 60\r\n"
    "`A60\r\n"
    "00,12        # write 12 to register 0\r\n"
    "00,,12       # and read it back\r\n"
    "04,A5C3      # two bytes from register 4\r\n"
    "04,,A5C3\r\n"
    "02,,5A       # identifier register\r\n"
    "`w10         # let it settle\r\n"
    "03,,77       # fails: register 3 holds 00\r\n"
    "06,0F\r\n"
    "06,,0F\r\n"
    "`ENDM\r\n";

const QColor kGreen(0, 255, 0);
const QColor kRed(255, 0, 0);

}  // namespace

class ScriptWindowTest : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<TempDir> dir;
    std::unique_ptr<Rig> rig;
    std::unique_ptr<QtWindows> windows;

    std::string script(const char* name, const char* text) {
        const std::string path = dir->file(name);
        WriteBytes(path, text);
        return path;
    }
    ScriptWindowView* view(std::size_t i = 0) {
        const auto open = windows->scriptWindows();
        if (i >= open.size()) qFatal("script window %zu is not open", i);
        return static_cast<ScriptWindowView*>(open[i]);
    }
    template <class W>
    static W* child(QWidget* window, const char* name) {
        return Child<W>(window, name);
    }
    static QVariant cell(ScriptWindowView* v, int row, int column, int role = Qt::DisplayRole) {
        QAbstractItemModel* m = v->grid()->model();
        return m->data(m->index(row - 1, column - 1), role);
    }
    // I2C requests sent to the board: one per row that reads or writes.
    long requests() {
        long n = 0;
        for (const WireFrame& f : rig->sent()) n += f.endpoint == 0x02;
        return n;
    }
    static void clickRow(ScriptWindowView* v, int row) {
        QTableView* grid = v->grid();
        const QRect r = grid->visualRect(grid->model()->index(row - 1, kColRegAdr - 1));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, r.center());
    }
    static void runAll(ScriptWindowView* v) {
        QTest::mouseClick(child<QPushButton>(v, "cmdExecAll"), Qt::LeftButton);
    }

private slots:
    void init() {
        dir = std::make_unique<TempDir>();
        rig = std::make_unique<Rig>();
        rig->main();
        windows = std::make_unique<QtWindows>(*rig->program);
        rig->wb->windows.openAnotherScriptWindow = [this] { windows->openAnotherScriptWindow(); };
    }
    void cleanup() {
        windows.reset();
        rig.reset();
        dir.reset();
    }

    void gridFollowsTheModelThroughALoadAndARun() {
        rig->dialogs.openChoices = {script("regs.txt", kScript)};
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        QCOMPARE(v->windowTitle(), QString("[ regs.txt ]    Script IC Send / Receive"));

        QTableView* grid = v->grid();
        QCOMPARE(grid->model()->rowCount(), 6);
        QCOMPARE(grid->model()->headerData(kColDataWr - 1, Qt::Horizontal), QVariant("Data_Wr"));
        QCOMPARE(cell(v, 4, kColDataRd), QVariant("5A"));
        QCOMPARE(cell(v, 4, kColActRd), QVariant("--"));
        QCOMPARE(cell(v, 2, kColComment), QVariant(QString::fromUtf8("# caf\u00e9")));
        QCOMPARE(cell(v, 4, kColLine, Qt::BackgroundRole).value<QColor>(),
                 grid->palette().color(QPalette::Button));
        QVERIFY(!cell(v, 4, kColActRd, Qt::BackgroundRole).isValid());
        QVERIFY(child<QGroupBox>(v, "frmScriptExec")->isVisible());
        QVERIFY(!child<QGroupBox>(v, "frmDataRecord")->isVisible());

        // A run repaints cell by cell, never the whole grid.
        QSignalSpy changed(grid->model(), &QAbstractItemModel::dataChanged);
        QSignalSpy reset(grid->model(), &QAbstractItemModel::modelReset);
        runAll(v);
        QCOMPARE(reset.count(), 0);
        bool actualOfRow3 = false;
        for (const QList<QVariant>& args : changed) {
            const QModelIndex from = args[0].toModelIndex();
            QCOMPARE(from, args[1].toModelIndex());
            actualOfRow3 |= from.row() == 2 && from.column() == kColActRd - 1;
        }
        QVERIFY(actualOfRow3);

        QCOMPARE(cell(v, 3, kColActRd), QVariant("12"));
        QCOMPARE(cell(v, 3, kColActRd, Qt::BackgroundRole).value<QColor>(), kGreen);
        QCOMPARE(cell(v, 5, kColActRd), QVariant("00"));
        QCOMPARE(cell(v, 5, kColActRd, Qt::BackgroundRole).value<QColor>(), kRed);
        QCOMPARE(cell(v, 5, kColI2CAdr, Qt::BackgroundRole).value<QColor>(), kGreen);
        QCOMPARE(child<QLineEdit>(v, "txtRdFails")->text(), QString("1"));
        QCOMPARE(child<QLineEdit>(v, "txtRunning")->text(), QString("Done"));
        QVERIFY(child<QGroupBox>(v, "frmDataRecord")->isVisible());
        QVERIFY(child<QPushButton>(v, "cmdExecAll")->isVisible());
        QVERIFY(!child<QPushButton>(v, "cmdAbort")->isVisible());
    }

    // A load fits every column to its widest text (Act_Rd as wide as Data_Rd, which its reads
    // fill); a column the user drags keeps its width through a run.
    void columnsFitTheirTextOnLoadAndKeepWhatTheUserDrags() {
        const std::string path = dir->file("gpio_walk.txt");
        std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / "gpio_walk.txt",
                                   path);
        // A first script, then the GPIO walk in the same window: the second load fits too.
        rig->dialogs.openChoices = {script("regs.txt", kScript), path};
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        child<QAction>(v, "mnuScript_Read")->trigger();
        QCoreApplication::processEvents();
        QHeaderView* header = v->grid()->horizontalHeader();
        const QFontMetrics metrics = v->grid()->fontMetrics();
        // The style keeps this much of a cell clear beside its text.
        const int margins = 2 * (v->grid()->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
        const int rows = v->grid()->model()->rowCount();
        for (int c = 1; c < kScriptColumns; ++c) {
            int widest = header->fontMetrics().horizontalAdvance(
                v->grid()->model()->headerData(c - 1, Qt::Horizontal).toString());
            for (int r = 1; r <= rows; ++r) {
                widest = std::max(widest, metrics.horizontalAdvance(cell(v, r, c).toString()));
            }
            QVERIFY2(header->sectionSize(c - 1) >= widest + margins,
                     qPrintable(QString::number(c)));
            QVERIFY2(header->sectionSize(c - 1) < widest + 60, qPrintable(QString::number(c)));
        }
        QVERIFY(cell(v, 3, kColDataWr).toString().size() >= 8);
        QCOMPARE(header->sectionSize(kColActRd - 1), header->sectionSize(kColDataRd - 1));
        QCOMPARE(header->sectionResizeMode(kColDataWr - 1), QHeaderView::Interactive);
        header->resizeSection(kColDataWr - 1, 300);
        runAll(v);
        QCOMPARE(header->sectionSize(kColDataWr - 1), 300);
    }

    // The selected row is framed: its cells keep the colours the run gave them.
    void selectedRowKeepsItsCellColours() {
        rig->dialogs.openChoices = {script("regs.txt", kScript)};
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        runAll(v);
        clickRow(v, 5);
        QTableView* grid = v->grid();
        QCOMPARE(grid->selectionModel()->selectedRows().first().row(), 4);
        const QImage shot = grid->viewport()->grab().toImage();
        const QColor highlight = grid->palette().color(QPalette::Highlight);
        for (const auto& [column, colour] :
             {std::pair{kColI2CAdr, kGreen}, std::pair{kColActRd, kRed}}) {
            const QRect r = grid->visualRect(grid->model()->index(4, column - 1));
            const int x = r.right() - 4;  // clear of the text
            QCOMPARE(shot.pixelColor(x, r.center().y()), colour);
            QCOMPARE(shot.pixelColor(x, r.top()), highlight);  // the frame
        }
        // A cell without a colour of its own is tinted, not filled with the highlight.
        const QRect comment = grid->visualRect(grid->model()->index(4, kColComment - 1));
        const QColor tinted = shot.pixelColor(comment.right() - 4, comment.center().y());
        QVERIFY(tinted != highlight && tinted.lightness() > highlight.lightness());
    }

    void gridFillsTheWindowBelowTheControls() {
        windows->showScriptWindow();  // the file dialog is cancelled: 24 empty rows
        ScriptWindowView* v = view();
        QCOMPARE(v->grid()->model()->rowCount(), kEmptyGridRows);
        QVERIFY(!child<QGroupBox>(v, "frmScriptExec")->isVisible());
        for (const QSize size : {QSize(1300, 760), QSize(1450, 900)}) {
            v->resize(size);
            QVERIFY(QTest::qWaitForWindowExposed(v));
            QCoreApplication::processEvents();
            const Rect& box = v->model().gridBox.rect();
            const QRect g = v->grid()->geometry();
            QCOMPARE(g, QRect(box.left / kTwipsPerPixel, box.top / kTwipsPerPixel,
                              box.width / kTwipsPerPixel, box.height / kTwipsPerPixel));
            const QWidget* inner = v->centralWidget();
            QCOMPARE(box.width, inner->width() * kTwipsPerPixel - 400);
            QVERIFY(g.bottom() < inner->height());
            for (const char* frame : {"frmScriptExec", "frmDataRecord", "frameIsteps"}) {
                QWidget* f = child<QWidget>(v, frame);
                QVERIFY(f->mapTo(inner, f->rect().bottomLeft()).y() < g.top());
            }
        }
    }

    void userSelectedRowRunsOnceAndARunNeverRunsItsRowsTwice() {
        rig->dialogs.openChoices = {script("regs.txt", kScript)};
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        rig->board.model().clearSent();

        clickRow(v, 4);
        QCOMPARE(requests(), 1L);
        QCOMPARE(cell(v, 4, kColActRd), QVariant("5A"));
        QCOMPARE(v->model().vbalGrid1.selectedRow(), 4);

        QTest::keyClick(v->grid(), Qt::Key_Down);
        QCOMPARE(requests(), 2L);
        QCOMPARE(cell(v, 5, kColActRd), QVariant("00"));

        // A click on the row already selected is no new selection.
        clickRow(v, 5);
        QCOMPARE(requests(), 2L);

        rig->board.model().clearSent();
        runAll(v);
        QCOMPARE(requests(), 4L);  // rows 2 to 5, once each
        QCOMPARE(v->grid()->selectionModel()->selectedRows().size(), 1);
        QCOMPARE(v->grid()->selectionModel()->selectedRows().first().row(), 4);

        // Esc is Abort while a run goes on: pressed before the first row, the run stops after
        // that row (a comment), so no request goes out.
        v->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(v));
        rig->board.model().clearSent();
        std::function<void()> escOnceRunning = [&] {
            if (!v->model().ScriptRunning) return rig->pump.atYield(1, escOnceRunning);
            QTest::keyClick(v->grid(), Qt::Key_Escape);
        };
        rig->pump.atYield(1, escOnceRunning);
        runAll(v);
        QCOMPARE(requests(), 0L);
    }

    void windowsOpenAndCloseIndependentlyDuringARun() {
        rig->dialogs.openChoices = {script("a.txt", kScript), script("b.txt", kScript)};
        windows->showScriptWindow();
        QPointer<ScriptWindowView> a = view(0);
        child<QAction>(a, "Dupform")->trigger();
        QCOMPARE(windows->scriptWindows().size(), std::size_t{2});
        QPointer<ScriptWindowView> b = view(1);
        QCOMPARE(b->windowTitle(), QString("[ b.txt ]    Script IC Send / Receive"));
        QCOMPARE(rig->program->scriptWindows().size(), std::size_t{2});
        // The main window's entry shows the first one again.
        windows->showScriptWindow();
        QCOMPARE(windows->scriptWindows().size(), std::size_t{2});

        // b goes at once while a runs; a finishes its run.
        rig->board.model().clearSent();
        rig->pump.atYield(20, [&] {
            b->close();
            DestroyClosedWindows();
        });
        runAll(a);
        QVERIFY(b.isNull());
        QCOMPARE(requests(), 4L);
        QCOMPARE(cell(a, 5, kColActRd, Qt::BackgroundRole).value<QColor>(), kRed);
        QCOMPARE(rig->program->scriptWindows().size(), std::size_t{1});

        // a closed inside its own run stays until the run returns.
        bool aliveInsideTheRun = false;
        rig->board.model().clearSent();
        rig->pump.atYield(20, [&] {
            a->close();
            DestroyClosedWindows();
            aliveInsideTheRun = !a.isNull();
        });
        runAll(a);
        QVERIFY(aliveInsideTheRun);
        QCOMPARE(requests(), 4L);
        QVERIFY(rig->program->scriptWindows().empty());
        QVERIFY(windows->scriptWindows().empty());
        DestroyClosedWindows();
        QVERIFY(a.isNull());
    }

    void failedStartUpIsReportedAndLeavesAnEmptyWindow() {
        rig->pump.atYield(0, [] { throw std::runtime_error("disk gone"); });
        windows->showScriptWindow();
        QCOMPARE(rig->dialogs.messages.back().text, std::string("Script Load Error disk gone"));
        QCOMPARE(view()->windowTitle(), QString("No Script File Selected"));
    }

    // Under a real display with I2CB_SCREENSHOT_DIR set, saves the window before a load, after
    // a load and after a run.
    void screenshots() {
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        QVERIFY(SaveScreenshot(v, "script-empty.png"));
        rig->dialogs.openChoices = {script("register_check.txt", kScreenshotScript)};
        child<QAction>(v, "mnuScript_Read")->trigger();
        QVERIFY(SaveScreenshot(v, "script-loaded.png"));
        runAll(v);
        QVERIFY(SaveScreenshot(v, "script-run.png"));
        clickRow(v, 9);  // the failed read: its colours show through the selection
        QVERIFY(SaveScreenshot(v, "script-selected-row.png"));

        const std::string gpio = dir->file("gpio_walk.txt");
        std::filesystem::copy_file(std::filesystem::path(I2CB_EXAMPLES_DIR) / "gpio_walk.txt",
                                   gpio);
        rig->dialogs.openChoices = {gpio};
        child<QAction>(v, "mnuScript_Read")->trigger();
        QVERIFY(SaveScreenshot(v, "script-gpio-columns.png"));
    }

    // The interrupt example, run from a copy so that its data log stays out of the sources:
    // the service routine ran, its steps show, and the data-record frame is up.
    void interruptExampleShowsItsServiceAndTheDataRecordFrame() {
        const std::string path = dir->file("interrupt_service.txt");
        std::filesystem::copy_file(
            std::filesystem::path(I2CB_EXAMPLES_DIR) / "interrupt_service.txt", path);
        rig->dialogs.openChoices = {path};
        windows->showScriptWindow();
        ScriptWindowView* v = view();
        QVERIFY(QTest::qWaitForWindowExposed(v));
        runAll(v);
        QCOMPARE(v->model().txtRdFails.text(), std::string("0"));
        for (const char* box :
             {"txtIEnableStep", "txtIdetectStep", "txtIstart", "txtIend", "txtIexec"}) {
            QVERIFY2(child<QLineEdit>(v, box)->text() != QLatin1String("----"), box);
        }
        QVERIFY(child<QGroupBox>(v, "frmDataRecord")->isVisible());
        QVERIFY(std::filesystem::exists(dir->file("interrupt_service_DL.txt")));
        QVERIFY(SaveScreenshot(v, "script-interrupt.png"));
    }
};

QTEST_MAIN(ScriptWindowTest)
#include "script_window_test.moc"
