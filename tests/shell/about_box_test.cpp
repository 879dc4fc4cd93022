// The About box model: its texts, the registry reads and the search for a system information
// program, with the operating system behind a scripted launcher.

#include <gtest/gtest.h>

#include <map>
#include <regex>

#include "foundation/ports.h"
#include "about/frm_about2.h"
#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

using ::i2cbridge::registry::kLocalMachine;

// A registry, a file system and a program path set up by each test; records what was asked.
class FakeLauncher : public SystemInfoLauncher {
public:
    struct Value {
        uint32_t type;
        std::string data;
    };
    // "key|value name" -> value
    std::map<std::string, Value> values;
    std::vector<std::string> files;
    std::map<std::string, std::string> programs;  // name -> full path
    bool startSucceeds = true;

    struct Started {
        std::string program;
        std::vector<std::string> args;
    };
    std::vector<Started> started;
    std::vector<std::string> searched;
    std::vector<uint32_t> openAccess;
    std::vector<std::size_t> bufferSizes;
    int openKeys = 0;

    bool openKey(uint32_t root, const std::string& keyName, uint32_t access,
                 KeyHandle& key) override {
        openAccess.push_back(access);
        if (root != kLocalMachine) return false;
        for (const auto& [name, value] : values) {
            if (name.substr(0, name.find('|')) == keyName) {
                keys_[++lastKey_] = keyName;
                key = lastKey_;
                ++openKeys;
                return true;
            }
        }
        return false;
    }
    bool queryValue(KeyHandle key, const std::string& valueName, std::size_t bufferSize,
                    uint32_t& type, std::string& data) override {
        bufferSizes.push_back(bufferSize);
        const auto it = values.find(keys_.at(key) + "|" + valueName);
        if (it == values.end() || it->second.data.size() > bufferSize) return false;
        type = it->second.type;
        data = it->second.data;
        return true;
    }
    void closeKey(KeyHandle key) override {
        keys_.erase(key);
        --openKeys;
    }
    bool fileExists(const std::string& path) override {
        return std::find(files.begin(), files.end(), path) != files.end();
    }
    std::string findProgram(const std::string& name) override {
        searched.push_back(name);
        const auto it = programs.find(name);
        return it == programs.end() ? std::string() : it->second;
    }
    bool startDetached(const std::string& program, const std::vector<std::string>& args) override {
        started.push_back({program, args});
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

// --- Texts ----------------------------------------------------------------------------------

TEST(VersionText, DropsLeadingZerosOfEachPart) {
    EXPECT_EQ(VersionText("3", "01", "0006"), "Version 3.1.6");
    EXPECT_EQ(VersionText("0", "00", "0"), "Version 0.0.0");
    EXPECT_EQ(VersionText("10", "20", "0300"), "Version 10.20.300");
    EXPECT_EQ(VersionText("007", "0", "1000"), "Version 7.0.1000");
}

TEST(VersionText, NumbersPastAnyIntegerTypeStayIntact) {
    EXPECT_EQ(VersionText("1", "2", "000123456789012345678901234567890"),
              "Version 1.2.123456789012345678901234567890");
}

TEST_F(AboutBox, LoadShowsTitleVersionAndEmptyDescription) {
    EXPECT_EQ(about.lblVersion.caption(), "Version");
    about.Form_Load();
    EXPECT_EQ(about.Caption.caption(), std::string("About ") + kAppTitle);
    EXPECT_EQ(about.lblTitle.caption(), kAppTitle);
    EXPECT_EQ(about.lblDescription.caption(), "");
    // Whatever the build's version, it shows as three decimal numbers without leading zeros.
    EXPECT_TRUE(std::regex_match(about.lblVersion.caption(),
                                 std::regex(R"(Version (0|[1-9]\d*)\.(0|[1-9]\d*)\.(0|[1-9]\d*))")))
        << about.lblVersion.caption();
    EXPECT_EQ(about.lblDisclaimer[0].caption(), "ACCURACY OF INFORMATION");
    EXPECT_GT(about.lblDisclaimer[1].caption().size(), 80u);
    EXPECT_EQ(about.cmdSysInfo.caption(), "&System Info...");
    EXPECT_EQ(about.cmdOK.caption(), "OK");
}

TEST_F(AboutBox, OkAsksTheViewToCloseAndDoesNothingWithoutOne) {
    about.cmdOK_Click();  // no view: nothing happens
    int closes = 0;
    about.onUnload = [&closes] { ++closes; };
    about.cmdOK_Click();
    EXPECT_EQ(closes, 1);
}

// --- Registry values ------------------------------------------------------------------------

TEST_F(AboutBox, StringValueLosesItsTerminatorOnly) {
    os.values["K|Name"] = {registry::kTypeString, std::string("C:\\tools\\x.exe\0", 15)};
    os.values["K|Plain"] = {registry::kTypeString, "no terminator"};
    std::string value = "stale";
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Name", value));
    EXPECT_EQ(value, "C:\\tools\\x.exe");
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Plain", value));
    EXPECT_EQ(value, "no terminator");
    EXPECT_EQ(os.openKeys, 0);
    EXPECT_EQ(os.openAccess, (std::vector<uint32_t>{0x2003F, 0x2003F}));
    EXPECT_EQ(os.bufferSizes, (std::vector<std::size_t>{1024, 1024}));
}

TEST_F(AboutBox, NumberValueBecomesHexTextLastByteFirst) {
    os.values["K|Num"] = {registry::kTypeNumber, std::string("\x78\x56\x34\x12", 4)};
    os.values["K|Low"] = {registry::kTypeNumber, std::string("\x0A\x01\x00\x00", 4)};
    std::string value;
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Num", value));
    EXPECT_EQ(value, "12345678");
    // The trailing zero byte goes with the terminator rule before the number is read.
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Low", value));
    EXPECT_EQ(value, "00010A");
}

TEST_F(AboutBox, OtherValueTypesLeaveTheTextAsItCameIn) {
    os.values["K|Bin"] = {3, std::string("\x01\x02", 2)};
    std::string value = "as given";
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Bin", value));
    EXPECT_EQ(value, "as given");
    EXPECT_EQ(os.openKeys, 0);
}

TEST_F(AboutBox, MissingKeyOrValueEmptiesTheTextAndClosesWhatWasOpened) {
    os.values["K|Name"] = {registry::kTypeString, "x"};
    os.values["K|Huge"] = {registry::kTypeString, std::string(1025, 'a')};
    std::string value = "stale";
    EXPECT_FALSE(about.GetKeyValue(kLocalMachine, "Nope", "Name", value));
    EXPECT_EQ(value, "");
    value = "stale";
    EXPECT_FALSE(about.GetKeyValue(kLocalMachine, "K", "Other", value));
    EXPECT_EQ(value, "");
    value = "stale";
    EXPECT_FALSE(about.GetKeyValue(kLocalMachine, "K", "Huge", value));
    EXPECT_EQ(value, "");
    EXPECT_EQ(os.openKeys, 0);
}

TEST_F(AboutBox, EmptyStringValueReadsAsEmpty) {
    os.values["K|Empty"] = {registry::kTypeString, ""};
    os.values["K|Nul"] = {registry::kTypeString, std::string(1, '\0')};
    std::string value = "stale";
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Empty", value));
    EXPECT_EQ(value, "");
    value = "stale";
    EXPECT_TRUE(about.GetKeyValue(kLocalMachine, "K", "Nul", value));
    EXPECT_EQ(value, "");
}

// --- Starting the system information program ------------------------------------------------

TEST_F(AboutBox, RegistryPathIsStartedAndNothingElseIsTried) {
    os.values[std::string(kMsInfo) + "|PATH"] = {registry::kTypeString,
                                                 std::string("C:\\msinfo\\msinfo32.exe\0", 23)};
    os.programs["kinfocenter"] = "/usr/bin/kinfocenter";
    about.cmdSysInfo_Click();
    ASSERT_EQ(os.started.size(), 1u);
    EXPECT_EQ(os.started[0].program, "C:\\msinfo\\msinfo32.exe");
    EXPECT_TRUE(os.started[0].args.empty());
    EXPECT_TRUE(os.searched.empty());
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(AboutBox, RegistryLocationIsUsedWhenTheProgramFileExists) {
    os.values[std::string(kLocation) + "|MSINFO"] = {registry::kTypeString, "C:\\Shared\\MSINFO"};
    os.files.push_back("C:\\Shared\\MSINFO\\MSINFO32.EXE");
    about.StartSysInfo();
    ASSERT_EQ(os.started.size(), 1u);
    EXPECT_EQ(os.started[0].program, "C:\\Shared\\MSINFO\\MSINFO32.EXE");
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(AboutBox, RegistryLocationWithoutTheFileFallsBackToTheDesktop) {
    os.values[std::string(kLocation) + "|MSINFO"] = {registry::kTypeString, "C:\\Gone"};
    os.programs["hardinfo"] = "/usr/bin/hardinfo";
    about.StartSysInfo();
    ASSERT_EQ(os.started.size(), 1u);
    EXPECT_EQ(os.started[0].program, "/usr/bin/hardinfo");
}

TEST_F(AboutBox, FirstDesktopProgramFoundIsStartedWithItsArguments) {
    os.programs["gnome-control-center"] = "/usr/bin/gnome-control-center";
    os.programs["hardinfo"] = "/usr/bin/hardinfo";
    about.StartSysInfo();
    ASSERT_EQ(os.started.size(), 1u);
    EXPECT_EQ(os.started[0].program, "/usr/bin/gnome-control-center");
    EXPECT_EQ(os.started[0].args, (std::vector<std::string>{"info-overview"}));
    EXPECT_EQ(os.searched, (std::vector<std::string>{"kinfocenter", "gnome-control-center"}));
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(AboutBox, NoProgramAnywhereLogsOneLineAndStartsNothing) {
    const int lamp = rig.main().shpLogStatus.color();
    about.StartSysInfo();
    EXPECT_TRUE(os.started.empty());
    EXPECT_EQ(os.searched.size(), DesktopSystemInfoPrograms().size());
    EXPECT_EQ(rig.logSinceMark(), Entry("System Information Is Unavailable At This Time"));
    EXPECT_TRUE(rig.dialogs.messages.empty());
    // LogMessage repaints the lamp from the flag; nothing here sets the flag.
    EXPECT_FALSE(rig.wb->log.LogErrorFlag);
    EXPECT_EQ(rig.main().shpLogStatus.color(), lamp);
}

TEST_F(AboutBox, FailedStartOfAFoundProgramLogsTheLine) {
    os.programs["kinfocenter"] = "/usr/bin/kinfocenter";
    os.startSucceeds = false;
    about.StartSysInfo();
    EXPECT_EQ(os.started.size(), 1u);
    EXPECT_EQ(rig.logSinceMark(), Entry("System Information Is Unavailable At This Time"));
}

TEST_F(AboutBox, FailedStartOfTheRegistryProgramLogsTheLine) {
    os.values[std::string(kMsInfo) + "|PATH"] = {registry::kTypeString, "C:\\broken.exe"};
    os.startSucceeds = false;
    about.StartSysInfo();
    EXPECT_EQ(os.started.size(), 1u);
    EXPECT_EQ(rig.logSinceMark(), Entry("System Information Is Unavailable At This Time"));
}

TEST_F(AboutBox, EachClickTriesAgain) {
    about.StartSysInfo();
    os.programs["xfce4-about"] = "/usr/bin/xfce4-about";
    about.StartSysInfo();
    ASSERT_EQ(os.started.size(), 1u);
    EXPECT_EQ(os.started[0].program, "/usr/bin/xfce4-about");
    EXPECT_EQ(rig.logSinceMark(), Entry("System Information Is Unavailable At This Time"));
}

}  // namespace
}  // namespace i2cbridge::testing
