#include "registers/frm_i2c_general.h"
#include "shell/workbench.h"

// Placeholder body: the communications test is being built.
namespace i2cbridge {
void FrmI2CGeneral::cmdTestComm_Click() {}
}  // namespace i2cbridge
