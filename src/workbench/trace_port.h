#pragma once

// A trace of every transfer to a file, as the core sees it. The trace writer itself sits with
// the program (it needs libpcap); the program sets Workbench::startTrace, and the main window's
// Start Trace and Stop Trace drive it through this port.

#include <functional>
#include <memory>
#include <string>

namespace i2cbridge {

// A running trace; it ends, and its file is closed, when the object goes.
class RunningTrace {
public:
    virtual ~RunningTrace() = default;
    virtual const std::string& path() const = 0;
};

// Starts a trace to the file at `path`; nothing, and why not in `why`, when the file cannot be
// written.
using TraceStarter =
    std::function<std::unique_ptr<RunningTrace>(const std::string& path, std::string& why)>;

}  // namespace i2cbridge
