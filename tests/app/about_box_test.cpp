// The About box model: its texts, the registry reads and the search for a system information
// program, with the operating system behind a scripted launcher.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>

#include "about/frm_about2.h"
#include "foundation/ports.h"
#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

using ::i2cbridge::registry::kLocalMachine;

// A registry, a file system and a program path set up by each test; records what was asked.
class FakeLauncher : public SystemInfoLauncher {
public:
    std::map<std::string, std::pair<uint32_t, std::string>> values;  // "key|value name"
    std::vector<std::string> files;
    std::map<std::string, std::string> programs;  // name -> full path
    bool startSucceeds = true;
    std::vector<std::string> started;  // "program arg ..."
    std::vector<std::string> searched;
    std::vector<uint32_t> openAccess;
    std::vector<std::size_t> bufferSizes;
    int openKeys = 0;

    bool openKey(uint32_t root, const std::string& keyName, uint32_t access,
                 KeyHandle& key) override {
        openAccess.push_back(access);
        if (root != kLocalMachine) return false;
        for (const auto& [name, value] : values) {
            if (name.substr(0, name.find('|')) != keyName) continue;
            keys_[key = ++lastKey_] = keyName;
            return ++openKeys;
        }
        return false;
    }
    bool queryValue(KeyHandle key, const std::string& valueName, std::size_t bufferSize,
                    uint32_t& type, std::string& data) override {
        bufferSizes.push_back(bufferSize);
        const auto it = values.find(keys_.at(key) + "|" + valueName);
        if (it == values.end() || it->second.second.size() > bufferSize) return false;
        std::tie(type, data) = it->second;
        return true;
    }
    void closeKey(KeyHandle key) override { openKeys -= static_cast<int>(keys_.erase(key)); }
    bool fileExists(const std::string& path) override {
        return std::find(files.begin(), files.end(), path) != files.end();
    }
    std::string findProgram(const std::string& name) override {
        searched.push_back(name);
        return programs.count(name) ? programs[name] : std::string();
    }
    bool startDetached(const std::string& program, const std::vector<std::string>& args) override {
        started.push_back(program);
        for (const std::string& a : args) started.back() += " " + a;
        return startSucceeds;
    }

private:
    std::map<KeyHandle, std::string> keys_;
    KeyHandle lastKey_ = 0x100;
};

constexpr const char* kMsInfo = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kLocation = "SOFTWARE\\Microsoft\\Shared Tools Location";

struct AboutBox : ::testing::Test {
    void SetUp() override {
        rig.main();
        rig.markLog();
    }
    Rig rig;
    FakeLauncher os;
    FrmAbout2 about{*rig.wb, os};
};

TEST(VersionText, DropsLeadingZerosOfEachPartWhateverItsLength) {
    EXPECT_EQ(VersionText("3", "01", "0006"), "Version 3.1.6");
    EXPECT_EQ(VersionText("0", "00", "0"), "Version 0.0.0");
    EXPECT_EQ(VersionText("007", "0", "1000"), "Version 7.0.1000");
    EXPECT_EQ(VersionText("1", "2", "000123456789012345678901234567890"),
              "Version 1.2.123456789012345678901234567890");
}

// Whatever the build's version, the box shows it as three decimal numbers.
TEST_F(AboutBox, LoadShowsTheBuildsVersionAndOkAsksTheViewToClose) {
    about.Form_Load();
    EXPECT_EQ(about.lblDescription.caption(), "");
    EXPECT_TRUE(std::regex_match(about.lblVersion.caption(),
                                 std::regex(R"(Version (0|[1-9]\d*)\.(0|[1-9]\d*)\.(0|[1-9]\d*))")))
        << about.lblVersion.caption();
    about.cmdOK_Click();  // no view: nothing happens
    int closes = 0;
    about.onUnload = [&closes] { ++closes; };
    about.cmdOK_Click();
    EXPECT_EQ(closes, 1);
}

