#include "registers/frm_i2c_general.h"
#include "shell/workbench.h"

// Placeholder bodies: the single-byte panel is being built.
namespace i2cbridge {
void FrmI2CGeneral::txtI2CAdr_KeyPress(int&) {}
void FrmI2CGeneral::txtI2CAdr_LostFocus() {}
void FrmI2CGeneral::txtUserRegAdr_KeyPress(int&) {}
void FrmI2CGeneral::txtsbwr_KeyPress(int, int&) {}
void FrmI2CGeneral::cmdWrite1Byte_Click(int) {}
void FrmI2CGeneral::cmdRead_Click() {}
}  // namespace i2cbridge
