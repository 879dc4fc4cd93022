// Writing the measured data back: every read row's expected data becomes the data read, line 1
// gets a time stamp, and the script goes to the record file (Write to Disk) or is appended to
// the script's "_DL" data log (a "Save File" step).

#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include "foundation/append_file.h"
#include "foundation/atomic_file.h"
#include "foundation/clock_text.h"
#include "scripts/frm_script_ops.h"
#include "scripts/script_record_text.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

// Copies the file at `path` to NAME~ (replacing an older NAME~); why not, otherwise. The file
// itself is replaced only after its copy is whole.
std::optional<std::string> KeepEarlierVersion(const std::string& path) {
    std::error_code error;
    std::filesystem::copy_file(path, path + "~", std::filesystem::copy_options::overwrite_existing,
                               error);
    if (error) return "the earlier version could not be kept as " + path + "~: " + error.message();
    return std::nullopt;
}

}  // namespace

void FrmScriptOps::cmdBrowse_Click() {
    CommonDialog2.title = "Select File For Update";
    CommonDialog2.setFileName(cdldialog.fileName);
    CommonDialog2.filter = "All Files (*.*)|*.*|Script(*.txt)|*.txt";
    CommonDialog2.defaultExt = "*.txt";
    // A save dialog, so that the record can go to a file that does not exist yet. It asks no
    // question about an existing file: Append adds to it, and a replaced one is kept as NAME~.
    CommonDialog2.flags |= kDialogNoOverwritePrompt;
    wb_.dialogs.saveFile(CommonDialog2);
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
    // A file that is not a data log (the script itself, after Browse was cancelled, or any other
    // file the user named) keeps its earlier version as NAME~, one generation, as editors do;
    // when that cannot be kept, the file is not touched.
    std::optional<std::string> failure;
    const bool keepEarlier = !IsDataLogPath(path) && std::filesystem::is_regular_file(path);
    if (keepEarlier) failure = KeepEarlierVersion(path);
    if (!failure) {
        failure =
            chkAppend.checked() ? AppendFileWhole(path, text) : WriteFileAtomically(path, text);
    }
    if (failure) {
        wb_.dialogs.messageBox("Script not written to " + path + ": " + *failure, kAppTitle,
                               Dialogs::Buttons::Ok);
        return;
    }
    if (keepEarlier) wb_.log.LogMessage("The earlier " + path + " is kept as " + path + "~");
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
