// Register definitions files: File > Open > "Comm Register Definitions" fills the register
// table and the I2C address from a .qrl file, File > "Save" writes them to one.

#include <sstream>

#include "foundation/atomic_file.h"
#include "foundation/hex_text.h"
#include "foundation/whole_file.h"
#include "main_window/frm_i2c_general.h"
#include "main_window/register_file_format.h"
#include "workbench/workbench.h"

namespace i2cbridge {

namespace {

constexpr const char* kSetupFilter = "All Files (*.*)|*.*|I2C_General Setup Files(*.qrl)|*.qrl";
constexpr int kSetupFilterIndex = 2;  // the setup files
constexpr int kHideReadOnly = 4;      // the save dialog shows no read-only check box
constexpr const char* kCaptionSuffix = " - Quantrel I2CUSB";

std::string FileLogText(const std::string& path, std::string_view what) {
    return "Register definitions file " + path + " " + std::string(what);
}

// More than a definitions file could hold: a bigger file is judged by its start alone.
constexpr std::size_t kLargestFileRead = 4 * 1024 * 1024;

}  // namespace

std::array<TextBox*, 4> FrmI2CGeneral::rowBoxes(int row) {
    return {&Reg_Adr[row], &Reg_Desc[row], &txtBWrite[row], &txtRdByte[row]};
}

bool FrmI2CGeneral::WriteParameters(const std::string& strParamFile, FrmI2CGeneral& FrmIn) {
    RegisterDefinitions table;
    table.address = FrmIn.txtI2CAdr.text();
    for (int k = 0; k < kRegisterRows; ++k) {
        wb_.pump.yield();
        const auto fields = RegisterRowFields(table.rows[k]);
        const auto boxes = FrmIn.rowBoxes(k);
        for (int f = 0; f < kFieldsPerRegisterRow; ++f) *fields[f] = boxes[f]->text();
    }
    const std::string text = FormatRegisterFile(table);
    // The whole text goes out in one step, so a failed save leaves the earlier file whole.
    bool inPlace = false;
    if (auto failure = WriteFileAtomically(strParamFile, text, &inPlace)) {
        wb_.log.LogMessage(FileLogText(strParamFile, "was not saved: " + *failure), kCrLf);
        return false;
    }
    if (inPlace) {
        wb_.log.LogMessage(FileLogText(strParamFile,
                                       "was written over in place: its folder allows no new "
                                       "file, so the save was not whole-or-nothing"),
                           kCrLf);
    }
    return true;
}

// The file is read whole before anything changes: a file that cannot be read, or that holds
// no register line at all (a script, a picture, a file picked by mistake), leaves the table,
// the address and the caption as they were. Otherwise the good lines are loaded and the bad
// ones named.
RegisterFileLoad FrmI2CGeneral::Read_Param_File() {
    RegisterFileLoad outcome;
    outcome.path = cdldialog.fileName;
    const std::string& path = outcome.path;
    std::string bytes;
    if (!ReadWholeFile(path, bytes, &outcome.reason, kLargestFileRead)) {
        wb_.log.LogMessage(FileLogText(path, "could not be read: " + outcome.reason), kCrLf);
        outcome.error = CoreError::FileUnreadable;
        return outcome;
    }
    std::istringstream in(bytes);
    const RegisterFileRead read = ReadRegisterFile(in);
    outcome.linesRead = read.lines;
    if (!read.isDefinitionsFile()) {
        outcome.error = CoreError::NotDefinitions;
        wb_.log.LogMessage(path + " is not a register definitions file", kCrLf);
        return outcome;
    }

    Caption.setCaption(cdldialog.fileTitle + kCaptionSuffix);
    CommonDialog1.setFileName(cdldialog.fileTitle);
    if (read.address) {
        // No range test here: 1C0 gives the address C0.
        txtI2CAdr.setText(UpperCase(*read.address));
        wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
        txtActualWrtAddress.setText(HexText(wb_.i2c.I2CWriteAddress));
        txtActualReadAddress.setText(HexText(wb_.i2c.I2CReadAddress));
        outcome.addressLoaded = true;
    }
    for (int k = 0; k < kRegisterRows; ++k) {
        if (!read.rows[k]) continue;
        const auto fields = RegisterRowFields(*read.rows[k]);
        const auto boxes = rowBoxes(k);
        for (int f = 0; f < kFieldsPerRegisterRow; ++f) boxes[f]->setText(*fields[f]);
        ++outcome.rowsLoaded;
    }
    outcome.badLines = read.badLines;
    if (!read.badLines.empty()) {
        std::string numbers;
        for (int line : read.badLines)
            numbers += (numbers.empty() ? "" : ", ") + std::to_string(line);
        wb_.log.LogMessage(FileLogText(path, "has lines that were not loaded: " + numbers), kCrLf);
    }
    if (read.stop == RegisterFileRead::Stop::EndOfFile) {
        wb_.log.LogMessage(FileLogText(path, "ended after " + std::to_string(read.lines) + " of " +
                                                 std::to_string(kRegisterFileLines) + " lines"),
                           kCrLf);
    }
    return outcome;
}

RegisterFileLoad FrmI2CGeneral::mnuSetup_Open_Click() {
    cdldialog.title = "Select Setup File to Open";
    cdldialog.setFileName("");
    cdldialog.filter = kSetupFilter;
    cdldialog.filterIndex = kSetupFilterIndex;
    cdldialog.defaultExt = "*.QRL";
    if (!wb_.dialogs.openFile(cdldialog)) return {};
    if (cdldialog.fileName.empty()) return {};
    return Read_Param_File();
}

void FrmI2CGeneral::mnuSetup_Save_Click() {
    CommonDialog1.flags = kHideReadOnly;
    CommonDialog1.filter = kSetupFilter;
    CommonDialog1.filterIndex = kSetupFilterIndex;
    // Proposes the name of the file last loaded or saved in this run.
    CommonDialog1.setFileName(CommonDialog1.fileTitle);
    // Cancelling, like any failure below, leaves the caption as it is.
    if (!wb_.dialogs.saveFile(CommonDialog1)) return;
    if (CommonDialog1.fileName.empty()) return;
    if (!WriteParameters(CommonDialog1.fileName, *this)) return;
    Caption.setCaption(CommonDialog1.fileTitle + kCaptionSuffix);
}

}  // namespace i2cbridge
