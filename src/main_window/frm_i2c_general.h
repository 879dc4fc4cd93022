#pragma once

// The main window "Quantrel I2C Communications Software": connection area, program log,
// I2C address, single-byte panel, the 32-row register table, register definitions files,
// the communications test and the menus. Its controls are plain models named as the window
// names them; the Qt view binds widgets to them and forwards events to the handlers below.
//
// The handlers are spread over several files by subject:
//   frm_i2c_general.cpp    load, focus, close, resize and scroll, menus, connection, log
//   single_byte_panel.cpp  I2C address box and the single-byte panel
//   register_table.cpp     the register table and the raw two-byte panel
//   register_file.cpp      register definitions files (open, save)
//   communications_panel.cpp  the communications test

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/controls.h"
#include "foundation/core_error.h"
#include "foundation/form.h"
#include "foundation/ports.h"
#include "foundation/program_log.h"
#include "usb/connection.h"
#include "workbench/bus_tools.h"
#include "workbench/connection_bracket.h"
#include "workbench/trace_port.h"

namespace i2cbridge {

class Workbench;

inline constexpr int kRegisterRows = 32;
inline constexpr int kKeyEnter = 13;

// The main window's connection area.
struct ConnectionPanel {
    Button cmdUSBConnect{"USB Connect", "Connect and leave USB connection open."};
    Button cmdUSBDisconnect{"USB Disconnect", "Close USB Connection."};
    CheckBox ChKManUsbConn{"Manual USB Connect / Disconnect", false,
                           "Check to disable automatic open / closing of USB connection."};
    Label lblUSBConnect{"Manual User Connect"};
    std::array<Lamp, 2> shpUSBCon;  // 0 lit while open, 1 while closed
    Lamp ShpHandleStatus;
    Lamp ShpAttach;
    TextBox txthDriver{"Not Initialized"};
    Button cbNoc{"USB Initialized"};  // a button used as a notice
    Button cmdexit{"Exit"};
    Button cbSend{"Send All", "Updates all writable registers and samples internal registers."};
    Button cbReset{"Reset", "Reset Procedure"};
};

// What Start Trace did: the file the transfers now go to, or why not (FileUnwritable with the
// system's reason). A cancelled dialog gives an empty path and no error.
struct TraceStart {
    std::string path;
    CoreError error = CoreError::None;
    std::string reason;
    bool started() const { return error == CoreError::None && !path.empty(); }
};

// What opening a register definitions file did: how many rows and whether the address were
// loaded, the numbers (from 1) of the lines that were not, how many lines the file had (33
// when whole). A file that was not loaded at all says why: FileUnreadable with the system's
// reason, or NotDefinitions; the table and the address box are then as they were. A
// cancelled dialog gives an empty path.
struct RegisterFileLoad {
    std::string path;
    int rowsLoaded = 0;
    bool addressLoaded = false;
    std::vector<int> badLines;
    int linesRead = 0;
    CoreError error = CoreError::None;
    std::string reason;
};

class FrmI2CGeneral : public Form, public ConnectionPanel, private ConnectionBracket::Painter {
public:
    explicit FrmI2CGeneral(Workbench& wb);

    Lamp* attachLamp() override { return &ShpAttach; }

    // The program log, which the workbench keeps, shown on the "Program Log" page.
    LogBox& Txtlog;
    Lamp& shpLogStatus;

    Label Caption{"Quantrel I2C Communications Software"};
    TabControl SSTab1;  // 0 "General I2C Comm", 1 "Program Log"
    Button cmdClearLog{"Clear Log"};

    // I2C address.
    TextBox txtI2CAdr{"60", "Enter I2C Address"};
    TextBox txtActualWrtAddress{"", "Actual I2C Write Address"};
    TextBox txtActualReadAddress{"", "Actual I2C Read Address"};

    // Communications test.
    Button cmdTestComm{"Test", "Click to test Communications"};
    std::array<TextBox, 2> txtTstReg{TextBox{"", "If good Com, will be equal to 1."}, TextBox{}};
    Label lblCommTest;

    // Single-byte panel "Single Byte Transfer User Panel".
    TextBox txtUserRegAdr{
        "00",
        "Sets Device Register Accessed for Writes and Reads in Single Byte Transfer User Panel"};
    std::array<TextBox, 2> txtsbwr{TextBox{"AA"}, TextBox{"55"}};
    std::array<Button, 2> cmdWrite1Byte{
        Button{"WRITE", "Writes Data entered below to Address in Device Register Address Text Box"},
        Button{"WRITE",
               "Writes Data entered below to Address in Device Register Address Text Box"}};
    Button cmdRead{"READ", "Reads Address in Device Register Address Text Box"};
    TextBox txtReadByte{"--"};
    std::array<Lamp, 3> Shape2;  // 0 and 1: the write buttons; 2: READ
    Lamp Shape3;
    Label lblNak{"NAK"};
    Label lblReadCount{"--"};

    // Register table "Active Device Registers": rows 0-15 in Frame1(0), 16-31 in Frame1(1).
    std::array<Plain, 2> Frame1;
    std::array<TextBox, kRegisterRows> Reg_Adr;
    std::array<TextBox, kRegisterRows> Reg_Desc;
    std::array<TextBox, kRegisterRows> txtBWrite;
    std::array<TextBox, kRegisterRows> txtRdByte;
    std::array<Lamp, kRegisterRows> shpBwrite;
    std::array<Lamp, kRegisterRows> Shape1;
    Button cmdReadRegs{"Read All Active   Registers",
                       "Performs Single Byte Reads on all Registers"};
    Button cmdwriteAll{"Write All Active  Registers",
                       "Performs Single Byte Writes  on all Registers"};
    Button Command7{"Set Write Data = Read Data ",
                    "Moves Active Device Registers  Read Data Into Associated Write Boxes"};
    Button cmdAppsSet{"Set Defaults",
                      "Set the I2C_General to Applications Suggested Starting Configuratioin."};
    Button Command1{"Command1"};

