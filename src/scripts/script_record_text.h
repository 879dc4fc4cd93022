#pragma once

// The text rules of the measured-data write-back, apart from any window so that they can be
// tested line by line.

#include <string>
#include <string_view>

#include "foundation/ports.h"

namespace i2cbridge {

inline constexpr std::string_view kStampMark = "# AutoUpdated:";

// Replaces a data line's expected read data (its third field) by `actual`. The field runs from
// the second comma to the next comma or "#"; the blanks around its text stay, and so does every
// other byte of the line. A line without a second comma is left alone.
void ReplaceExpectedData(std::string& line, std::string_view actual);

// Cuts line 1 before an earlier stamp and appends "# AutoUpdated: " with the date, the time
// and the loop count, so that repeated writes keep one stamp.
void StampFirstLine(std::string& line, const DateTime& now, std::string_view loops);

// The data log beside a script: "_DL" before the extension ("a1.txt" gives "a1_DL.txt"), or
// at the end of a name without one.
std::string DataLogPath(std::string_view scriptPath);
// True for a name DataLogPath gives: "_DL" just before the extension, or at the end of a name
// without one.
bool IsDataLogPath(std::string_view path);

}  // namespace i2cbridge
