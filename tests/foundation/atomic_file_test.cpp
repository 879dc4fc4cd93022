#include "foundation/atomic_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>

#include "foundation/append_file.h"
#include "foundation/whole_file.h"
#include "support/temp_dir.h"

namespace i2cbridge {
namespace {

namespace fs = std::filesystem;
using testing::ReadBytes;
using testing::TempDir;
using testing::WriteBytes;

mode_t ModeOf(const std::string& path) {
    struct stat st {};
    EXPECT_EQ(::stat(path.c_str(), &st), 0);
    return st.st_mode & 07777;
}

// The one whole-file reader: the bytes as they are (NUL and CR included), the first `atMost`
// of them, or why not, with errno kept for callers that print it; the bytes are left alone on
// failure.
TEST(ReadWholeFile, GivesTheBytesOrWhyNot) {
    TempDir dir;
    const std::string bytes = std::string("a\r\n\0\xff", 5) + std::string(100000, 'x');
    WriteBytes(dir.file("f"), bytes);
    const struct {
        const char* name;
        std::string path;
        std::size_t atMost;
        bool read;
        std::string got;  // the bytes, or the reason
        int error;
    } cases[] = {
        {"whole", dir.file("f"), std::string::npos, true, bytes, 0},
        {"first five", dir.file("f"), 5, true, bytes.substr(0, 5), 0},
        {"missing", dir.file("gone"), std::string::npos, false, "No such file or directory",
         ENOENT},
        {"folder", dir.path().string(), std::string::npos, false, "Is a directory", EISDIR},
        {"no name", "", std::string::npos, false, "No such file or directory", ENOENT},
        {"read error", "/proc/self/mem", std::string::npos, false, "Input/output error", EIO},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string got = "before", why;
        const bool read = ReadWholeFile(c.path, got, &why, c.atMost);
        const int error = errno;
        EXPECT_EQ(read, c.read);
        EXPECT_EQ(c.read ? got : why, c.got);
        EXPECT_EQ(c.read ? 0 : error, c.error);
        EXPECT_EQ(got, c.read ? c.got : "before");
    }
}

class WriteFileAtomicallyTest : public ::testing::Test {
protected:
    TempDir dir;
    const std::string path = dir.file("setup.qrl");
};

// A new file, then a longer file replaced by shorter ones down to nothing: each save holds
// exactly the text and leaves no temporary file behind.
TEST_F(WriteFileAtomicallyTest, EachSaveHoldsExactlyTheTextAndNothingIsLeftBehind) {
    for (const std::string& text : {std::string("line 1\r\nline 2\r\n\0binary\xff", 24),
                                    std::string(4096, 'x'), std::string("short"), std::string()}) {
        EXPECT_EQ(WriteFileAtomically(path, text), std::nullopt);
        EXPECT_EQ(ReadBytes(path), text);
        EXPECT_EQ(dir.entries(), 1) << "a temporary file was left behind";
    }
}

// Everything below the folder: each entry's permissions and content.
std::map<std::string, std::pair<mode_t, std::string>> Snapshot(const TempDir& dir) {
    std::map<std::string, std::pair<mode_t, std::string>> entries;
    for (const auto& e : fs::recursive_directory_iterator(dir.path())) {
        const std::string path = e.path().string();
        entries[path] = {ModeOf(path), e.is_regular_file() ? ReadBytes(path) : std::string()};
    }
    return entries;
}

// A refused save names the reason and leaves the folder exactly as it was.
TEST(WriteFileAtomically, RefusalsSayWhyAndChangeNothing) {
    const struct {
        const char* name;
        std::function<void(TempDir&)> setUp;
        const char* target;  // below the folder; empty for no name at all
        std::string reason;
    } cases[] = {
        {"missing folder", [](TempDir&) {}, "no-such-folder/setup.qrl",
         "the folder {}/no-such-folder does not exist"},
        {"file in the folder path", [](TempDir& d) { WriteBytes(d.file("plain"), "keep"); },
         "plain/setup.qrl", "part of the folder path is not a folder"},
        // The folder is writable: only the file's own mode protects it.
        {"read-only file",
         [](TempDir& d) {
             WriteBytes(d.file("locked.qrl"), "old content");
             ASSERT_EQ(::chmod(d.file("locked.qrl").c_str(), 0444), 0);
         },
         "locked.qrl", "the file is read-only"},
        {"folder of that name",
         [](TempDir& d) {
             fs::create_directory(d.file("setup.qrl"));
             WriteBytes(d.file("setup.qrl/inside"), "kept");
         },
         "setup.qrl", "the name is that of a folder"},
        {"no name", [](TempDir&) {}, "", "no file name was given"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        c.setUp(dir);
        const auto before = Snapshot(dir);
        const std::string path = *c.target ? dir.file(c.target) : std::string();
        std::string reason = c.reason;
        if (const auto at = reason.find("{}"); at != std::string::npos)
            reason.replace(at, 2, dir.path().string());
        EXPECT_EQ(WriteFileAtomically(path, "new content"), std::optional<std::string>(reason));
        EXPECT_EQ(Snapshot(dir), before);
    }
}

// A write that fails part way (here: a file size limit, as a full disk would) says why and
// leaves the earlier file whole: a save removes its half-written copy, an append cuts the file
// back to its old length.
TEST_F(WriteFileAtomicallyTest, AFailedWriteLeavesTheEarlierFileWhole) {
    const struct {
        const char* why;  // how the failure begins
        std::optional<std::string> (*write)(const std::string&, std::string_view);
    } writers[] = {
        {"writing failed: ",
         [](const std::string& p, std::string_view d) { return WriteFileAtomically(p, d); }},
        {"File too large", AppendFileWhole},
    };
    for (const auto& w : writers) {
        SCOPED_TRACE(w.why);
        const std::string old = "I2C ADDRESS , 60\r\n";
        WriteBytes(path, old);
        struct rlimit saved {};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
        auto* previous = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit small = saved;
        small.rlim_cur = 64;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto failure = w.write(path, std::string(1000, 'y'));
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previous);
        EXPECT_EQ(failure.value_or("").rfind(w.why, 0), 0u) << failure.value_or("");
        EXPECT_EQ(ReadBytes(path), old);
        EXPECT_EQ(dir.entries(), 1) << "the half-written file was left behind";
    }
}

// A replaced file keeps its permissions; a new one gets the usual ones through the umask.
TEST_F(WriteFileAtomicallyTest, PermissionsOfAReplacedFileAreKeptAndANewFileFollowsTheUmask) {
    WriteBytes(path, "old");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    const mode_t before = ::umask(022);
    const auto failures = std::pair(WriteFileAtomically(path, "new"),
                                    WriteFileAtomically(dir.file("new.qrl"), "text"));
    ::umask(before);
    EXPECT_EQ(failures, std::pair(std::optional<std::string>(), std::optional<std::string>()));
    EXPECT_EQ(std::pair(ModeOf(path), ModeOf(dir.file("new.qrl"))), std::pair(0640u, 0644u));
}

// Through a link the file it names is replaced; a bare name is written in the current folder.
TEST_F(WriteFileAtomicallyTest, LinksAreFollowedAndBareNamesLandInTheCurrentFolder) {
    fs::create_directory(dir.file("real"));
    WriteBytes(dir.file("real/setup.qrl"), "old");
    fs::create_symlink(dir.file("real/setup.qrl"), dir.file("link.qrl"));
    const fs::path before = fs::current_path();
    fs::current_path(dir.path());
    const auto failures =
        std::pair(WriteFileAtomically("link.qrl", "new"), WriteFileAtomically("bare", "text"));
    fs::current_path(before);
    EXPECT_EQ(failures, std::pair(std::optional<std::string>(), std::optional<std::string>()));
    EXPECT_TRUE(fs::is_symlink(dir.file("link.qrl")));
    EXPECT_EQ(ReadBytes(dir.file("real/setup.qrl")) + ReadBytes(dir.file("bare")), "newtext");
    EXPECT_EQ(dir.entries(), 3);
}

}  // namespace
}  // namespace i2cbridge
