// The script window's start-up, loading, address box, resize rule and menus.

#include "scripts/frm_script_ops.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "foundation/clock_text.h"
#include "foundation/hex_text.h"
#include "foundation/whole_file.h"
#include "main_window/frm_i2c_general.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

constexpr const char* kNoScript = "No Script File Selected";
constexpr int kDataWidth = 208;

const Grid::Column kColumns[kScriptColumns] = {
    {"Line", 64},
    {"I2C Adr", 64},
    {"Reg Adr", 64},
    {"Data_Wr", kDataWidth},
    {"Data_Rd", kDataWidth},
    {"Act_Rd", kDataWidth},
    {"Operation", 124},
    {"Comment", 298},
};

// Addresses from 8000 to FFFF read as negative numbers; they are refused like 255 and above.
bool UsableAddress(int value) {
    return value >= 0 && value < 255;
}

}  // namespace

FrmScriptOps::FrmScriptOps(Workbench& wb) : wb_(wb) {
    frmScriptExec.setVisible(false);
    frmDataRecord.setVisible(false);
    cmdAbort.setVisible(false);
    cmdReload2.setVisible(false);
    Label5.setToolTip(
        "Sample Led will change color each time Interrupt is sampled during script execution");
    cdldialog.title = "Select Script File to Open";
    cdldialog.filter = "Quantrel Script Files |*.txt|All Files|*.*";
    cdldialog.defaultExt = "*.txt";
}

void FrmScriptOps::Form_Load() {
    const auto keep = keepAlive();
    script = {};
    frmScriptExec.setVisible(false);
    Caption.setCaption(kNoScript);
    wb_.usb.CurrentForm = this;
    ScriptRunning = false;

    // The grid exists before the first yield: a click on Open that lands in it loads a script
    // into the grid at once, and the rows it loads stay.
    vbalGrid1.setColumns({std::begin(kColumns), std::end(kColumns)});
    vbalGrid1.resetRows(kEmptyGridRows);

    txtI2CAdr.setText(wb_.mainWindow().txtI2CAdr.text());
    wb_.pump.yield();
    wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
    txtRunning.setText("1");
    ReadScriptFile();
}

void FrmScriptOps::Form_GotFocus() {
    wb_.usb.CurrentForm = this;
}

void FrmScriptOps::Dupform_Click() {
    if (wb_.windows.openAnotherScriptWindow) wb_.windows.openAnotherScriptWindow();
}

// Twips. The grid sits below the controls, 100 from the left, 400 narrower than the window;
// a window of 4000 or less inside keeps the grid's height.
void FrmScriptOps::Form_Resize(int innerWidth, int innerHeight, bool minimized) {
    if (minimized) return;
    Rect r = gridBox.rect();
    r.left = 100;
    r.width = std::max(0, innerWidth - 400);
    if (innerHeight > 4000) r.height = innerHeight - 4400;
    gridBox.setRect(r);
}

void FrmScriptOps::txtI2CAdr_KeyPress(int& KeyAscii) {
    if (KeyAscii != kKeyEnter) return;
    const auto keep = keepAlive();
    txtI2CAdr.setText(UpperCase(txtI2CAdr.text()));
    wb_.pump.yield();
    const int value = HexToInt(txtI2CAdr.text());
    if (UsableAddress(value)) {
        wb_.i2c.setAddress(value);
        cmdReload2_Click();
    } else {
        wb_.log.LogMessage("Address value too large script default I2C address Invalid", kCrLf);
        txtI2CAdr.setText("60");
    }
    wb_.pump.yield();
}

std::optional<LoadOutcome> FrmScriptOps::ReadScriptFile() {
    txtRunning.setText("");
    ScriptFileSelected = false;
    cdldialog.setFileName("");
    if (!wb_.dialogs.openFile(cdldialog) || cdldialog.fileName.empty()) return std::nullopt;
    ScriptFileSelected = true;
    LoadOutcome out = LoadScriptFile();
    cmdReload2.setVisible(true);
    return out;
}

std::optional<LoadOutcome> FrmScriptOps::cmdReload2_Click() {
    wb_.script.AbortRequested = false;
    if (!ScriptFileSelected) {
        wb_.log.LogMessage("No Script File Opened yet, use File Menu", kCrLf);
        return std::nullopt;
    }
    const auto keep = keepAlive();
    cmdExecAll.setVisible(false);
    cmdRunContinuous.setVisible(false);
    cmdAbort.setVisible(false);
    wb_.pump.yield();
    const std::string passes = txtRdPass.text(), fails = txtRdFails.text();
    txtRdFails.setText("");
    txtRdPass.setText("");
    LoadOutcome out = LoadScriptFile();
    if (!out.loaded) {
        // The rows of the last load stay in force, and so do their counts.
        txtRdPass.setText(passes);
        txtRdFails.setText(fails);
    }
    cmdExecAll.setVisible(true);
    cmdRunContinuous.setVisible(true);
    return out;
}