// Strings lose their terminator only; numbers become hex text, last byte first; other types
// leave the text as it came in; a missing key or value, or one too large for the buffer,
// empties it. Every key opened is closed again.
TEST_F(AboutBox, RegistryValuesAreReadAsText) {
    os.values["K|Name"] = {registry::kTypeString, std::string("C:\\tools\\x.exe\0", 15)};
    os.values["K|Plain"] = {registry::kTypeString, "no terminator"};
    os.values["K|Empty"] = {registry::kTypeString, ""};
    os.values["K|Nul"] = {registry::kTypeString, std::string(1, '\0')};
    os.values["K|Num"] = {registry::kTypeNumber, std::string("\x78\x56\x34\x12", 4)};
    os.values["K|Low"] = {registry::kTypeNumber, std::string("\x0A\x01\x00\x00", 4)};
    os.values["K|Bin"] = {3, std::string("\x01\x02", 2)};
    os.values["K|Huge"] = {registry::kTypeString, std::string(1025, 'a')};
    const struct {
        const char *key, *name;
        bool found;
        const char* text;
    } cases[] = {
        {"K", "Name", true, "C:\\tools\\x.exe"},
        {"K", "Plain", true, "no terminator"},
        {"K", "Empty", true, ""},
        {"K", "Nul", true, ""},
        {"K", "Num", true, "12345678"},
        {"K", "Low", true, "00010A"},
        {"K", "Bin", true, "stale"},
        {"K", "Huge", false, ""},
        {"K", "Other", false, ""},
        {"Nope", "Name", false, ""},
    };
    for (const auto& c : cases) {
        std::string value = "stale";
        EXPECT_EQ(about.GetKeyValue(kLocalMachine, c.key, c.name, value), c.found) << c.name;
        EXPECT_EQ(value, c.text) << c.key << "|" << c.name;
    }
    EXPECT_EQ(os.openKeys, 0);
    EXPECT_EQ(os.openAccess.front(), 0x2003Fu);
    EXPECT_EQ(os.bufferSizes.front(), 1024u);
}

// The registry's program first, then MSINFO32.EXE at the registry's location, then the
// desktop's own programs in order; nothing found, or a start that fails, logs one line.
TEST_F(AboutBox, SystemInfoProgramIsLookedForInOrder) {
    const std::string unavailable = Entry("System Information Is Unavailable At This Time");
    const struct {
        std::string registryPath;          // "" for none; MSINFO's PATH value, with its terminator
        const char* location;              // the Shared Tools Location's MSINFO value, or none
        bool msinfoThere;                  // MSINFO32.EXE exists at that location
        std::vector<std::string> desktop;  // desktop programs installed
        bool starts;
        const char* started;  // "" for no start
        bool logged;
    } cases[] = {
        {std::string("C:\\m\\msinfo32.exe\0", 18),
         nullptr,
         false,
         {"kinfocenter"},
         true,
         "C:\\m\\msinfo32.exe",
         false},
        {"", "C:\\Shared", true, {}, true, "C:\\Shared\\MSINFO32.EXE", false},
        {"", "C:\\Gone", false, {"hardinfo"}, true, "/usr/bin/hardinfo", false},
        {"",
         nullptr,
         false,
         {"hardinfo", "gnome-control-center"},
         true,
         "/usr/bin/gnome-control-center info-overview",
         false},
        {"", nullptr, false, {}, true, "", true},
        {"", nullptr, false, {"kinfocenter"}, false, "/usr/bin/kinfocenter", true},
        {"C:\\broken.exe", nullptr, false, {}, false, "C:\\broken.exe", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.started);
        FakeLauncher l;
        if (!c.registryPath.empty())
            l.values[std::string(kMsInfo) + "|PATH"] = {registry::kTypeString, c.registryPath};
        if (c.location)
            l.values[std::string(kLocation) + "|MSINFO"] = {registry::kTypeString, c.location};
        if (c.msinfoThere) l.files.push_back(c.location + std::string("\\MSINFO32.EXE"));
        for (const std::string& p : c.desktop) l.programs[p] = "/usr/bin/" + p;
        l.startSucceeds = c.starts;
        FrmAbout2 box{*rig.wb, l};
        rig.markLog();
        box.cmdSysInfo_Click();
        EXPECT_EQ(l.started,
                  *c.started ? std::vector<std::string>{c.started} : std::vector<std::string>{});
        EXPECT_EQ(rig.logSinceMark(), c.logged ? unavailable : "");
    }
    EXPECT_TRUE(rig.dialogs.messages.empty());
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

TEST_F(AboutBox, DesktopProgramsAreSearchedInOrderAndEachClickTriesAgain) {
    about.StartSysInfo();
    ASSERT_EQ(os.searched.size(), DesktopSystemInfoPrograms().size());
    EXPECT_EQ(os.searched.front(), "kinfocenter");
    os.programs["xfce4-about"] = "/usr/bin/xfce4-about";
    about.StartSysInfo();
    EXPECT_EQ(os.started, std::vector<std::string>{"/usr/bin/xfce4-about"});
}

}  // namespace
}  // namespace i2cbridge::testing
