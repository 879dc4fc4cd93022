// Script windows against the simulated board: loading into the grid, the address box, running
// rows (single, Run All Steps, Loop Cont), compares and counters, aborts, and the faults a row
// can carry.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

using Bytes = std::vector<uint8_t>;

struct ScriptRig : ::testing::Test {
    Rig rig;
    TempDir dir;

    // A new window that loads `text` as its start-up asks for a file.
    FrmScriptOps& open(const std::string& text, const std::string& name = "t.txt") {
        const std::string path = dir.file(name);
        WriteBytes(path, text);
        rig.main();  // the start-up takes the main window's address
        auto w = rig.program->newScriptWindow();
        rig.dialogs.openChoices.push_back(path);
        w->Form_Load();
        rig.board.model().clearSent();
        return *w;
    }
    static std::string cell(FrmScriptOps& w, int row, int column) {
        return w.vbalGrid1.cell(row, column).text;
    }
    static RgbColor back(FrmScriptOps& w, int row, int column) {
        return w.vbalGrid1.cell(row, column).back;
    }
    // The pass and fail counters, as "passes/fails".
    static std::string tally(FrmScriptOps& w) {
        return w.txtRdPass.text() + "/" + w.txtRdFails.text();
    }
    // The I2C requests sent on pipe 2.
    std::vector<Bytes> requests() {
        std::vector<Bytes> out;
        for (const WireFrame& f : rig.sent())
            if (f.endpoint == 0x02) out.push_back(f.bytes);
        return out;
    }
};

// --- Loading ----------------------------------------------------------------------------------

using Loading = ScriptRig;

TEST_F(Loading, BeforeAFileIsChosenTheGridHas24EmptyRowsAndTheRunFrameIsHidden) {
    rig.main();
    auto w = rig.program->newScriptWindow();
    w->Form_Load();  // the dialog is cancelled
    EXPECT_EQ(w->vbalGrid1.rowCount(), kEmptyGridRows);
    EXPECT_EQ(w->vbalGrid1.columnCount(), kScriptColumns);
    EXPECT_EQ(w->vbalGrid1.column(kColComment).header, "Comment");
    EXPECT_EQ(w->Caption.caption(), "No Script File Selected");
    EXPECT_FALSE(w->frmScriptExec.visible() || w->ScriptFileSelected);
    ASSERT_EQ(rig.dialogs.openShown.size(), 1u);
    EXPECT_EQ(rig.dialogs.openShown[0].title + " " + rig.dialogs.openShown[0].filter,
              "Select Script File to Open Quantrel Script Files |*.txt|All Files|*.*");

    w->cmdReload2_Click();
    EXPECT_NE(rig.log().find("No Script File Opened yet, use File Menu"), std::string::npos);
}

// A click on Open that lands in the start-up's yield, before the start-up asks for a file.
TEST_F(Loading, AnOpenClickedWhileTheWindowStartsLoadsIntoItsGrid) {
    rig.main();
    auto w = rig.program->newScriptWindow();
    const std::string path = dir.file("early.txt");
    WriteBytes(path, "02,,5A\r\n");
    rig.pump.atYield(1, [&] {
        rig.dialogs.openChoices.push_back(path);
        w->mnuScript_Read_Click();
    });
    w->Form_Load();  // its own dialog is cancelled
    EXPECT_EQ(cell(*w, 1, kColRegAdr) + " " + cell(*w, 1, kColDataRd), "02 5A");
}

