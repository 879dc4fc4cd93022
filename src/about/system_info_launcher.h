#pragma once

// What the About box needs from the operating system to start a system information program:
// the registry (where the platform keeps the program's location), a file test, a search of
// the program path and a detached start. Linux has no registry, so there every open fails and
// the About box falls back to the desktop's own system information programs.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace i2cbridge {

namespace registry {
inline constexpr uint32_t kLocalMachine = 0x80000002;  // HKEY_LOCAL_MACHINE
inline constexpr uint32_t kAccessMask = 0x2003F;
inline constexpr uint32_t kTypeString = 1;  // REG_SZ
inline constexpr uint32_t kTypeNumber = 4;  // REG_DWORD, little-endian
inline constexpr std::size_t kValueBufferSize = 1024;
}  // namespace registry

class SystemInfoLauncher {
public:
    using KeyHandle = uint64_t;
    virtual ~SystemInfoLauncher() = default;

    // Opens keyName under root; false when there is no such key (or no registry at all).
    virtual bool openKey(uint32_t root, const std::string& keyName, uint32_t access,
                         KeyHandle& key) = 0;
    // Reads a value into a buffer of bufferSize bytes: on success type is the value's type and
    // data the bytes the query returned, a string's terminating NUL included. A value larger
    // than the buffer fails.
    virtual bool queryValue(KeyHandle key, const std::string& valueName, std::size_t bufferSize,
                            uint32_t& type, std::string& data) = 0;
    virtual void closeKey(KeyHandle key) = 0;

    virtual bool fileExists(const std::string& path) = 0;
    // Full path of an executable found on the program search path, empty when there is none.
    virtual std::string findProgram(const std::string& name) = 0;
    // Starts a program that outlives this one; false when it could not be started.
    virtual bool startDetached(const std::string& program,
                               const std::vector<std::string>& args) = 0;
};

}  // namespace i2cbridge
