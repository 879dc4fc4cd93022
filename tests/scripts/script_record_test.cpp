// Writing measured data back into scripts and the "_DL" data log, and interrupt sampling with
// the service routine, against the simulated board and its interrupt source at 40.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "scripts/frm_script_ops.h"
#include "scripts/script_record_text.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {
namespace {

struct RecordRig : ::testing::Test {
    Rig rig;
    TempDir dir;
    std::string path;

    FrmScriptOps& open(const std::string& text, const std::string& name = "a1.txt") {
        path = dir.file(name);
        WriteBytes(path, text);
        rig.main();
        auto w = rig.program->newScriptWindow();
        rig.dialogs.openChoices.push_back(path);
        w->Form_Load();
        return *w;
    }
    static std::string cell(FrmScriptOps& w, int row, int column) {
        return w.vbalGrid1.cell(row, column).text;
    }
};

// --- The text rules ---------------------------------------------------------------------------

TEST(RecordText, ExpectedDataIsReplacedAndEverythingElseKept) {
    const struct {
        const char *line, *actual, *written;
    } cases[] = {
        {"10,,3C # id", "3D", "10,,3D # id"},
        {"10,55,AA", "AB", "10,55,AB"},
        {"10,,3C,x", "3D", "10,,3D,x"},
        {"10,,5", "05", "10,,05"},  // shorter expected data than the data read
        {"10,, 3c   # blanks stay", "3D", "10,, 3D   # blanks stay"},
        {"10,,", "3D", "10,,3D"},
        {"0010,,AABBCCDD#c", "00112233", "0010,,00112233#c"},
        {"10,3C", "3D", "10,3C"},  // no third field: left alone
    };
    for (const auto& c : cases) {
        std::string line = c.line;
        ReplaceExpectedData(line, c.actual);
        EXPECT_EQ(line, c.written) << c.line;
    }
}

TEST(RecordText, StampReplacesAnEarlierOneOnLineOne) {
    std::string line = "# bench test";
    StampFirstLine(line, {2010, 4, 29, 10, 15, 0}, "0");
    EXPECT_EQ(line, "# bench test# AutoUpdated: 04-29-2010 10:15:00 Looping: 0");
    StampFirstLine(line, {2010, 4, 29, 10, 16, 5}, "12");
    EXPECT_EQ(line, "# bench test# AutoUpdated: 04-29-2010 10:16:05 Looping: 12");
}

TEST(RecordText, DataLogGoesBeforeTheExtension) {
    const std::pair<const char*, const char*> cases[] = {
        {"/tests/a1.txt", "/tests/a1_DL.txt"},   {"/tests/a1.script", "/tests/a1_DL.script"},
        {"/tests/a1", "/tests/a1_DL"},           {"/tests.d/a1", "/tests.d/a1_DL"},
        {"/tests/.hidden", "/tests/.hidden_DL"}, {"C:\\tests\\a1.txt", "C:\\tests\\a1_DL.txt"},
    };
    for (const auto& [script, log] : cases) {
        EXPECT_EQ(DataLogPath(script), log) << script;
        EXPECT_EQ(std::pair(IsDataLogPath(script), IsDataLogPath(log)), std::pair(false, true))
            << script;
    }
}

// --- Write to Disk and Save File --------------------------------------------------------------

using Record = RecordRig;

TEST_F(Record, WriteToDiskPutsTheDataReadIntoTheScript) {
    FrmScriptOps& w = open("# bench test\r\n02,,11 # id\r\n03,,--\r\n`ENDM\r\n02,,77\r\n");
    const std::string original = ReadBytes(path);
    w.cmdExecAll_Click();
    w.cmdBrowse_Click();  // cancelled: the script's own path stays preset
    EXPECT_EQ(w.txtFilePath.text(), path);
    EXPECT_EQ(rig.dialogs.saveShown.back().title, "Select File For Update");
    w.cmdStartRec_Click();

    // Row 5 did not run (after End Main) and keeps its expected data. The script replaced is
    // kept as NAME~, and the log says so.
    const std::string written =
        "# bench test# AutoUpdated: 11-18-2026 17:05:09 Looping: 0\r\n02,,5A # id\r\n"
        "03,,00\r\n`ENDM\r\n02,,77\r\n";
    EXPECT_EQ(ReadBytes(path), written);
    EXPECT_EQ(ReadBytes(path + "~"), original);
    EXPECT_NE(rig.log().find("The earlier " + path + " is kept as " + path + "~"),
              std::string::npos);
    EXPECT_EQ(w.Label18.caption(), "5 Script written: 11-18-2026 17:05:09");

    w.chkAppend.setChecked(true);
    w.cmdStartRec_Click();
    EXPECT_EQ(ReadBytes(path), written + written);
    EXPECT_EQ(ReadBytes(path + "~"), written);  // one generation

    // Where the earlier version cannot be kept, the file is not touched.
    std::filesystem::remove(path + "~");
    std::filesystem::create_directory(path + "~");
    w.cmdStartRec_Click();
    EXPECT_EQ(ReadBytes(path), written + written);
    ASSERT_EQ(rig.dialogs.messages.size(), 1u);
    EXPECT_EQ(rig.dialogs.messages[0].text.rfind(
                  "Script not written to " + path + ": the earlier version could not be kept", 0),
              0u);
}

TEST_F(Record, BrowseNamesANewFile) {
    FrmScriptOps& w = open("02,,11\r\n");
    const std::string fresh = dir.file("new_record.txt");
    rig.dialogs.saveChoices.push_back(fresh);
    w.cmdBrowse_Click();
    EXPECT_TRUE(rig.dialogs.saveShown.back().flags & kDialogNoOverwritePrompt);
    w.cmdStartRec_Click();
    EXPECT_EQ(ReadBytes(fresh).substr(0, 6), "02,,11");
    EXPECT_FALSE(std::filesystem::exists(fresh + "~"));
}

TEST_F(Record, AFailedWriteIsReportedAndTheLabelKeepsItsText) {
    FrmScriptOps& w = open("02,,5A\r\n");
    w.Label18.setCaption("before");
    const std::string target = dir.file("missing/a1.txt");
    w.txtFilePath.setText(target);
    for (bool append : {false, true}) {
        w.chkAppend.setChecked(append);
        w.cmdStartRec_Click();
    }
    std::vector<std::string> messages;
    for (const auto& m : rig.dialogs.messages) messages.push_back(m.text);
    EXPECT_EQ(messages, (std::vector<std::string>{
                            "Script not written to " + target + ": the folder " +
                                dir.file("missing") + " does not exist",
                            "Script not written to " + target + ": No such file or directory"}));
    EXPECT_EQ(w.Label18.caption(), "before");
    EXPECT_EQ(dir.entries(), 1);  // the script alone: nothing left behind
}

TEST_F(Record, SaveFileStepAppendsOneScriptPerPassToTheDataLog) {
    const std::string script = "# log\r\n02,,00\r\n`S\r\n";
    FrmScriptOps& w = open(script);
    rig.dialogs.answers = {};
    int passes = 0;
    w.txtLoopCount.onChange = [&] {
        if (++passes == 2) w.cmdAbort_Click();  // after the second pass
    };
    w.cmdRunContinuous_Click();
    const std::string log = ReadBytes(dir.file("a1_DL.txt"));
    const std::string pass =
        "# log# AutoUpdated: 11-18-2026 17:05:09 Looping: 0\r\n02,,5A\r\n`S\r\n";
    EXPECT_EQ(log, pass + "# log# AutoUpdated: 11-18-2026 17:05:09 Looping: 1\r\n02,,5A\r\n`S\r\n");
    EXPECT_EQ(ReadBytes(path), script);  // the script itself is untouched
    EXPECT_TRUE(w.chkAppend.checked());
}

// --- Interrupt sampling -----------------------------------------------------------------------

// Row 12 arms the interrupt source to fire at the next frame: the sample after row 12 sees PB7
// low, the routine (16 to 20) reads the status register, which releases the line, and the run
// resumes at row 13.
constexpr const char* kInterruptScript =
    "`GFFFF\r\n`IE\r\n`A40\r\n# 4\r\n# 5\r\n# 6\r\n# 7\r\n# 8\r\n# 9\r\n# 10\r\n# 11\r\n"
    "00,01\r\n`A60\r\n02,,5A\r\n`ENDM\r\n`EISTART\r\n`A40\r\n01,,01\r\n`A60\r\n`EIEND\r\n";

TEST_F(Record, InterruptAfterRow12RunsTheRoutineAndResumesAtRow13) {
    FrmScriptOps& w = open(kInterruptScript);
    std::vector<std::string> executing;
    w.txtIexec.onChange = [&] { executing.push_back(w.txtIexec.text()); };
    w.cmdExecAll_Click();

    // Row 14 ran after the routine; rows 1, 18 and 14 passed.
    EXPECT_EQ(
        (std::vector<std::string>{w.txtIDefault.text(), w.txtLastRead.text(),
                                  w.txtIdetectStep.text(), w.txtIstart.text(), w.txtIend.text(),
                                  cell(w, 18, kColActRd), cell(w, 14, kColActRd),
                                  w.txtRdPass.text(), w.txtIEnableStep.text()}),
        (std::vector<std::string>{"FFFF", "7FFF", "012", "16", "20", "01", "5A", "3", "002"}));
    EXPECT_EQ(rig.wb->script.IntDetectLine, 12);
    EXPECT_EQ(executing, (std::vector<std::string>{"16", "17", "18", "19", "20"}));
    EXPECT_FALSE(w.chkISample.checked() || rig.board.model().interrupt().active);
}

TEST_F(Record, IdleValueIsComparedAsTextSoLowerCaseDetectsAtEverySample) {
    FrmScriptOps& w = open("`IE\r\n# a\r\n`IE\r\n# b\r\n");
    w.txtIDefault.setText("ffff");
    std::vector<std::string> detected;
    w.txtIdetectStep.onChange = [&] { detected.push_back(w.txtIdetectStep.text()); };
    w.cmdExecAll_Click();
    EXPECT_EQ(detected, (std::vector<std::string>{"001", "003"}));
}

TEST_F(Record, ARoutineThatReenablesSamplingRunsOnceAndTheRunEnds) {
    // The routine enables sampling again without releasing the line.
    FrmScriptOps& w = open(
        "`GFFFF\r\n`A40\r\n00,01\r\n`IE\r\n`ENDM\r\n`EISTART\r\n`IE\r\n`A60\r\n02,,5A\r\n`"
        "EIEND\r\n");
    w.cmdExecAll_Click();
    EXPECT_EQ(w.txtRunning.text(), "Done");
    EXPECT_EQ(w.txtRdPass.text(), "2");  // the GPIO row and one pass of the routine's read
}

TEST_F(Record, AbortInsideTheRoutineEndsTheRun) {
    FrmScriptOps& w = open(
        "`GFFFF\r\n`A40\r\n00,01\r\n`IE\r\n`A60\r\n02,,5A\r\n`ENDM\r\n"
        "`EISTART\r\n`w\r\n02,,5A\r\n`EIEND\r\n");
    rig.dialogs.answers = {Dialogs::Answer::Cancel};
    w.cmdExecAll_Click();
    // The routine stopped at the pause (row 10) and the main run did not resume (row 6).
    EXPECT_EQ(cell(w, 10, kColActRd) + cell(w, 6, kColActRd) + w.txtRunning.text(), "----Done");
}

TEST_F(Record, ASampleBeforeAnyRowHasRunStartsNothing) {
    FrmScriptOps& w = open("`EISTART\r\n02,,5A\r\n`EIEND\r\n");
    w.txtIDefault.setText("1234");
    w.chkISample.setChecked(true);
    w.cmdISample_Click();
    EXPECT_EQ(w.txtLastRead.text() + " " + w.txtIdetectStep.text() + " " + cell(w, 2, kColActRd),
              "FFFF ---- --");
    EXPECT_FALSE(w.chkISample.checked());
    w.chkISample.setChecked(true);
    w.chkISample_MouseUp();
    EXPECT_EQ(w.txtIEnableStep.text() + "|" + w.txtIDisableStep.text(), "On|");
}

}  // namespace
}  // namespace i2cbridge::testing
