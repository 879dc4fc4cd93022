#pragma once

// A trace of every transfer the connection makes, for a bench engineer who wants to see the
// frames on the wire: a readable text file (time since the trace began in microseconds, pipe,
// direction, lengths, status, bytes; a comment line names the board), or, for a name ending in
// ".pcap", the USB transfers in the Linux usbmon capture format that Wireshark and tshark open,
// with the board's bus and device number.

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "usb/connection.h"
#include "workbench/trace_port.h"

namespace i2cbridge {

class TransferTrace : public RunningTrace {
public:
    ~TransferTrace() override;
    TransferTrace(const TransferTrace&) = delete;
    TransferTrace& operator=(const TransferTrace&) = delete;

    // Opens the file and hooks the connection; nothing and why not when the file cannot be
    // written. The trace ends (and the hook is removed) when the object goes.
    static std::unique_ptr<TransferTrace> Start(UsbConnection& usb, const std::string& path,
                                                std::string& why);
    const std::string& path() const override { return path_; }

private:
    TransferTrace(UsbConnection& usb, std::string path);
    void record(const TransferRecord& r);
    void writeText(const TransferRecord& r);
    void writePcap(const TransferRecord& r);

    UsbConnection& usb_;
    std::string path_;
    std::FILE* text_ = nullptr;
    struct Pcap;
    std::unique_ptr<Pcap> pcap_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::system_clock::time_point wallStart_;
    uint64_t nextId_ = 1;
    std::string board_;  // the board the text named last
};

}  // namespace i2cbridge