TEST_F(Loading, GridShowsEveryLineWithCaptionsCountsAndWidths) {
    std::vector<std::string> captions;
    rig.main();
    auto w = rig.program->newScriptWindow();
    w->Caption.onChange = [&] { captions.push_back(w->Caption.caption()); };
    const std::string path = dir.file("demo.txt");
    WriteBytes(path, "# demo\r\n01,,3c  # id\r\n`ENDM\r\n1234,ABCDEF0011223344\r\n");
    rig.dialogs.openChoices.push_back(path);
    w->Form_Load();

    EXPECT_EQ(captions,
              (std::vector<std::string>{"No Script File Selected",
                                        "[ demo.txt ]    Loading Script File .. Please Wait",
                                        "Processing " + path, "Processing demo.txt",
                                        "[ demo.txt ]    Script IC Send / Receive"}));
    ASSERT_EQ(w->vbalGrid1.rowCount(), 4);
    std::string row2;
    for (int c : {kColLine, kColI2CAdr, kColDataRd, kColActRd, kColOperation, kColComment})
        row2 += cell(*w, 2, c) + "|";
    EXPECT_EQ(row2, "002|60|3C|--| Reg:1 R:1|# id|");
    EXPECT_EQ(back(*w, 3, kColLine), RgbColor(kButtonFaceColor));
    EXPECT_EQ(w->txttotReads.text() + "/" + w->txtTotLines.text(), "1/4");
    EXPECT_EQ(rig.wb->script.EndMainLine, 3);
    EXPECT_EQ(w->txtScriptLine1.text(), "17:05:09");
    EXPECT_TRUE(w->frmScriptExec.visible() && w->cmdReload2.visible());
    // 16 characters of write data: 128 pixels; read data stays at the 8-character minimum.
    EXPECT_EQ(w->vbalGrid1.column(kColDataWr).width, 128);
    EXPECT_EQ(w->vbalGrid1.column(kColActRd).width, 64);
}

TEST_F(Loading, AFileThatCannotBeReadIsReportedAndTheRowsShownStay) {
    const std::pair<std::string, std::string> cases[] = {
        {"missing.txt", "No such file or directory"},
        {"folder", "Is a directory"},  // opens as a file, reads as nothing
    };
    std::filesystem::create_directory(dir.file("folder"));
    for (const auto& [name, reason] : cases) {
        FrmScriptOps& w = open("02,,5A\r\n`EISTART\r\n`EIEND\r\n");
        w.cmdExecAll_Click();
        rig.dialogs.messages.clear();
        w.cdldialog.setFileName(dir.file(name));
        const std::optional<LoadOutcome> load = w.cmdReload2_Click();
        ASSERT_TRUE(load.has_value());
        EXPECT_EQ(std::tuple(load->loaded, load->error, load->reason, load->path),
                  std::tuple(false, CoreError::FileUnreadable, reason, dir.file(name)));
        ASSERT_EQ(rig.dialogs.messages.size(), 1u) << name;
        EXPECT_EQ(rig.dialogs.messages[0].text, "Script Load Error " + reason);
        EXPECT_EQ(w.vbalGrid1.rowCount(), 3) << name;
        // Every box still tells of the rows in force.
        EXPECT_EQ(tally(w) + " " + w.txttotReads.text() + " " + w.txtIstart.text() + "-" +
                      w.txtIend.text() + " " + std::to_string(rig.wb->script.IntEndLine),
                  "1/0 1 2-3 3");
        EXPECT_EQ(w.Caption.caption(), "[ t.txt ]    Script IC Send / Receive");
        EXPECT_TRUE(w.cmdExecAll.enabled());
    }
}

TEST_F(Loading, TheLoadTellsItsNumbersAndMarksWhatItCouldNotReadInTheRow) {
    FrmScriptOps& w =
        open("\xEF\xBB\xBF`A62 # id\r\nZZ,QQ\r\n02,,5A\r\n`ENDM\r\n`EISTART\r\n`EIEND\r\n");
    const std::optional<LoadOutcome> load = w.cmdReload2_Click();
    ASSERT_TRUE(load.has_value());
    EXPECT_EQ(std::tuple(load->loaded, load->rows, load->totalReads, load->endMainLine,
                         load->intStartLine, load->intEndLine, load->remarks.size()),
              std::tuple(true, 6, 1, 4, 5, 6, 2u));
    // The mark hides no command; the rows load as always and say what they hold.
    EXPECT_EQ(cell(w, 1, kColOperation) + "|" + cell(w, 1, kColComment) + "|" +
                  cell(w, 2, kColComment) + "|" + cell(w, 2, kColRegAdr),
              "Cmd:Set I2C Adr|# id UTF-8 byte-order mark skipped| Not hexadecimal: ZZ QQ|ZZ");
}

