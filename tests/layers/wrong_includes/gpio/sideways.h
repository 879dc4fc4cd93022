#include "registers/frm_i2c_general.h"  // the GPIO screen comes before the main window
