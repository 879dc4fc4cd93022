#pragma once

// A script window "Setup - Script IC Send/Receive": loads a script file into its grid, runs its
// rows against the board (one selected row, Run All Steps, Loop Cont), compares read data with
// expected data and counts, samples the GPIO ports for an interrupt and runs the script's
// service routine, and writes the measured data back into the script or a record file.
//
// The handlers are spread over several files by subject:
//   frm_script_ops.cpp    start-up, loading, the address box, resize, menus
//   script_execution.cpp  rows, Run All Steps, Loop Cont, Abort
//   script_record.cpp     write-back of measured data and the "_DL" data log
//   script_interrupt.cpp  interrupt sampling and the service routine
//
// Any number of script windows can be open; the run values (AbortRequested, CurrentStep, the
// End Main and interrupt lines) and the I2C address are one set in the Workbench. The grid's
// cell texts are the rows' data: execution reads them back from the grid.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/controls.h"
#include "foundation/form.h"
#include "foundation/grid.h"
#include "foundation/ports.h"
#include "scripts/script_reader.h"

namespace i2cbridge {

class Workbench;

// Grid columns, counted from 1 as the grid counts them.
enum ScriptColumn : int {
    kColLine = 1,
    kColI2CAdr,
    kColRegAdr,
    kColDataWr,
    kColDataRd,
    kColActRd,
    kColOperation,
    kColComment,
};
inline constexpr int kScriptColumns = 8;
inline constexpr int kEmptyGridRows = 24;

// Cell colours of a run: pure green and pure red.
inline constexpr uint32_t kCellGreen = 0x00FF00;
inline constexpr uint32_t kCellRed = 0xFF0000;

// A write or read frame's count is one byte: a row with more bytes is never sent.
inline constexpr int kMaxFrameCount = 255;

class FrmScriptOps : public Form {
public:
    explicit FrmScriptOps(Workbench& wb);

    Label Caption{"Setup - Script IC Send/Receive"};
    Label lblTitle{"IC - Script Load / Execute"};
    Grid vbalGrid1;
    TextBox txtI2CAdr;

    // Frame "Script Control".
    Label frmScriptExec{"Script Control"};
    Button cmdExecAll{"Run All Steps"};
    Button cmdAbort{"Abort"};
    Button cmdRunContinuous{"Loop Cont"};
    Button cmdReload2{"Reload"};
    CheckBox chkAOF{"Abort On fail"};
    TextBox txtLoopCount{"0"};
    Label Label6{"Loop Count"};
    TextBox txtScriptLine1;
    Label Label4{"Last Load"};
    TextBox txttotReads{"0"};
    TextBox txtRdPass{"0"};
    TextBox txtRdFails{"0"};
    Label Label3{"Read Operations"};
    Label Label2{"Total       Pass        Fail"};
    TextBox txtRunning{"1"};
    Label Label1{"of"};
    TextBox txtTotLines;

    // Frames "Interrupt Status" and "Interrupt Service Steps".
    Label frameInterrupt{"Interrupt Status"};
    CheckBox chkISample{"Enable", false, "Manual Enable / Disable of Interrupt Sampling"};
    Button cmdISample{"Sample", "Click here to Sample GPIO bits."};
    TextBox txtIDefault{"0000", "Non Interupt Active Value of GPIO Ports"};
    TextBox txtLastRead{"0000", "Last Sampled value of GPIO Ports"};
    TextBox txtIEnableStep{
        "----", "Displays if Interrupt Sampling is Enable, Step Number if enabled via Script."};
    TextBox txtIDisableStep{
        "----", "Displays if Interrupt Sampling is disabled, Step Number if disabled via Script."};
    TextBox txtIdetectStep{"----"};
    Label Label7{"Expect   LastRead    Enable          Disable       Detect Step"};
    std::array<Lamp, 1> shpISample;
    Label Label5{"Sample"};  // its tooltip explains the lamp
    Label frameIsteps{"Interrupt Service Steps"};
    TextBox txtIstart{"----"};
    TextBox txtIend{"----"};
    TextBox txtIexec{"----"};
    Label Label8{"     Start                  End               Executing"};

    // Frame "Update Expected Read Data && Save Script to File" (the doubled ampersand shows as
    // one).
    Label frmDataRecord{"Update Expected Read Data && Save Script to File"};
    CheckBox chkAppend{"Append", false,
                       "If check, data is appended to end of Measurement file, if uncheck file is "
                       "overwritten with present data only."};
    Button cmdBrowse{"Browse", "Use this to select file where measurement data will be written."};
    Button cmdStartRec{"Write to Disk", "Click here to save measurement to disk file."};
    TextBox txtFilePath{"", "Contains Path + File name where measurement data will be written."};
    Label Label18;

    FileDialogState cdldialog;      // script file to open
    FileDialogState CommonDialog2;  // record file

    // What the window loaded and where a run stands.
    ScriptLoad script;
    bool ScriptFileSelected = false;
    bool ScriptRunning = false;
    int FailsAtRowStart = 0;
    int lastExecutedRow = 0;  // 0: no row has run since the load

    // Told when a row starts and when a row's read data has been compared (a front end that
    // reports results, such as the command line's test report).
    std::function<void(int row)> onRowStarted;
    std::function<void(int row, bool passed)> onCompared;

    // Window events and menus.
    void Form_Load();
    void Form_GotFocus();
    // Inner size in twips; places the grid (gridRect).
    void Form_Resize(int innerWidth, int innerHeight, bool minimized);
    Box gridBox;
    void mnuScript_Read_Click() { ReadScriptFile(); }
    void Dupform_Click();
    void txtI2CAdr_KeyPress(int& KeyAscii);

    // Loading.
    void ReadScriptFile();
    // False when the file could not be read; the window then shows what it showed before.
    bool LoadScriptFile();
    void cmdReload2_Click();

    // Execution.
    void vbalGrid1_SelectionChange(int row, int column) { ExecuteScriptRow(row, column); }
    void ExecuteScriptRow(int row, int column);
    void cmdExecAll_Click();
    void cmdRunContinuous_Click();
    void cmdAbort_Click();

    // Write-back.
    void cmdBrowse_Click();
    void cmdStartRec_Click();
    void UpdateExpectedData();
    void Auto_Script_Save();

    // Interrupt sampling.
    void cmdISample_Click();
    void chkISample_MouseUp();

    // A row's numbers as the loader counted them (rows count from 1).
    const ScriptRow& row(int n) const { return script.rows[n - 1]; }
    int rowCount() const { return static_cast<int>(script.rows.size()); }
    const std::string& cellText(int n, int column) const { return vbalGrid1.cell(n, column).text; }

private:
    void Write_I2C(int n);
    void Read_I2C(int n);
    void GPIO_SET(int n);
    void transfer(int n);
    void compare(int n);
    void endOfRow(int n);
    int counter(const TextBox& box) const;
    void increment(TextBox& box);
    void toggleSampleLamp();
    void runService();

    Workbench& wb_;
    bool inService_ = false;
};

}  // namespace i2cbridge