TEST_F(Loading, AFileOfMoreThan1000LinesStopsAtLine1000AndSaysSo) {
    std::string text;
    for (int i = 0; i < 1001; ++i) text += "02,,5A\n";
    FrmScriptOps& w = open(text);
    EXPECT_EQ(w.vbalGrid1.rowCount(), 1000);
    EXPECT_EQ(cell(w, 1000, kColLine), "1000");
    EXPECT_NE(rig.log().find("has 1001 lines; only the first 1000 were loaded"), std::string::npos);
}

TEST_F(Loading, TheAddressBoxReloadsOrRefuses) {
    const struct {
        const char *typed, *box, *rowAddress;  // the row's before any address command
        bool refused;
    } cases[] = {
        {"a0", "A0", "A0", false},
        {"3C", "3C", "3C", false},
        {"FF", "60", "60", true},
        {"8000", "60", "60", true},  // reads as a negative number
    };
    for (const auto& c : cases) {
        FrmScriptOps& w = open("02,,5A\r\n");
        rig.markLog();
        w.txtI2CAdr.setText(c.typed);
        int enter = kKeyEnter;
        w.txtI2CAdr_KeyPress(enter);
        EXPECT_EQ(w.txtI2CAdr.text(), c.box) << c.typed;
        EXPECT_EQ(cell(w, 1, kColI2CAdr), c.rowAddress) << c.typed;
        EXPECT_EQ(
            rig.logSinceMark().find("Address value too large script default I2C address Invalid") !=
                std::string::npos,
            c.refused)
            << c.typed;
        rig.main().txtI2CAdr.setText("60");
        rig.wb->i2c.setAddress(0x60);
    }
}

// --- Running ----------------------------------------------------------------------------------

using Running = ScriptRig;

// The main part ends before the End Main row.
TEST_F(Running, RunAllComparesCountsAndColours) {
    // Register 2 holds 5A, register 3 holds 00.
    FrmScriptOps& w = open("02,,5A\r\n03,,11\r\n10,55,55\r\n10\r\n`w250\r\n`ENDM\r\n02,,5A\r\n");
    std::string totalDuringRun;
    rig.pump.atYield(10010, [&] { totalDuringRun = w.txtTotLines.text(); });
    const long slept = rig.pump.sleptMs;
    const PassOutcome pass = w.cmdExecAll_Click();
    std::vector<std::string> rows;
    for (const RowOutcome& r : pass.rows) {
        rows.push_back(r.line + " " + RowKindName(r.kind) + " " +
                       (r.compare ? r.compare->expected + "/" + r.compare->actual : "-") +
                       (r.failed()   ? " FAIL"
                        : r.passed() ? " PASS"
                                     : ""));
    }
    EXPECT_EQ(rows, (std::vector<std::string>{"001 read 5A/5A PASS", "002 read 11/00 FAIL",
                                              "003 write and read 55/55 PASS", "004 no transfer -",
                                              "005 delay -"}));
    EXPECT_EQ(std::tuple(pass.passed, pass.failed, pass.end, pass.lastMainRow, pass.rowsNotRun),
              std::tuple(2, 1, PassEnd::Completed, 5, std::vector<int>{}));
    EXPECT_EQ(std::tuple(totalDuringRun, cell(w, 5, kColActRd), rig.pump.sleptMs - slept,
                         cell(w, 7, kColActRd)),
              std::tuple("6", "Delay 250", 250, "--"));
    EXPECT_EQ(pass.rows[2].write, (TransferOutcome{3, 3, CoreError::None}));

    EXPECT_EQ(tally(w), "2/1");
    EXPECT_EQ(cell(w, 2, kColActRd), "00");
    EXPECT_EQ(back(w, 1, kColActRd), RgbColor(kCellGreen));
    EXPECT_EQ(back(w, 2, kColActRd), RgbColor(kCellRed));
    for (int n = 1; n <= 6; ++n) EXPECT_EQ(back(w, n, kColI2CAdr).has_value(), n != 6) << n;
    EXPECT_EQ(w.txtRunning.text(), "Done");
    EXPECT_TRUE(w.frmDataRecord.visible());
    EXPECT_FALSE(rig.wb->usb.UsbOpen || rig.wb->usb.ManualUsbConnect);
    // The write goes before its read-back; a register alone sends nothing.
    EXPECT_EQ(requests(),
              (std::vector<Bytes>{
                  {1, 0x61, 0x02}, {1, 0x61, 0x03}, {2, 0x60, 0x10, 0x55}, {1, 0x61, 0x10}}));
}

