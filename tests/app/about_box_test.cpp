// The About box model: its texts, the registry reads and the search for a system information
// program, with the operating system behind a scripted launcher.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>
#include <sstream>

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
    int openKeys = 0;

    bool openKey(uint32_t root, const std::string& keyName, uint32_t, KeyHandle& key) override {
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
    EXPECT_EQ(VersionText("1", "2", "000123456789012345678901234567890"),
              "Version 1.2.123456789012345678901234567890");
}

// Whatever the build's version, the box shows it as three decimal numbers.
TEST_F(AboutBox, LoadShowsTheBuildsVersionAndOkAsksTheViewToClose) {
    about.Form_Load();
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
    os.values["K|Nul"] = {registry::kTypeString, std::string(1, '\0')};
    os.values["K|Low"] = {registry::kTypeNumber, std::string("\x0A\x01\x00\x00", 4)};
    os.values["K|Bin"] = {3, std::string("\x01\x02", 2)};
    os.values["K|Huge"] = {registry::kTypeString, std::string(1025, 'a')};
    const struct {
        const char *key, *name;
        bool found;
        const char* text;
    } cases[] = {
        {"K", "Name", true, "C:\\tools\\x.exe"},
        {"K", "Nul", true, ""},
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
}

// The registry's program first, then MSINFO32.EXE at the registry's location, then the
// desktop's own programs in order; nothing found, or a start that fails, logs one line.
TEST_F(AboutBox, SystemInfoProgramIsLookedForInOrder) {
    const struct {
        std::string registry;  // MSINFO's PATH value, with its terminator; "" for none
        const char* location;  // the Shared Tools Location's MSINFO value, or none
        bool msinfoThere;      // MSINFO32.EXE exists at that location
        const char* desktop;   // desktop programs installed
        bool starts;
        const char* started;  // "" for no start; nothing started, or a failed start, is logged
    } cases[] = {
        {std::string("C:\\m\\msinfo32.exe\0", 18), 0, 0, "kinfocenter", 1, "C:\\m\\msinfo32.exe"},
        {"", "C:\\Shared", true, "", true, "C:\\Shared\\MSINFO32.EXE"},
        {"", "C:\\Gone", false, "hardinfo", true, "/usr/bin/hardinfo"},
        {"", 0, 0, "hardinfo gnome-control-center", 1,
         "/usr/bin/gnome-control-center info-overview"},
        {"", nullptr, false, "", true, ""},
        {"", nullptr, false, "kinfocenter", false, "/usr/bin/kinfocenter"},
        {"C:\\broken.exe", nullptr, false, "", false, "C:\\broken.exe"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.started);
        FakeLauncher l;
        if (!c.registry.empty())
            l.values[std::string(kMsInfo) + "|PATH"] = {registry::kTypeString, c.registry};
        if (c.location)
            l.values[std::string(kLocation) + "|MSINFO"] = {registry::kTypeString, c.location};
        if (c.msinfoThere) l.files.push_back(c.location + std::string("\\MSINFO32.EXE"));
        std::istringstream desktop(c.desktop);
        for (std::string p; desktop >> p;) l.programs[p] = "/usr/bin/" + p;
        l.startSucceeds = c.starts;
        FrmAbout2 box{*rig.wb, l};
        rig.markLog();
        box.cmdSysInfo_Click();
        EXPECT_EQ(l.started, std::vector<std::string>(*c.started ? 1 : 0, c.started));
        const bool logged = !c.starts || !*c.started;
        EXPECT_EQ(
            rig.messagesSinceMark(),
            std::vector<std::string>(logged, "System Information Is Unavailable At This Time"));
    }
    EXPECT_TRUE(rig.dialogs.messages.empty());
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
}

}  // namespace
}  // namespace i2cbridge::testing
