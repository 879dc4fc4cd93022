// Script windows against the simulated board: loading into the grid, the address box, running
// rows (single, Run All Steps, Loop Cont), compares and counters, aborts, and the faults a row
// can carry.

#include <gtest/gtest.h>

#include <string>
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
    FrmScriptOps& w = open("02,,5A\r\n`EISTART\r\n`EIEND\r\n");
    w.cmdExecAll_Click();
    w.cdldialog.setFileName(dir.file("missing.txt"));
    w.cmdReload2_Click();
    ASSERT_EQ(rig.dialogs.messages.size(), 1u);
    EXPECT_EQ(rig.dialogs.messages[0].text.rfind("Script Load Error ", 0), 0u);
    EXPECT_EQ(w.vbalGrid1.rowCount(), 3);
    // Every box still tells of the rows in force.
    EXPECT_EQ(tally(w) + " " + w.txttotReads.text() + " " + w.txtIstart.text() + "-" +
                  w.txtIend.text() + " " + std::to_string(rig.wb->script.IntEndLine),
              "1/0 1 2-3 3");
    EXPECT_EQ(w.Caption.caption(), "[ t.txt ]    Script IC Send / Receive");
    EXPECT_TRUE(w.cmdExecAll.enabled());
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

TEST_F(Running, RunAllComparesCountsAndColours) {
    // Register 2 holds 5A, register 3 holds 00.
    FrmScriptOps& w = open("02,,5A\r\n03,,11\r\n10,55,55\r\n10\r\n");
    w.cmdExecAll_Click();

    EXPECT_EQ(tally(w), "2/1");
    EXPECT_EQ(cell(w, 2, kColActRd), "00");
    EXPECT_EQ(back(w, 1, kColActRd), RgbColor(kCellGreen));
    EXPECT_EQ(back(w, 2, kColActRd), RgbColor(kCellRed));
    for (int n = 1; n <= 4; ++n) EXPECT_EQ(back(w, n, kColI2CAdr), RgbColor(kCellGreen)) << n;
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

TEST_F(Running, EndMainEndsTheMainPart) {
    FrmScriptOps& w = open("02,,5A\r\n02,,5A\r\n`ENDM\r\n02,,5A\r\n");
    std::string totalDuringRun;
    rig.pump.atYield(10010, [&] { totalDuringRun = w.txtTotLines.text(); });
    w.cmdExecAll_Click();
    EXPECT_EQ(totalDuringRun, "3");
    EXPECT_EQ(tally(w), "2/0");
    EXPECT_EQ(cell(w, 4, kColActRd), "--");
}

TEST_F(Running, AbortOnFailStopsAfterTheFailingRow) {
    for (bool abortOnFail : {true, false}) {
        FrmScriptOps& w = open("03,,11\r\n03,,22\r\n02,,5A\r\n");
        w.chkAOF.setChecked(abortOnFail);
        w.cmdExecAll_Click();
        EXPECT_EQ(tally(w), abortOnFail ? "0/1" : "1/2");
    }
}

TEST_F(Running, CancelAtAKeypressPauseEndsRunAllAndLoopCont) {
    FrmScriptOps& w = open("02,,5A\r\n`w\r\n02,,5A\r\n");
    rig.dialogs.answers = {Dialogs::Answer::Cancel};
    w.cmdExecAll_Click();
    EXPECT_EQ(w.txtRdPass.text(), "1");
    EXPECT_EQ(cell(w, 2, kColActRd), "Delay Keypress");
    EXPECT_EQ(rig.dialogs.messages.back().text,
              "Script Pause Line :2 Click OK to Continue, Cancel to Abort");

    rig.dialogs.answers = {Dialogs::Answer::Ok, Dialogs::Answer::Ok, Dialogs::Answer::Cancel};
    w.cmdRunContinuous_Click();
    EXPECT_EQ(w.txtLoopCount.text(), "3");
    EXPECT_TRUE(w.cmdRunContinuous.visible() && !w.cmdAbort.visible());
}

TEST_F(Running, DelaysSleepThroughThePump) {
    FrmScriptOps& w = open("`w250\r\n");
    const long before = rig.pump.sleptMs;
    w.cmdExecAll_Click();
    EXPECT_EQ(cell(w, 1, kColActRd), "Delay 250");
    EXPECT_EQ(rig.pump.sleptMs - before, 250);
}

TEST_F(Running, AbortPressedInsideAYieldStopsAfterTheRowInProgress) {
    std::string text;
    for (int i = 0; i < 10; ++i) text += "02,,5A\r\n";
    FrmScriptOps& w = open(text);
    // Well after the open's yields, inside row 1 or 2.
    rig.pump.atYield(10010, [&] { w.cmdAbort_Click(); });
    w.cmdExecAll_Click();
    EXPECT_TRUE(tally(w) == "1/0" || tally(w) == "2/0") << tally(w);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
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
    w.cmdExecAll_Click();  // the remark is made once, not once per run
    EXPECT_EQ(back(w, 1, kColOperation), RgbColor(kCellRed));
    EXPECT_EQ(cell(w, 1, kColComment), " Not sent: more than 255 bytes for one frame");
    EXPECT_EQ(requests(), (std::vector<Bytes>{{1, 0x61, 0x02}, {1, 0x61, 0x02}}));
}

TEST_F(Running, WriteAndReadCountErrorsAreLoggedAndColoured) {
    FrmScriptOps& w = open("`A62\r\n10,55,55\r\n");
    w.cmdExecAll_Click();
    EXPECT_EQ(std::pair(back(w, 2, kColDataWr), back(w, 2, kColDataRd)),
              std::pair(RgbColor(kCellRed), RgbColor(kCellRed)));
    EXPECT_NE(rig.log().find("Write Qty Error Script Line 2 Actual= 0"), std::string::npos);
    EXPECT_NE(rig.log().find("Read Qty Error Script Line 2 Actual :0"), std::string::npos);
    EXPECT_EQ(tally(w), "0/1");
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
    w.cmdExecAll_Click();
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