LoadOutcome FrmScriptOps::LoadScriptFile() {
    LoadOutcome out;
    out.path = cdldialog.fileName;
    const std::string& path = cdldialog.fileName;
    const std::string& title = cdldialog.fileTitle;
    ScriptRunState& run = wb_.script;

    // The file is read before anything changes: a file that cannot be read leaves the window
    // as it was, every box consistent with the rows still in force.
    std::string bytes, why;
    if (!ReadWholeFile(path, bytes, why)) {
        wb_.log.LogMessage("Script file " + path + " could not be read: " + why, kCrLf);
        wb_.dialogs.messageBox("Script Load Error " + why, kAppTitle, Dialogs::Buttons::Ok);
        out.error = CoreError::FileUnreadable;
        out.reason = why;
        return out;
    }

    run.EndMainLine = run.IntStartLine = run.IntEndLine = run.IntDetectLine = 0;
    for (TextBox* box :
         {&txtLastRead, &txtIEnableStep, &txtIDisableStep, &txtIstart, &txtIend, &txtIexec}) {
        box->setText("----");
    }
    cmdReload2.setEnabled(false);
    cmdExecAll.setEnabled(false);
    cmdRunContinuous.setEnabled(false);
    frmDataRecord.setVisible(false);
    Caption.setCaption("[ " + title + " ]    Loading Script File .. Please Wait");
    txttotReads.setText("0");
    txtRdPass.setText("0");
    txtRdFails.setText("0");

    Caption.setCaption("Processing " + path);
    Caption.setCaption("Processing " + title);
    txtScriptLine1.setText(ClockText(wb_.pump.now()));

    // Rows before the first address command take the address this window shows, not whatever
    // address the last row of any script left behind.
    const int shown = HexToInt(txtI2CAdr.text());
    script = ReadScript(
        bytes, UsableAddress(shown) ? static_cast<uint8_t>(shown) : wb_.i2c.I2CWriteAddress);
    lastExecutedRow = 0;
    const int lines = rowCount();
    vbalGrid1.resetRows(lines);
    for (int n = 1; n <= lines; ++n) {
        const ScriptRow& r = row(n);
        const std::string* cells[kScriptColumns] = {&r.Line,   &r.I2CAdr, &r.RegAdr,    &r.DataWr,
                                                    &r.DataRd, &r.ActRd,  &r.Operation, &r.Comment};
        for (int c = 1; c <= kScriptColumns; ++c) vbalGrid1.setText(n, c, *cells[c - 1]);
        vbalGrid1.setBack(n, kColLine, kButtonFaceColor);
        if (r.operationRed) vbalGrid1.setBack(n, kColOperation, kCellRed);
        if (r.commentRed) vbalGrid1.setBack(n, kColComment, kCellRed);
    }
    // What the reader could not read cleanly shows in the row, before anything runs.
    for (const ScriptRemark& remark : script.remarks) {
        if (remark.line > lines) continue;
        vbalGrid1.setText(remark.line, kColComment,
                          cellText(remark.line, kColComment) + " " + remark.text);
    }
    run.EndMainLine = script.EndMainLine;
    run.IntStartLine = script.IntStartLine;
    run.IntEndLine = script.IntEndLine;
    if (script.IntStartLine != 0) txtIstart.setText(std::to_string(script.IntStartLine));
    if (script.IntEndLine != 0) txtIend.setText(std::to_string(script.IntEndLine));
    txttotReads.setText(std::to_string(script.TotalReads));

    vbalGrid1.setColumnWidth(kColDataWr, ScriptDataColumnWidth(script.widestDataWr));
    vbalGrid1.setColumnWidth(kColDataRd, ScriptDataColumnWidth(script.widestDataRd));
    vbalGrid1.setColumnWidth(kColActRd, ScriptDataColumnWidth(script.widestDataRd));

    txtLastRead.setText("----");
    txtIdetectStep.setText("----");
    shpISample[0].setColor(wb_.colors.off());
    frmScriptExec.setVisible(true);
    txtTotLines.setText(std::to_string(lines));
    if (script.truncated) {
        wb_.log.LogMessage("Script file " + path + " has " + std::to_string(script.linesInFile) +
                               " lines; only the first " + std::to_string(kMaxScriptLines) +
                               " were loaded",
                           kCrLf);
    }
    Caption.setCaption("[ " + title + " ]    Script IC Send / Receive");
    cmdReload2.setEnabled(true);
    cmdExecAll.setEnabled(true);
    cmdRunContinuous.setEnabled(true);

    out.loaded = true;
    out.rows = lines;
    out.totalReads = script.TotalReads;
    out.endMainLine = script.EndMainLine;
    out.intStartLine = script.IntStartLine;
    out.intEndLine = script.IntEndLine;
    out.remarks = script.remarks;
    return out;
}

}  // namespace i2cbridge
