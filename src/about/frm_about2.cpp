#include "about/frm_about2.h"

#include "foundation/hex_text.h"
#include "foundation/ports.h"
#include "workbench/workbench.h"

#define I2CB_TEXT2(x) #x
#define I2CB_TEXT(x) I2CB_TEXT2(x)

namespace i2cbridge {

namespace {

std::string WithoutLeadingZeros(std::string_view digits) {
    const auto first = digits.find_first_not_of('0');
    if (first == std::string_view::npos) return "0";
    return std::string(digits.substr(first));
}

constexpr const char* kDisclaimer =
    "Warning: the register descriptions, scripts and values shown by this program are provided "
    "for evaluation only and may contain errors or omissions. The evaluation board, the devices "
    "on it and their documentation may change without notice. Check every result against the "
    "device's data sheet before relying on it in a design.";

// Where the platform's registry keeps the system information program.
constexpr const char* kMsInfoKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kMsInfoLocationKey = "SOFTWARE\\Microsoft\\Shared Tools Location";

}  // namespace

std::string VersionText(std::string_view major, std::string_view minor, std::string_view revision) {
    return "Version " + WithoutLeadingZeros(major) + "." + WithoutLeadingZeros(minor) + "." +
           WithoutLeadingZeros(revision);
}

std::string ProgramVersionText() {
    return VersionText(I2CB_TEXT(I2CB_VERSION_MAJOR), I2CB_TEXT(I2CB_VERSION_MINOR),
                       I2CB_TEXT(I2CB_VERSION_PATCH));
}

// KDE's and GNOME's overview pages first, then Xfce's About (its System tab), then the
// stand-alone hardware browsers some distributions ship.
const std::vector<SystemInfoProgram>& DesktopSystemInfoPrograms() {
    static const std::vector<SystemInfoProgram> programs = {
        {"kinfocenter", {}}, {"gnome-control-center", {"info-overview"}},
        {"xfce4-about", {}}, {"hardinfo2", {}},
        {"hardinfo", {}},
    };
    return programs;
}

FrmAbout2::FrmAbout2(Workbench& wb, SystemInfoLauncher& launcher) : wb_(wb), launcher_(launcher) {
    lblDisclaimer[0].setCaption("ACCURACY OF INFORMATION");
    lblDisclaimer[1].setCaption(kDisclaimer);
}

void FrmAbout2::Form_Load() {
    Caption.setCaption(std::string("About ") + kAppTitle);
    lblVersion.setCaption(ProgramVersionText());
    // The build carries no comments text.
    lblDescription.setCaption("");
    lblTitle.setCaption(kAppTitle);
}

void FrmAbout2::cmdOK_Click() {
    if (onUnload) onUnload();
}

void FrmAbout2::cmdSysInfo_Click() {
    StartSysInfo();
}

void FrmAbout2::StartSysInfo() {
    std::string value;
    if (GetKeyValue(registry::kLocalMachine, kMsInfoKey, "PATH", value)) {
        start(value, {});
        return;
    }
    if (GetKeyValue(registry::kLocalMachine, kMsInfoLocationKey, "MSINFO", value)) {
        const std::string program = value + "\\MSINFO32.EXE";
        if (launcher_.fileExists(program)) {
            start(program, {});
            return;
        }
    }
    for (const SystemInfoProgram& candidate : DesktopSystemInfoPrograms()) {
        const std::string path = launcher_.findProgram(candidate.name);
        if (!path.empty()) {
            start(path, candidate.args);
            return;
        }
    }
    reportUnavailable();
}

bool FrmAbout2::GetKeyValue(uint32_t KeyRoot, const std::string& KeyName,
                            const std::string& SubKeyRef, std::string& KeyVal) {
    SystemInfoLauncher::KeyHandle key = 0;
    if (!launcher_.openKey(KeyRoot, KeyName, registry::kAccessMask, key)) {
        KeyVal.clear();
        return false;
    }
    uint32_t type = 0;
    std::string data;
    if (!launcher_.queryValue(key, SubKeyRef, registry::kValueBufferSize, type, data)) {
        KeyVal.clear();
        launcher_.closeKey(key);
        return false;
    }
    // The terminator is dropped before the type is looked at, so a number whose last byte is
    // zero loses that byte too.
    if (!data.empty() && data.back() == '\0') data.pop_back();
    if (type == registry::kTypeString) {
        KeyVal = data;
    } else if (type == registry::kTypeNumber) {
        KeyVal.clear();
        for (auto it = data.rbegin(); it != data.rend(); ++it) {
            KeyVal += HexByteText(static_cast<unsigned char>(*it));
        }
    }
    launcher_.closeKey(key);
    return true;
}

void FrmAbout2::start(const std::string& program, const std::vector<std::string>& args) {
    if (!launcher_.startDetached(program, args)) reportUnavailable();
}

void FrmAbout2::reportUnavailable() {
    wb_.log.LogMessage(kSysInfoUnavailable, kCrLf);
}

}  // namespace i2cbridge
