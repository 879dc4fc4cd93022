#pragma once

#include "about/system_info_launcher.h"

namespace i2cbridge {

// The launcher on this platform: there is no registry, so every key fails to open; programs
// are found on PATH and started detached, so they stay open when this program ends.
class QtSystemInfoLauncher : public SystemInfoLauncher {
public:
    bool openKey(uint32_t root, const std::string& keyName, uint32_t access,
                 KeyHandle& key) override;
    bool queryValue(KeyHandle key, const std::string& valueName, std::size_t bufferSize,
                    uint32_t& type, std::string& data) override;
    void closeKey(KeyHandle key) override;
    bool fileExists(const std::string& path) override;
    std::string findProgram(const std::string& name) override;
    bool startDetached(const std::string& program, const std::vector<std::string>& args) override;
};

}  // namespace i2cbridge
