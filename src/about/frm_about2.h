#pragma once

// The About box: the application's title and version, a disclaimer, OK and "System Info...".
// It holds no state of its own; each opening after a close loads it afresh.

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "about/system_info_launcher.h"
#include "foundation/controls.h"
#include "foundation/form.h"

namespace i2cbridge {

class Workbench;

// "Version " and major.minor.revision in decimal without leading zeros. The parts come as
// decimal digit text because the build passes them as written ("3", "01", "0006"), and a
// leading zero would make a C++ literal octal.
std::string VersionText(std::string_view major, std::string_view minor, std::string_view revision);
// The version of this build.
std::string ProgramVersionText();

// A desktop's own system information program and the arguments that open its overview.
struct SystemInfoProgram {
    std::string name;
    std::vector<std::string> args;
};
// Tried in this order when the registry names no program.
const std::vector<SystemInfoProgram>& DesktopSystemInfoPrograms();

inline constexpr const char* kSysInfoUnavailable = "System Information Is Unavailable At This Time";

class FrmAbout2 : public Form {
public:
    FrmAbout2(Workbench& wb, SystemInfoLauncher& launcher);

    Label Caption{"About Application"};
    Label lblTitle{"Application Title"};
    Label lblVersion{"Version"};
    Label lblDescription{"App Description"};
    std::array<Label, 2> lblDisclaimer;
    Button cmdOK{"OK"};
    Button cmdSysInfo{"&System Info..."};

    // Called by cmdOK: the view closes and destroys the box.
    std::function<void()> onUnload;

    void Form_Load();
    void cmdOK_Click();
    void cmdSysInfo_Click();

    void StartSysInfo();
    // Reads the value SubKeyRef of the key KeyName under KeyRoot as text. On failure KeyVal is
    // emptied and the result is false.
    bool GetKeyValue(uint32_t KeyRoot, const std::string& KeyName, const std::string& SubKeyRef,
                     std::string& KeyVal);

private:
    // Starts the program, or logs that system information is unavailable.
    void start(const std::string& program, const std::vector<std::string>& args);
    void reportUnavailable();

    Workbench& wb_;
    SystemInfoLauncher& launcher_;
};

}  // namespace i2cbridge