    // Raw two-byte panel on pipe 4.
    TextBox txtAddr{"00"};
    TextBox txtData{"00"};
    CheckBox ckRwb{"Write (unchecked) Read (checked)"};
    Button cmdWrite{"Write"};

    // The scrolling view of the register area, in twips: pbinner (content) inside pbouter
    // (viewport) inside PbForm, with the two scroll bars.
    Box PbForm;
    Box pbouter;
    Box pbinner;
    ScrollBar VScroll1;
    ScrollBar HScroll1;
    Plain TmrSample;

    // File dialogs: open and save; each remembers its last name for the run.
    FileDialogState cdldialog;
    FileDialogState CommonDialog1;

    // Window events.
    void Form_Load();
    void Form_GotFocus();
    // Returns true when the close is cancelled.
    bool Form_QueryUnload();
    void Form_Unload();
    void Form_Resize(int innerWidth, int innerHeight);  // twips
    void cmdexit_Click();
    void Command1_Click();
    void frmAbout_Click();
    void mnuGPIO_Click();
    void mnu_ScriptShow_Click();
    void VScroll1_Change();
    void HScroll1_Change();
    void SSTab1_Click();
    void cmdClearLog_Click();

    // File menu tools beside the window's own entries. Scan Bus opens the board as every
    // operation does (unless the user holds the connection), probes every address, logs what
    // answered (BusScanText) and returns it. Start Trace asks for a file with the save
    // dialog, ends a trace already running and starts one to the file; Stop Trace ends the
    // running trace and returns its file (empty when none ran). Both log what they did.
    BusScan mnuScanBus_Click();
    TraceStart mnuTraceStart_Click();
    std::string mnuTraceStop_Click();
    bool tracing() const { return trace_ != nullptr; }

    // Connection (public: other windows call them through the single instance).
    void Connect_Usb();
    void Disconnect_USB();
    void cmdUSBConnect_Click();
    void cmdUSBDisconnect_Click();
    void ChKManUsbConn_Click();

    // I2C address and single-byte panel.
    void txtI2CAdr_KeyPress(int& KeyAscii);
    void txtI2CAdr_LostFocus();
    void txtUserRegAdr_KeyPress(int& KeyAscii);
    void txtsbwr_KeyPress(int Index, int& KeyAscii);
    void cmdWrite1Byte_Click(int Index);
    void cmdRead_Click();

    // Register table.
    void cmdReadRegs_Click();
    void cmdwriteAll_Click();
    void txtBWrite_DblClick(int Index);
    void txtBWrite_KeyPress(int Index, int& KeyAscii);
    void txtRdByte_Click(int Index);
    void Command7_Click();
    void cbReset_Click();
    void cbSend_Click();
    void cmdAppsSet_Click();
    void cmdWrite_Click();

    // Register definitions files. WriteParameters returns true when the file was written; a
    // failure has already been logged.
    bool WriteParameters(const std::string& strParamFile, FrmI2CGeneral& FrmIn);
    RegisterFileLoad Read_Param_File();
    RegisterFileLoad mnuSetup_Open_Click();
    void mnuSetup_Save_Click();

    // Communications test.
    void cmdTestComm_Click();

private:
    // How the main window paints its connection area while the connection opens and closes.
    void driverStarted(UsbDriverHandle handle) override;
    void driverFailed() override;
    void opening() override;
    void opened() override;
    void closed() override;
    void connectClicked() override;
    void disconnectClicked() override;

    // The connection bracket around every register operation: USB Connect before the
    // transfers and USB Disconnect after them, unless the user holds the connection.
    void openBracket() { bracket_.open(); }
    void closeBracket() { bracket_.close(); }
    // Upper-cases a write box and turns a zero value into "00". A value outside 00..FF becomes
    // "--" with the log line "Invalid Write Value" and no value; otherwise the value checked.
    std::optional<uint8_t> acceptWriteValue(TextBox& box);
    // Shows a reply's count byte in lblReadCount and paints the operation's lamp: the two
    // greens in turn when the reply judge said ok, light red otherwise. Returns ok.
    bool judgeReply(uint8_t count, bool ok, Lamp& lamp);
    // The single-byte panel's outcome: judgeReply, then Shape3 and lblNak, and "--" in
    // txtReadByte on failure.
    bool judgeSingleByte(uint8_t count, bool ok, Lamp& lamp);
    // One row of the table written; the address byte comes from the address box as it stands
    // or from the stored write address.
    enum class WriteAddressFrom { Box, Stored };
    void writeRow(int row, WriteAddressFrom from);
    // The write lamp and box of a row after a write, both made visible.
    void showRowWrite(int row, uint8_t count);
    // A register row's four boxes in the file's field order (RegisterRowFields).
    std::array<TextBox*, 4> rowBoxes(int row);

    Workbench& wb_;
    ConnectionBracket bracket_;
    std::unique_ptr<RunningTrace> trace_;
    FileDialogState traceDialog_;
};

}  // namespace i2cbridge
