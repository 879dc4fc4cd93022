#include "foundation/whole_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace i2cbridge {

namespace {
bool Fail(std::string* why, const char* reason, int error) {
    if (why) *why = error != 0 ? std::strerror(error) : reason;
    errno = error;
    return false;
}
}  // namespace

bool ReadWholeFile(const std::string& path, std::string& bytes, std::string* why,
                   std::size_t atMost) {
    if (path.empty()) return Fail(why, "no file name was given", ENOENT);
    std::error_code ec;
    // A folder opens as a file on some systems and reads as nothing: it gets the system's own
    // reason, as every other file that cannot be read does.
    if (std::filesystem::is_directory(path, ec)) return Fail(why, "", EISDIR);
    errno = 0;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return Fail(why, "the system gave no reason", errno);
    std::string data;
    char chunk[64 * 1024];
    while (data.size() < atMost) {
        const std::size_t want = std::min(sizeof chunk, atMost - data.size());
        const std::size_t got = std::fread(chunk, 1, want, file);
        data.append(chunk, got);
        if (got < want) break;
    }
    const bool failed = std::ferror(file) != 0;
    const int error = errno;
    std::fclose(file);
    if (failed) return Fail(why, "the file could not be read", error);
    bytes = std::move(data);
    return true;
}

}  // namespace i2cbridge
