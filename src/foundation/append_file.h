#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace i2cbridge {

// Adds `data` at the end of the file at `path`, creating it when missing: all of it or none.
// A write that fails part way (full disk) cuts the file back to its earlier length. Returns
// nothing when the data was written and synced, otherwise why it was not (without the path).
std::optional<std::string> AppendFileWhole(const std::string& path, std::string_view data);

}  // namespace i2cbridge