TEST_F(Running, FramesOfMultiByteRowsAndRowsWithoutRegister) {
    FrmScriptOps& w = open("`AA0\r\n0010,AA55\r\n0010,,AA55\r\n`A60\r\n,AB\r\n");
    w.cmdExecAll_Click();
    EXPECT_EQ(requests(),
              (std::vector<Bytes>{
                  {4, 0xA0, 0x00, 0x10, 0xAA, 0x55}, {2, 0xA1, 0x00, 0x10}, {1, 0x60, 0xAB}}));
    EXPECT_EQ(w.txtRdPass.text(), "1");
    EXPECT_FALSE(back(w, 2, kColDataWr).has_value());  // count 5 acknowledged
}

TEST_F(Running, AbortOnFailStopsAfterTheFailingRow) {
    for (bool abortOnFail : {true, false}) {
        FrmScriptOps& w = open("03,,11\r\n03,,22\r\n02,,5A\r\n");
        w.chkAOF.setChecked(abortOnFail);
        const PassOutcome pass = w.cmdExecAll_Click();
        EXPECT_EQ(tally(w), abortOnFail ? "0/1" : "1/2");
        EXPECT_EQ(std::tuple(pass.end, pass.rowsNotRun),
                  abortOnFail ? std::tuple(PassEnd::AbortOnFail, std::vector<int>{2, 3})
                              : std::tuple(PassEnd::Completed, std::vector<int>{}));
    }
}

TEST_F(Running, CancelAtAKeypressPauseEndsRunAllAndLoopCont) {
    FrmScriptOps& w = open("02,,5A\r\n`w\r\n02,,5A\r\n");
    rig.dialogs.answers = {Dialogs::Answer::Cancel};
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(w.txtRdPass.text(), "1");
    EXPECT_EQ(cell(w, 2, kColActRd), "Delay Keypress");
    EXPECT_EQ(rig.dialogs.messages.back().text,
              "Script Pause Line :2 Click OK to Continue, Cancel to Abort");
    EXPECT_EQ(std::tuple(pass.end, pass.rowsNotRun, pass.rows.back().cancelled),
              std::tuple(PassEnd::Cancelled, std::vector<int>{3}, true));

    rig.dialogs.answers = {Dialogs::Answer::Ok, Dialogs::Answer::Ok, Dialogs::Answer::Cancel};
    const LoopOutcome loop = w.cmdRunContinuous_Click();
    EXPECT_EQ(w.txtLoopCount.text(), "3");
    // The button keeps only the last pass.
    EXPECT_EQ(std::tuple(loop.passesRun, loop.end, loop.passes.size()),
              std::tuple(3, PassEnd::Cancelled, 1u));
    EXPECT_TRUE(w.cmdRunContinuous.visible() && !w.cmdAbort.visible());
}

