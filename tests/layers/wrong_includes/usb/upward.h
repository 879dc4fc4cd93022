#include "workbench/workbench.h"  // the board may not know the workbench
