#include "registers/frm_i2c_general.h"
#include "shell/workbench.h"

// Placeholder bodies: the register table is being built.
namespace i2cbridge {
void FrmI2CGeneral::cmdReadRegs_Click() {}
void FrmI2CGeneral::cmdwriteAll_Click() {}
void FrmI2CGeneral::txtBWrite_DblClick(int) {}
void FrmI2CGeneral::txtBWrite_KeyPress(int, int&) {}
void FrmI2CGeneral::txtRdByte_Click(int) {}
void FrmI2CGeneral::Command7_Click() {}
void FrmI2CGeneral::cbReset_Click() {}
void FrmI2CGeneral::cbSend_Click() {}
void FrmI2CGeneral::cmdAppsSet_Click() {}
void FrmI2CGeneral::cmdWrite_Click() {}
}  // namespace i2cbridge
