#pragma once

// Writing a file whole or not at all. The text goes to a new file beside the target, which is
// flushed to the disk and closed, and only then renamed over the target. A save that fails at
// any step (no such folder, read-only file, full disk) leaves the earlier file exactly as it
// was and no stray file behind.
//
// A writable file in a folder where no file may be created cannot be saved that way; it is
// written over in place instead, which a failure part way leaves incomplete.

#include <optional>
#include <string>
#include <string_view>

namespace i2cbridge {

// Creates or replaces the file at `path` with `data`. Returns nothing when the file was
// written, otherwise why it was not (a text for the program log, without the path).
//
// A file that is read-only is not replaced, although the folder would allow it. An existing
// file keeps its permission bits; a symbolic link keeps pointing at the file it names, which
// is the one replaced. Other hard links to the old file keep the old content.
// wroteInPlace, when given, tells whether the file was written over in place.
std::optional<std::string> WriteFileAtomically(const std::string& path, std::string_view data,
                                               bool* wroteInPlace = nullptr);

}  // namespace i2cbridge
