#include "app/transfer_trace.h"

#include <pcap/pcap.h>

#include <cctype>
#include <cerrno>
#include <cstring>

#include "foundation/hex_text.h"

namespace i2cbridge {

namespace {

// The extension in any case: "x.PCAP" is a capture too.
bool EndsWith(const std::string& s, const char* tail) {
    const std::size_t n = std::strlen(tail);
    if (s.size() < n) return false;
    for (std::size_t i = 0; i < n; ++i) {
        if (std::tolower(static_cast<unsigned char>(s[s.size() - n + i])) != tail[i]) return false;
    }
    return true;
}

// The record Linux's usbmon gives a capture for each URB event, 64 bytes in host order.
struct UsbmonHeader {
    uint64_t id;
    uint8_t type;  // 'S' submitted, 'C' completed
    uint8_t transferType;
    uint8_t endpoint;  // with bit 7 for IN
    uint8_t device;
    uint16_t bus;
    uint8_t flagSetup;
    uint8_t flagData;  // 0: data follows
    int64_t seconds;
    int32_t microseconds;
    int32_t status;
    uint32_t length;
    uint32_t captured;
    uint8_t setup[8];
    int32_t interval;
    int32_t startFrame;
    uint32_t transferFlags;
    uint32_t descriptors;
};
static_assert(sizeof(UsbmonHeader) == 64, "usbmon records are 64 bytes");

constexpr uint8_t kBulk = 3;
constexpr int32_t kInProgress = -115;  // -EINPROGRESS, the status of a submitted URB

// The errno a Linux host controller reports for the driver's failure.
int32_t UrbStatus(int32_t status) {
    switch (status) {
        case usb_status::kSuccess:
            return 0;
        case usb_status::kTimeout:
            return -ETIMEDOUT;
        case usb_status::kPipe:
            return -EPIPE;
        case usb_status::kNoDevice:
            return -ENODEV;
        case usb_status::kOverflow:
            return -EOVERFLOW;
        default:
            return -EIO;
    }
}

}  // namespace

struct TransferTrace::Pcap {
    pcap_t* handle = nullptr;
    pcap_dumper_t* dumper = nullptr;
};

TransferTrace::TransferTrace(UsbConnection& usb, std::string path)
    : usb_(usb),
      path_(std::move(path)),
      start_(std::chrono::steady_clock::now()),
      wallStart_(std::chrono::system_clock::now()) {}

TransferTrace::~TransferTrace() {
    usb_.onTransfer = nullptr;
    if (text_) std::fclose(text_);
    if (pcap_) {
        if (pcap_->dumper) pcap_dump_close(pcap_->dumper);
        if (pcap_->handle) pcap_close(pcap_->handle);
    }
}

std::unique_ptr<TransferTrace> TransferTrace::Start(UsbConnection& usb, const std::string& path,
                                                    std::string& why) {
    std::unique_ptr<TransferTrace> trace(new TransferTrace(usb, path));
    if (EndsWith(path, ".pcap")) {
        trace->pcap_ = std::make_unique<Pcap>();
        trace->pcap_->handle = pcap_open_dead(DLT_USB_LINUX_MMAPPED, 65535);
        if (!trace->pcap_->handle) {
            why = "the capture could not be set up";
            return nullptr;
        }
        trace->pcap_->dumper = pcap_dump_open(trace->pcap_->handle, path.c_str());
        if (!trace->pcap_->dumper) {
            why = pcap_geterr(trace->pcap_->handle);
            return nullptr;
        }
    } else {
        errno = 0;
        trace->text_ = std::fopen(path.c_str(), "w");
        if (!trace->text_) {
            why = errno != 0 ? std::strerror(errno) : "the file could not be opened";
            return nullptr;
        }
        std::fputs("# seconds    dir pipe bytes/length status data\n", trace->text_);
    }
    TransferTrace* self = trace.get();
    usb.onTransfer = [self](const TransferRecord& r) { self->record(r); };
    return trace;
}

void TransferTrace::record(const TransferRecord& r) {
    if (text_) writeText(r);
    if (pcap_) writePcap(r);
}

void TransferTrace::writeText(const TransferRecord& r) {
    // The board, before its first transfer and again whenever another one answers.
    const std::string board = BoardName(usb_.Board);
    if (board != board_) {
        std::fprintf(text_, "# board %s\n", board.c_str());
        board_ = board;
    }
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(r.completed - start_);
    std::string bytes;
    for (uint8_t b : r.data) bytes.append(" ").append(HexByteText(b));
    std::fprintf(text_, "%12.6f %-3s %02X %u/%u %d%s\n", static_cast<double>(us.count()) / 1e6,
                 r.read ? "IN" : "OUT", r.pipe, static_cast<unsigned>(r.data.size()), r.requested,
                 r.status, bytes.c_str());
    std::fflush(text_);
}

// Each transfer is two usbmon events, as the kernel would log it: the submission (with the
// data of an OUT transfer) and the completion (with the data of an IN transfer).
void TransferTrace::writePcap(const TransferRecord& r) {
    const uint64_t id = nextId_++;
    auto event = [&](uint8_t type, std::chrono::steady_clock::time_point at, int32_t status,
                     uint32_t length, const uint8_t* data, uint32_t captured) {
        const auto wall =
            wallStart_ +
            std::chrono::duration_cast<std::chrono::system_clock::duration>(at - start_);
        const auto us =
            std::chrono::duration_cast<std::chrono::microseconds>(wall.time_since_epoch()).count();
        UsbmonHeader h{};
        h.id = id;
        h.type = type;
        h.transferType = kBulk;
        h.endpoint = static_cast<uint8_t>(r.pipe);
        // Where the board sits, as usbmon numbers it.
        h.device = usb_.Board.bus != 0 ? usb_.Board.address : 2;
        h.bus = usb_.Board.bus != 0 ? usb_.Board.bus : 1;
        h.flagSetup = '-';
        h.flagData = captured > 0 ? 0 : (type == 'S' ? '<' : '>');
        h.seconds = us / 1000000;
        h.microseconds = static_cast<int32_t>(us % 1000000);
        h.status = status;
        h.length = length;
        h.captured = captured;
        std::vector<uint8_t> packet(sizeof h + captured);
        std::memcpy(packet.data(), &h, sizeof h);
        if (captured > 0) std::memcpy(packet.data() + sizeof h, data, captured);
        pcap_pkthdr ph{};
        ph.ts.tv_sec = static_cast<time_t>(h.seconds);
        ph.ts.tv_usec = h.microseconds;
        ph.caplen = ph.len = static_cast<bpf_u_int32>(packet.size());
        pcap_dump(reinterpret_cast<u_char*>(pcap_->dumper), &ph, packet.data());
    };
    const auto size = static_cast<uint32_t>(r.data.size());
    if (r.read) {
        event('S', r.submitted, kInProgress, r.requested, nullptr, 0);
        event('C', r.completed, UrbStatus(r.status), size, r.data.data(), size);
    } else {
        event('S', r.submitted, kInProgress, r.requested, r.data.data(), size);
        event('C', r.completed, UrbStatus(r.status), r.status == 0 ? r.requested : 0, nullptr, 0);
    }
    pcap_dump_flush(pcap_->dumper);
}

}  // namespace i2cbridge
