#pragma once

// The tool's date and time texts: "mm-dd-yyyy" and "hh:mm:ss", as the log's stamps, the
// script window's load time and the record files show them.

#include <string>

#include "foundation/ports.h"

namespace i2cbridge {

std::string DateText(const DateTime& t);   // "11-23-2026"
std::string ClockText(const DateTime& t);  // "09:05:07"

}  // namespace i2cbridge
