// Script windows against the simulated board: loading into the grid, running rows (single,
// Run All Steps, Loop Cont), compares and counters, aborts, writing measured data back into
// scripts and the "_DL" data log, interrupt sampling with its service routine, and the example
// scripts.

#include <atomic>
#include <filesystem>
#include <optional>
#include <tuple>

#include "script_fixture.h"
#include "scripts/script_record_text.h"

namespace i2cbridge::testing {
namespace {

using Loading = ScriptTest;
using Running = ScriptTest;
using Record = ScriptTest;

TEST_F(Loading, WithoutAFileTheGridIsEmptyAndReloadSaysSo) {
    auto w = (rig.main(), rig.program->newScriptWindow());
    w->Form_Load();  // the dialog is cancelled
    w->cmdReload2_Click();
    EXPECT_EQ(std::tuple(w->vbalGrid1.rowCount(), w->ScriptFileSelected, rig.messages().back()),
              std::tuple(kEmptyGridRows, false, "No Script File Opened yet, use File Menu"));
}

// The rows show their cells, with what the reader could not read; lines past 1000
// are left out with a word in the log.
TEST_F(Loading, TheGridShowsTheRowsAndTheLoadItsNumbers) {
    std::string text =
        "\xEF\xBB\xBF`A62 # id\r\nZZ,QQ\r\n01,,3c # id\r\n`ENDM\r\n"
        "1234,ABCDEF0011223344\r\n`EISTART\r\n`EIEND\r\n";
    for (int i = 7; i < 1001; ++i) text += i == 999 ? "0G,,5A\n" : "02,,5A\n";  // row 1000
    FrmScriptOps& w = open(text);
    std::string shown;
    for (int c : {kColLine, kColI2CAdr, kColDataRd, kColActRd, kColOperation, kColComment})
        shown += cell(w, 3, c) + "|";
    shown += cell(w, 1, kColComment) + "|" + cell(w, 2, kColComment) + "|" +
             cell(w, 1000, kColComment) + "|" + w.txttotReads.text() + " " + w.txtTotLines.text() +
             " " + w.txtIstart.text() + "-" + w.txtIend.text();
    EXPECT_EQ(shown,
              "003|62|3C|--| Reg:1 R:1|# id|# id UTF-8 byte-order mark skipped| Not "
              "hexadecimal: ZZ QQ| Not hexadecimal: 0G|994 1000 6-7");
    EXPECT_TRUE(rig.messages().back().ends_with("has 1001 lines; only the first 1000 were loaded"));
}

// A file that cannot be read is reported, and every box still tells of the rows in force.
TEST_F(Loading, AFileThatCannotBeReadIsReportedAndTheRowsShownStay) {
    std::filesystem::create_directory(dir.file("folder"));  // opens as a file, reads as nothing
    for (const char* name : {"missing.txt", "folder"}) {
        FrmScriptOps& w = open("02,,5A\r\n`EISTART\r\n`EIEND\r\n");
        w.cmdExecAll_Click();
        rig.dialogs.messages.clear();
        w.cdldialog.setFileName(dir.file(name));
        const std::optional<LoadOutcome> load = w.cmdReload2_Click();
        ASSERT_TRUE(load.has_value() && rig.dialogs.messages.size() == 1u && !load->reason.empty());
        EXPECT_EQ(
            std::tuple(load->loaded, load->error, rig.dialogs.messages[0].text,
                       tally(w) + " " + w.txttotReads.text() + " " + w.txtIstart.text() + "-" +
                           w.txtIend.text() + " " + std::to_string(w.vbalGrid1.rowCount())),
            std::tuple(false, CoreError::FileUnreadable, "Script Load Error " + load->reason,
                       "1/0 1 2-3 3"));
    }
}

TEST_F(Loading, TheAddressBoxReloadsTheScriptAtEnter) {
    FrmScriptOps& w = open("02,,5A\r\n");
    w.txtI2CAdr.setText("a0");
    int enter = kKeyEnter;
    w.txtI2CAdr_KeyPress(enter);
    EXPECT_EQ(cell(w, 1, kColI2CAdr), "A0");
}

// The main part ends before the End Main row. Register 2 holds 5A, register 3 holds 00.
TEST_F(Running, RunAllComparesCountsAndColours) {
    FrmScriptOps& w = open("02,,5A\r\n03,,11\r\n10,55,55\r\n10\r\n`w250\r\n`ENDM\r\n02,,5A\r\n");
    const PassOutcome pass = w.cmdExecAll_Click();
    std::vector<std::string> rows;
    for (const RowOutcome& r : pass.rows)
        rows.push_back(r.line + " " + RowKindName(r.kind) + " " +
                       (r.compare ? r.compare->expected + "/" + r.compare->actual : "-") +
                       (r.failed()   ? " FAIL"
                        : r.passed() ? " PASS"
                                     : ""));
    EXPECT_EQ(rows, (std::vector<std::string>{"001 read 5A/5A PASS", "002 read 11/00 FAIL",
                                              "003 write and read 55/55 PASS", "004 no transfer -",
                                              "005 delay -"}));
    EXPECT_EQ(std::tuple(pass.passed, pass.failed, pass.end, pass.lastMainRow, pass.rows[2].write),
              std::tuple(2, 1, PassEnd::Completed, 5, TransferOutcome{3, 3, CoreError::None}));
    EXPECT_EQ(std::tuple(cell(w, 5, kColActRd), rig.pump.sleptMs, cell(w, 7, kColActRd),
                         cell(w, 2, kColActRd), tally(w), back(w, 1, kColActRd) == kCellGreen,
                         back(w, 2, kColActRd) == kCellRed),
              std::tuple("Delay 250", 250, "--", "00", "2/1", true, true));
    // The write goes before its read-back; a register alone sends nothing.
    EXPECT_EQ(requests(),
              (std::vector<Bytes>{
                  {1, 0x61, 0x02}, {1, 0x61, 0x03}, {2, 0x60, 0x10, 0x55}, {1, 0x61, 0x10}}));
}

// Frames of multi-byte rows, of rows without register, of an illegal address (its own row is
// checked like any other) and of a row too long for one frame, marked once and not sent.
TEST_F(Running, FramesAndRowsThatCannotBeSent) {
    FrmScriptOps& w = open(
        "`AA0\r\n0010,AA55\r\n0010,,AA55\r\n`A60\r\n,AB\r\n`AFF\r\n02,,5A\r\n"
        "`AFE\r\n02,,5A\r\n10," +
        std::string(600, 'A') + "\r\n");
    w.cmdExecAll_Click();
    rig.clearSent();
    rig.dialogs.messages.clear();
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(requests(), (std::vector<Bytes>{{4, 0xA0, 0x00, 0x10, 0xAA, 0x55},
                                              {2, 0xA1, 0x00, 0x10},
                                              {1, 0x60, 0xAB},
                                              {1, 0xFF, 0x02}}));  // FE's read address
    EXPECT_FALSE(back(w, 2, kColDataWr).has_value());              // count 5 acknowledged
    EXPECT_EQ(std::tuple(pass.rows[9].error, back(w, 10, kColOperation), cell(w, 10, kColComment)),
              std::tuple(CoreError::NotSent, RgbColor(kCellRed),
                         " Not sent: more than 255 bytes for one frame"));
    EXPECT_EQ(rig.dialogs.messages.at(1).text, "Illegal I2C address Script Row 7 Value = FF");
}

// A device that does not answer: the boxes count compares only, and the zeros of an empty
// reply equal the expected 00; the outcome fails every row not done in full. Abort on Fail
// stops after the first compare that fails.
TEST_F(Running, UnacknowledgedRowsFailAndAbortOnFailStopsAtAFailedCompare) {
    FrmScriptOps& w = open("`A62\r\n10,55\r\n02,,00\r\n`A60\r\n03,,11\r\n02,,5A\r\n");
    w.chkAOF.setChecked(true);
    const PassOutcome pass = w.cmdExecAll_Click();
    // The run over, Abort hides again.
    EXPECT_EQ(std::tuple(pass.rows[1].write, pass.rows[2].read, pass.end, pass.rowsNotRun, tally(w),
                         pass.failed, w.cmdAbort.visible()),
              std::tuple(TransferOutcome{3, 0, CoreError::NotAcknowledged},
                         TransferOutcome{1, 0, CoreError::ShortRead}, PassEnd::AbortOnFail,
                         std::vector<int>{6}, "1/1", 3, false));
}

TEST_F(Running, CancelAtAKeypressPauseEndsRunAllAndLoopCont) {
    FrmScriptOps& w = open("02,,5A\r\n`w\r\n02,,5A\r\n");
    rig.dialogs.answers = {Dialogs::Answer::Cancel};
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(std::tuple(tally(w), rig.dialogs.messages.back().text, pass.end, pass.rowsNotRun),
              std::tuple("1/0", "Script Pause Line :2 Click OK to Continue, Cancel to Abort",
                         PassEnd::Cancelled, std::vector<int>{3}));
    rig.dialogs.answers = {Dialogs::Answer::Ok, Dialogs::Answer::Ok, Dialogs::Answer::Cancel};
    const LoopOutcome loop = w.cmdRunContinuous_Click();
    // The button keeps only the last pass.
    EXPECT_EQ(std::tuple(w.txtLoopCount.text(), loop.passesRun, loop.end, loop.passes.size()),
              std::tuple("3", 3, PassEnd::Cancelled, 1u));
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
        EXPECT_EQ(
            std::tuple(abortShown, w.txtLoopCount.text() + " " + tally(w),
                       std::to_string(loop.passes.size()) + " " +
                           std::to_string(loop.comparesPassed) + "/" + std::to_string(loop.failed),
                       loop.passes.back().rowsNotRun, loop.aborted),
            std::tuple(true, c.shown, c.shown, c.notRun, c.passes == 0))
            << c.when;
        w.txtLoopCount.onChange = nullptr;
        w.onRowStarted = nullptr;
    }
}

// Pairs 1 to 4 are port B data, port C data, port B enables, port C enables. Undriven pins
// read high (the LED bits their latch), so the second row reads back other data than it wrote.
// A GPIO row has no I2C address: the next script must not start from 00, the general call.
TEST_F(Running, GpioRowsSetEnablesCompareAndLeaveTheAddress) {
    FrmScriptOps& w = open("`G5AA5FFFF\r\n`G5AA50000\r\n");
    w.cmdExecAll_Click();
    EXPECT_EQ(std::pair(rig.wb->GpioState, cell(w, 2, kColActRd) + " " + tally(w)),
              std::pair(GpioBytes{0x00, 0x00, 0x5A, 0xA5}, std::string("FFFD0000 1/1")));
    rig.wb->i2c.setAddress(0);  // left behind by any other window's rows
    WriteBytes(dir.file("next.txt"), "02,,5A\r\n");
    rig.dialogs.openChoices.push_back(dir.file("next.txt"));
    w.mnuScript_Read_Click();
    EXPECT_EQ(cell(w, 1, kColI2CAdr), "60");
}

// Line 1 as a write-back or the data log writes it, stamped by the fake clock.
std::string Stamped(std::string line, Rig& rig, const char* loops) {
    StampFirstLine(line, rig.pump.now(), loops);
    return line + "\r\n";
}

// Row 5 did not run (after End Main) and keeps its expected data. The script replaced is kept
// as NAME~ (one generation); where it cannot be kept, the script is not touched.
TEST_F(Record, WriteToDiskPutsTheDataReadIntoTheScriptAndKeepsTheOneItReplaces) {
    const std::string original = "# bench test\r\n02,,11 # id\r\n03,,--\r\n`ENDM\r\n02,,77\r\n";
    FrmScriptOps& w = open(original);
    w.cmdExecAll_Click();
    w.cmdBrowse_Click();  // cancelled: the script's own path stays preset
    EXPECT_TRUE(w.cmdStartRec_Click().written);
    const std::string written =
        Stamped("# bench test", rig, "0") + "02,,5A # id\r\n03,,00\r\n`ENDM\r\n02,,77\r\n";
    EXPECT_EQ(std::tuple(ReadBytes(path), ReadBytes(path + "~"), rig.messages().back()),
              std::tuple(written, original, "The earlier " + path + " is kept as " + path + "~"));
    w.chkAppend.setChecked(true);
    w.cmdStartRec_Click();
    EXPECT_EQ(std::pair(ReadBytes(path), ReadBytes(path + "~")),
              std::pair(written + written, written));
    std::filesystem::remove(path + "~");
    std::filesystem::create_directory(path + "~");
    w.cmdStartRec_Click();
    EXPECT_EQ(ReadBytes(path), written + written);
    EXPECT_TRUE(rig.dialogs.messages.at(0).text.starts_with(
        "Script not written to " + path + ": the earlier version could not be kept"));
}

TEST_F(Record, AFailedWriteIsReportedAndLeavesNothingBehind) {
    FrmScriptOps& w = open("`S\r\n", "a1.txt");
    const std::string target = dir.file("missing/a1.txt");
    w.txtFilePath.setText(target);
    for (bool append : {false, true}) {
        w.chkAppend.setChecked(append);
        const WriteBackOutcome out = w.cmdStartRec_Click();
        EXPECT_EQ(std::tuple(out.written, out.appended, out.error),
                  std::tuple(false, append, CoreError::FileUnwritable));
    }
    EXPECT_EQ(rig.dialogs.messages.at(1).text + "; " + rig.dialogs.messages[0].text,
              "Script not written to " + target +
                  ": No such file or directory; Script not written to " + target + ": the folder " +
                  dir.file("missing") + " does not exist");
    EXPECT_EQ(dir.entries(), 1);
    // A Save File step whose record cannot be written fails its row, with the reason.
    std::filesystem::create_directory(dir.file("a1_DL.txt"));
    const PassOutcome pass = w.cmdExecAll_Click();
    EXPECT_EQ(std::tuple(pass.rows.at(0).error, pass.rows[0].reason, pass.failed),
              std::tuple(CoreError::FileUnwritable, std::string("Is a directory"), 1));
}

TEST_F(Record, SaveFileStepAppendsOneScriptPerPassToTheDataLog) {
    const std::string script = "# log\r\n02,,00\r\n`S\r\n";
    FrmScriptOps& w = open(script, "a1.txt");
    int passes = 0;
    w.txtLoopCount.onChange = [&] {
        if (++passes == 2) w.cmdAbort_Click();  // after the second pass
    };
    w.cmdRunContinuous_Click();
    EXPECT_EQ(ReadBytes(dir.file("a1_DL.txt")), Stamped("# log", rig, "0") + "02,,5A\r\n`S\r\n" +
                                                    Stamped("# log", rig, "1") +
                                                    "02,,5A\r\n`S\r\n");
    EXPECT_EQ(ReadBytes(path), script);  // the script itself is untouched
}

// Row 12 arms the source at 40 to fire at the next frame: the sample after row 12 sees PB7 low,
// the routine (16 to 20) reads the status register, which releases the line, and the run
// resumes at row 13: row 14 ran after the routine; rows 1, 18 and 14 passed.
TEST_F(Running, InterruptAfterRow12RunsTheRoutineAndResumesAtRow13) {
    FrmScriptOps& w = open(
        "`GFFFF\r\n`IE\r\n`A40\r\n# 4\r\n# 5\r\n# 6\r\n# 7\r\n# 8\r\n# 9\r\n# 10\r\n# 11\r\n"
        "00,01\r\n`A60\r\n02,,5A\r\n`ENDM\r\n`EISTART\r\n`A40\r\n01,,01\r\n`A60\r\n`EIEND\r\n");
    std::string executing;
    w.txtIexec.onChange = [&] { executing += w.txtIexec.text() + " "; };
    w.cmdExecAll_Click();
    EXPECT_EQ(w.txtIDefault.text() + " " + w.txtLastRead.text() + " " + w.txtIdetectStep.text() +
                  " " + cell(w, 18, kColActRd) + " " + cell(w, 14, kColActRd) + " " +
                  w.txtRdPass.text() + " " + w.txtIEnableStep.text() + " " + executing,
              "FFFF 7FFF 012 01 5A 3 002 16 17 18 19 20 ");
    EXPECT_FALSE(w.chkISample.checked() || rig.board.model().interrupt().active);
}

// A routine cancelled at its pause ends the run without resuming the main part.
TEST_F(Running, CancelInsideTheRoutineEndsTheRun) {
    FrmScriptOps& w = open(
        "`GFFFF\r\n`A40\r\n00,01\r\n`IE\r\n`A60\r\n02,,5A\r\n`ENDM\r\n"
        "`EISTART\r\n`w\r\n02,,5A\r\n`EIEND\r\n");
    rig.dialogs.answers = {Dialogs::Answer::Cancel};
    w.cmdExecAll_Click();
    EXPECT_EQ(cell(w, 10, kColActRd) + cell(w, 6, kColActRd) + w.txtRunning.text(), "----Done");
}

struct Examples : ScriptRig, ::testing::TestWithParam<const char*> {};

// Every main row runs once, in order (a service routine only in between), and nothing fails,
// not even a transfer that a compare would not show.
TEST_P(Examples, RunGreen) {
    FrmScriptOps& w = open(ReadBytes(std::string(I2CB_EXAMPLES_DIR "/") + GetParam()), GetParam());
    const PassOutcome pass = w.cmdExecAll_Click();
    std::vector<int> main, all;
    for (int n = 1; n <= pass.lastMainRow; ++n) all.push_back(n);
    for (const RowOutcome& r : pass.rows)
        if (!r.inService) main.push_back(r.row);
    EXPECT_EQ(std::tuple(main, pass.failed, pass.end, pass.passed > 0, rig.dialogs.messages.size()),
              std::tuple(all, 0, PassEnd::Completed, true, 0u));
}

INSTANTIATE_TEST_SUITE_P(All, Examples,
                         ::testing::Values("register_test.txt", "memory_test.txt", "gpio_walk.txt",
                                           "delay_endmain.txt", "interrupt_service.txt",
                                           "interrupt_rearm.txt"));

}  // namespace
}  // namespace i2cbridge::testing
