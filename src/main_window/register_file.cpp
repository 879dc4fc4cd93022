// Register definitions files: File > Open > "Comm Register Definitions" fills the register
// table and the I2C address from a .qrl file, File > "Save" writes them to one.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "foundation/atomic_file.h"
#include "foundation/hex_text.h"
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

// Opens a file for reading; returns why it could not be opened, or nothing.
std::optional<std::string> OpenForReading(const std::string& path, std::ifstream& in) {
    if (path.empty()) return "no file name was given";
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) return "it is a folder";
    errno = 0;
    in.open(path, std::ios::in | std::ios::binary);
    if (in.is_open()) return std::nullopt;
    if (errno != 0) return std::string(std::strerror(errno));
    return "the system gave no reason";
}

}  // namespace

bool FrmI2CGeneral::WriteParameters(const std::string& strParamFile, FrmI2CGeneral& FrmIn) {
    RegisterDefinitions table;
    table.address = FrmIn.txtI2CAdr.text();
    for (int k = 0; k < kRegisterRows; ++k) {
        wb_.pump.yield();
        table.rows[k] = {FrmIn.Reg_Adr[k].text(), FrmIn.Reg_Desc[k].text(),
                         FrmIn.txtBWrite[k].text(), FrmIn.txtRdByte[k].text()};
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

void FrmI2CGeneral::Read_Param_File() {
    const std::string path = cdldialog.fileName;
    std::ifstream in;
    if (auto failure = OpenForReading(path, in)) {
        wb_.log.LogMessage(FileLogText(path, "could not be opened: " + *failure), kCrLf);
        return;
    }
    // The caption names the file once it is open, before anything is read from it.
    Caption.setCaption(cdldialog.fileTitle + kCaptionSuffix);
    CommonDialog1.setFileName(cdldialog.fileTitle);

    const RegisterFileFields read = ReadRegisterFields(in);
    const int count = static_cast<int>(read.fields.size());
    for (int i = 0; i < count; ++i) {
        const std::string& field = read.fields[i];
        const auto slot = SlotOfRegisterField(i);
        if (slot->row < 0) {
            if (slot->column == 0) continue;  // the label "I2C ADDRESS", whatever it says
            // No range test here: 1C0 gives the address C0.
            txtI2CAdr.setText(UpperCase(field));
            wb_.i2c.setAddress(HexToInt(txtI2CAdr.text()));
            txtActualWrtAddress.setText(HexText(wb_.i2c.I2CWriteAddress));
            txtActualReadAddress.setText(HexText(wb_.i2c.I2CReadAddress));
            continue;
        }
        TextBox* columns[kFieldsPerRegisterRow] = {&Reg_Adr[slot->row], &Reg_Desc[slot->row],
                                                   &txtBWrite[slot->row], &txtRdByte[slot->row]};
        columns[slot->column]->setText(field);
    }

    const std::string counted =
        std::to_string(count) + " of " + std::to_string(kRegisterFileFields) + " fields";
    switch (read.stop) {
        case RegisterFileFields::Stop::Complete:
            break;
        case RegisterFileFields::Stop::EndOfFile:
            wb_.log.LogMessage(FileLogText(path, "ended after " + counted), kCrLf);
            break;
        case RegisterFileFields::Stop::ReadError:
            wb_.log.LogMessage(FileLogText(path, "could not be read after " + counted), kCrLf);
            break;
    }
}

void FrmI2CGeneral::mnuSetup_Open_Click() {
    cdldialog.title = "Select Setup File to Open";
    cdldialog.setFileName("");
    cdldialog.filter = kSetupFilter;
    cdldialog.filterIndex = kSetupFilterIndex;
    cdldialog.defaultExt = "*.QRL";
    if (!wb_.dialogs.openFile(cdldialog)) return;
    if (cdldialog.fileName.empty()) return;
    Read_Param_File();
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