// Abort ends Loop Cont at the first click, whenever it lands: between passes (the button stays
// on show) or inside a row; a stop request does the same. The boxes then show the totals of
// every pass that ran, the cut-off one included.
TEST_F(Running, LoopContEndsAtTheFirstAbortAndShowsTheTotals) {
    const struct {
        std::string when;
        int passes;               // 0: until the request
        std::string shown;        // loop count, passes/fails
        std::vector<int> notRun;  // of the last pass
    } cases[] = {
        {"between passes", 0, "2 2/2", {}},  // after pass 2
        {"in a row", 0, "3 3/2", {2}},       // in row 1 of pass 3
        {"stop in a row", 0, "3 3/2", {2}},
        {"never", 4, "4 4/4", {}},
    };
    for (const auto& c : cases) {
        FrmScriptOps& w = open("02,,5A\r\n03,,11\r\n");  // a pass and a fail
        std::atomic<bool> stop{false};
        bool abortShown = true;
        w.txtLoopCount.onChange = [&] {
            if (c.when != "between passes" || w.txtLoopCount.text() != "2") return;
            abortShown = w.cmdAbort.visible();
            w.cmdAbort_Click();
        };
        int started = 0;
        w.onRowStarted = [&](int) {
            if (++started == 5 && c.when == "in a row") w.cmdAbort_Click();
            if (started == 5 && c.when == "stop in a row") stop = true;
        };
        const LoopOutcome loop = w.RunLoop({c.passes, &stop, true, {}});
        EXPECT_TRUE(abortShown) << c.when;
        EXPECT_EQ(w.txtLoopCount.text() + " " + tally(w), c.shown) << c.when;
        EXPECT_EQ(
            std::tuple(std::to_string(loop.passes.size()) + " " +
                           std::to_string(loop.comparesPassed) + "/" + std::to_string(loop.failed),
                       loop.passes.back().rowsNotRun, loop.aborted),
            std::tuple(c.shown, c.notRun, c.passes == 0))
            << c.when;
        w.txtLoopCount.onChange = nullptr;
        w.onRowStarted = nullptr;
    }
}

TEST_F(Running, IllegalAddressIsRefusedAndTheRunGoesOn) {
    FrmScriptOps& w = open("`AFF\r\n02,,5A\r\n`AFE\r\n02,,5A\r\n");
    w.cmdExecAll_Click();
    // The address command's own row is checked like any other.
    ASSERT_EQ(rig.dialogs.messages.size(), 2u);
    EXPECT_EQ(
        rig.dialogs.messages[0].text + "; " + rig.dialogs.messages[1].text,
        "Illegal I2C address Script Row 1 Value = FF; Illegal I2C address Script Row 2 Value = FF");
    EXPECT_EQ(requests(), (std::vector<Bytes>{{1, 0xFF, 0x02}}));  // FE's read address
}

TEST_F(Running, ARowOfMoreThan255BytesIsMarkedAndNotSent) {
    const std::string data(600, 'A');  // 300 bytes
    FrmScriptOps& w = open("10," + data + "\r\n02,,5A\r\n");
    w.cmdExecAll_Click();
    const PassOutcome pass = w.cmdExecAll_Click();  // the remark is made once, not once per run
    EXPECT_EQ(std::tuple(pass.rows[0].kind, pass.rows[0].error, pass.failed),
              std::tuple(RowKind::NotSent, CoreError::NotSent, 1));
    EXPECT_EQ(back(w, 1, kColOperation), RgbColor(kCellRed));
    EXPECT_EQ(cell(w, 1, kColComment), " Not sent: more than 255 bytes for one frame");
    EXPECT_EQ(requests(), (std::vector<Bytes>{{1, 0x61, 0x02}, {1, 0x61, 0x02}}));
}

// A device that does not answer: the boxes count compares only, and the zeros of an empty
// reply equal the expected 00; the outcome fails every row not done in full.
TEST_F(Running, UnacknowledgedRowsFailInTheOutcome) {
    FrmScriptOps& w = open("`A62\r\n10,55\r\n02,,00\r\n");
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(tally(w), "1/0");
    ASSERT_EQ(pass.rows.size(), 3u);
    EXPECT_EQ(std::tuple(pass.rows[1].write, pass.rows[2].read, pass.rows[2].error, pass.failed),
              std::tuple(TransferOutcome{3, 0, CoreError::NotAcknowledged},
                         TransferOutcome{1, 0, CoreError::ShortRead}, CoreError::ShortRead, 2));
}

