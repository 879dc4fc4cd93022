#include "main_window/frm_i2c_general.h"  // the GPIO screen comes before the main window
