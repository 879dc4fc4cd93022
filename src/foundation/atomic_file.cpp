#include "foundation/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace i2cbridge {

namespace {

namespace fs = std::filesystem;

std::string ErrorText(int error) {
    return std::strerror(error);
}

// Removes the half-written file on every way out that does not rename it.
class TemporaryFile {
public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        closeQuietly();
        if (!path.empty()) ::unlink(path.c_str());
    }

    // The descriptor is closed and the file renamed: nothing left to clean.
    void release() { path.clear(); }
    void closeQuietly() {
        if (fd >= 0) ::close(fd);
        fd = -1;
    }

    std::string path;
    int fd = -1;
};

// Creates a file no one else uses, beside the target and hidden, named after it so that a
// stray one (after a power cut) shows what it was for.
std::optional<std::string> CreateBeside(const fs::path& target, TemporaryFile& temp) {
    static std::atomic<unsigned> counter{0};
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const std::string stem =
        "." + target.filename().string() + ".saving-" + std::to_string(::getpid()) + "-";
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string candidate = (folder / (stem + std::to_string(counter++))).string();
        // 0666 so that a new file gets the user's usual permissions through the umask.
        const int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            temp.path = candidate;
            temp.fd = fd;
            return std::nullopt;
        }
        if (errno == EEXIST) continue;
        if (errno == ENOENT) return "the folder " + folder.string() + " does not exist";
        return "no file can be created in " + folder.string() + ": " + ErrorText(errno);
    }
    return "no file can be created in " + folder.string() + ": too many unfinished saves";
}

std::optional<std::string> WriteAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return "writing failed: " + ErrorText(errno);
        }
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return std::nullopt;
}

// As with a read-only file, the mode bits count even for a user whom the system would let
// create files anyway.
bool FolderAllowsNoNewFiles(const fs::path& target) {
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) return false;
    if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return true;
    return ::access(folder.c_str(), W_OK | X_OK) != 0 && errno == EACCES;
}

// The old bytes are overwritten first and the rest cut off last, so the file is never shorter
// than the new text while it is being written.
std::optional<std::string> WriteInPlace(const fs::path& target, std::string_view data) {
    const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return "the file cannot be opened for writing: " + ErrorText(errno);
    std::optional<std::string> failure = WriteAll(fd, data);
    if (!failure && ::ftruncate(fd, static_cast<off_t>(data.size())) != 0) {
        failure = "writing failed: " + ErrorText(errno);
    }
    if (!failure && ::fsync(fd) != 0) failure = "writing failed: " + ErrorText(errno);
    if (::close(fd) != 0 && !failure) failure = "writing failed: " + ErrorText(errno);
    return failure;
}

// Makes the rename itself survive a power cut. A folder that cannot be synced does not
// undo a save that has already happened, so failures here are not reported.
void SyncFolder(const fs::path& target) {
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    (void)::fsync(fd);
    ::close(fd);
}

}  // namespace

std::optional<std::string> WriteFileAtomically(const std::string& path, std::string_view data,
                                               bool* wroteInPlace) {
    if (wroteInPlace) *wroteInPlace = false;
    if (path.empty()) return "no file name was given";
    fs::path target(path);

    // Saving through a symbolic link replaces the file it names, not the link.
    std::error_code ec;
    if (fs::is_symlink(target, ec)) {
        fs::path resolved = fs::canonical(target, ec);
        if (!ec) target = resolved;
    }

    struct stat old {};
    const bool exists = ::stat(target.c_str(), &old) == 0;
    if (exists) {
        if (S_ISDIR(old.st_mode)) return "the name is that of a folder";
        // The mode bits count even for a user whom the system would let write anyway: a file
        // marked read-only is one the engineer meant to keep.
        if ((old.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 ||
            ::access(target.c_str(), W_OK) != 0) {
            return "the file is read-only";
        }
    } else if (errno == ENOTDIR) {
        return "part of the folder path is not a folder";
    } else if (errno != ENOENT) {
        return "the file cannot be reached: " + ErrorText(errno);
    }

    if (exists && FolderAllowsNoNewFiles(target)) {
        if (wroteInPlace) *wroteInPlace = true;
        return WriteInPlace(target, data);
    }

    TemporaryFile temp;
    if (auto failure = CreateBeside(target, temp)) return failure;
    if (exists) (void)::fchmod(temp.fd, old.st_mode & 07777);

    if (auto failure = WriteAll(temp.fd, data)) return failure;
    if (::fsync(temp.fd) != 0) return "writing failed: " + ErrorText(errno);
    const int fd = temp.fd;
    temp.fd = -1;
    if (::close(fd) != 0) return "writing failed: " + ErrorText(errno);

    if (::rename(temp.path.c_str(), target.c_str()) != 0) {
        return "the file could not be replaced: " + ErrorText(errno);
    }
    temp.release();
    SyncFolder(target);
    return std::nullopt;
}

}  // namespace i2cbridge
