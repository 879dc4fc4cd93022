#pragma once

// Reading a file whole, the one way the tool does it: scripts, register definitions files and
// the command line's scripts all come in through here.

#include <cstddef>
#include <limits>
#include <string>

namespace i2cbridge {

// Puts the file's bytes (the first `atMost` of them) into `bytes` and returns true; otherwise
// returns false, leaves `bytes` alone and, when `why` is given, says why (a text for the log,
// without the path: "No such file or directory", "Is a directory"). errno keeps the system's
// error of a failed open or read.
bool ReadWholeFile(const std::string& path, std::string& bytes, std::string* why = nullptr,
                   std::size_t atMost = std::numeric_limits<std::size_t>::max());

// The same, with the reason always wanted.
inline bool ReadWholeFile(const std::string& path, std::string& bytes, std::string& why) {
    return ReadWholeFile(path, bytes, &why);
}

}  // namespace i2cbridge
