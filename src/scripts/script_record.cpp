// Writing the measured data back: every read row's expected data becomes the data read, line 1
// gets a time stamp, and the script goes to the record file (Write to Disk) or is appended to
// the script's "_DL" data log (a "Save File" step).

#include <cstdio>

#include "foundation/append_file.h"
#include "foundation/atomic_file.h"
#include "foundation/clock_text.h"
#include "scripts/frm_script_ops.h"
#include "scripts/script_record_text.h"
#include "workbench/workbench.h"

namespace i2cbridge {

void FrmScriptOps::cmdBrowse_Click() {
    CommonDialog2.title = "Select File For Update";
    CommonDialog2.setFileName(cdldialog.fileName);
    CommonDialog2.filter = "All Files (*.*)|*.*|Script(*.txt)|*.txt";
    CommonDialog2.defaultExt = "*.txt";
    wb_.dialogs.openFile(CommonDialog2);
    // The name starts preset to the script's own path, so closing the dialog without a choice
    // puts that path in the box.
    if (!CommonDialog2.fileName.empty()) txtFilePath.setText(CommonDialog2.fileName);
}

// Rows that have not run since the load still show "--" and keep their expected data.
void FrmScriptOps::UpdateExpectedData() {
    const int lines = std::min<int>(rowCount(), static_cast<int>(script.ScriptLines.size()));
    for (int i = 1; i <= lines; ++i) {
        const std::string& actual = cellText(i, kColActRd);
        if (cellText(i, kColOperation).find("R:") == std::string::npos) continue;
        if (actual.size() <= 1 || actual == "--") continue;
        ReplaceExpectedData(script.ScriptLines[i - 1], actual);
    }
}

void FrmScriptOps::cmdStartRec_Click() {
    const auto keep = keepAlive();
    UpdateExpectedData();
    const DateTime now = wb_.pump.now();
    if (!script.ScriptLines.empty()) {
        StampFirstLine(script.ScriptLines.front(), now, txtLoopCount.text());
    }
    std::string text;
    for (const std::string& line : script.ScriptLines) text.append(line).append("\r\n");

    const std::string& path = txtFilePath.text();
    const auto failure =
        chkAppend.checked() ? AppendFileWhole(path, text) : WriteFileAtomically(path, text);
    if (failure) {
        wb_.dialogs.messageBox("Script not written to " + path + ": " + *failure, kAppTitle,
                               Dialogs::Buttons::Ok);
        return;
    }
    Label18.setCaption(std::to_string(script.ScriptLines.size()) +
                       " Script written: " + DateText(now) + " " + ClockText(now));
}

void FrmScriptOps::Auto_Script_Save() {
    txtFilePath.setText(DataLogPath(cdldialog.fileName));
    wb_.pump.yield();
    chkAppend.setChecked(true);
    wb_.pump.yield();
    cmdStartRec_Click();
}

}  // namespace i2cbridge
