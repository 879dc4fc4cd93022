#include "foundation/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace i2cbridge {

std::optional<std::string> AppendFileWhole(const std::string& path, std::string_view data) {
    if (path.empty()) return std::string("no file name was given");
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) return std::string(std::strerror(errno));
    struct stat before {};
    if (::fstat(fd, &before) != 0 || S_ISDIR(before.st_mode)) {
        const int error = errno;
        ::close(fd);
        return std::string(error != 0 ? std::strerror(error) : "it is a folder");
    }
    std::size_t done = 0;
    int error = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            error = errno;
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    if (error == 0 && ::fsync(fd) != 0) error = errno;
    if (error != 0) {
        // Whole lines or nothing: what went out of this write is taken back.
        [[maybe_unused]] const int cut = ::ftruncate(fd, before.st_size);
    }
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error != 0) return std::string(std::strerror(error));
    return std::nullopt;
}

}  // namespace i2cbridge