TEST_F(Running, EightDigitGpioRowSetsEnablesComparesAndKeepsTheIdleValue) {
    FrmScriptOps& w = open("`G5AA5FFFF\r\n`G5AA50000\r\n");
    w.cmdExecAll_Click();
    // Pairs 1 to 4 are port B data, port C data, port B enables, port C enables.
    EXPECT_EQ(rig.wb->GpioState, (GpioBytes{0x00, 0x00, 0x5A, 0xA5}));
    // Undriven pins read high (the LED bits their latch), so the second row reads back other
    // data than it wrote.
    EXPECT_EQ(cell(w, 1, kColActRd) + " " + cell(w, 2, kColActRd), "5AA5FFFF FFFD0000");
    EXPECT_EQ(w.txtIDefault.text(), "5AA5");
    EXPECT_EQ(tally(w), "1/1");
}

// A GPIO row has no I2C address: the next script loaded into the window must not start from
// address 00, the general call address.
TEST_F(Running, AGpioScriptLeavesTheAddressTheNextLoadStartsFrom) {
    FrmScriptOps& w = open("`G5AA5\r\n");
    w.cmdExecAll_Click();
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
    rig.wb->i2c.setAddress(0);  // left behind by any other window's rows
    const std::string next = dir.file("next.txt");
    WriteBytes(next, "02,,5A\r\n");
    rig.dialogs.openChoices.push_back(next);
    w.mnuScript_Read_Click();
    EXPECT_EQ(cell(w, 1, kColI2CAdr), "60");
}

TEST_F(Running, ASingleRowSelectedWhileIdleOpensAndClosesTheBoard) {
    FrmScriptOps& w = open("02,,5A\r\n03,,00\r\n");
    for (bool heldOpen : {false, true}) {
        if (heldOpen) rig.main().cmdUSBConnect_Click();
        w.vbalGrid1.setSelectedRow(2);
        w.vbalGrid1_SelectionChange(2, 1);
        EXPECT_FALSE(rig.wb->usb.UsbOpen || rig.wb->usb.ManualUsbConnect) << heldOpen;
        EXPECT_EQ(back(w, 2, kColActRd), RgbColor(kCellGreen)) << heldOpen;
    }
    EXPECT_EQ(requests().size(), 2u);
}

TEST_F(Running, AReadThatCouldNotTakePlaceLeavesActRdEmpty) {
    FrmScriptOps& w = open("02,,5A\r\n");
    rig.board.failInit(usb_status::kNoDevice);  // the board never opens
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(pass.rows.at(0).read, (TransferOutcome{1, 0, CoreError::NoBoard}));
    EXPECT_EQ(cell(w, 1, kColActRd), "");
    EXPECT_EQ(tally(w), "0/1");
}

TEST_F(Running, WindowsCloseInAnyOrderWhileAnotherRuns) {
    FrmScriptOps& first = open("02,,5A\r\n02,,5A\r\n", "a.txt");
    FrmScriptOps& second = open("02,,5A\r\n", "b.txt");
    rig.pump.atYield(10010, [&] { rig.program->closeScriptWindow(second); });
    first.cmdExecAll_Click();
    // The End Main line is one for all windows: the script loaded last (one line) sets it.
    EXPECT_EQ(first.txtRdPass.text(), "1");
    EXPECT_EQ(rig.program->scriptWindows().size(), 1u);
    rig.pump.atYield(10010, [&] { rig.program->closeScriptWindow(first); });
    first.cmdExecAll_Click();  // runs to its end on a window already closed
    EXPECT_TRUE(rig.program->scriptWindows().empty());
}

}  // namespace
}  // namespace i2cbridge::testing
