// i2cbridge-cli: the bridge board from a shell, a test station or a CI job. It drives the same
// core as the window (connection, frames, judging) with headless ports; the program log goes
// to standard error.
//
//   i2cbridge-cli read ADDR REG [COUNT]     read COUNT bytes (default 1) from register REG
//   i2cbridge-cli write ADDR REG DATA...    write the data bytes to register REG
//
// ADDR is the 8-bit write address and REG the register address bytes, most significant
// first, in hexadecimal as everywhere in the tool ("60", "02", "0010"). Exit status: 0 done,
// 1 the device did not acknowledge, 2 bad usage, 3 no board could be opened.

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/board_choice.h"
#include "app/command_line.h"
#include "app/headless_ports.h"
#include "foundation/hex_text.h"
#include "workbench/connection_bracket.h"
#include "workbench/exchange.h"
#include "workbench/workbench.h"

using namespace i2cbridge;

namespace {

constexpr int kExitOk = 0;
constexpr int kExitNak = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNoBoard = 3;

const char* const kUsage =
    "Usage: i2cbridge-cli COMMAND [ARGUMENTS] [OPTIONS]\n"
    "\n"
    "Commands:\n"
    "  read ADDR REG [COUNT]    read COUNT bytes (1 to 255, default 1) from register REG\n"
    "  write ADDR REG DATA...   write the data bytes to register REG\n"
    "\n"
    "ADDR is the device's 8-bit write address, REG its register address (one or more bytes,\n"
    "most significant first) and DATA one or more bytes, all in hexadecimal: 60, 02, 0010, A5.\n"
    "\n"
    "Options:\n"
    "  --simulate   use the built-in simulated board instead of the board on USB\n"
    "  --vid ID     vendor identifier to match, hexadecimal (default 0x0547)\n"
    "  --pid ID     product identifier to match, hexadecimal (default 0x2005)\n"
    "  -h, --help      show this text\n"
    "  -v, --version   show the version\n"
    "\n"
    "Exit status: 0 done, 1 the device did not acknowledge, 2 bad usage, 3 no board.\n";

struct Options {
    bool simulate = false;
    std::optional<uint16_t> vendorId;
    std::optional<uint16_t> productId;
    std::vector<std::string> words;  // the command and its arguments
};

int Usage(const std::string& error) {
    std::fprintf(stderr, "i2cbridge-cli: %s\n\n%s", error.c_str(), kUsage);
    return kExitUsage;
}

// Hex digits as bytes, two digits each from the left; an odd count gets a leading 0.
std::optional<std::vector<uint8_t>> HexBytes(std::string text) {
    if (text.size() % 2 == 1) text.insert(text.begin(), '0');
    if (text.empty()) return std::nullopt;
    std::vector<uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const auto value = StrictHexValue(std::string_view(text).substr(i, 2), 0xFF);
        if (!value) return std::nullopt;
        bytes.push_back(static_cast<uint8_t>(*value));
    }
    return bytes;
}

std::string HexList(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (uint8_t b : bytes) {
        if (!text.empty()) text += ' ';
        text += HexByteText(b);
    }
    return text;
}

// Log entries end in line ends of their own; stderr gets one line per entry.
void PrintLogEntry(std::string_view text) {
    std::string line;
    for (char c : text) {
        if (c != '\r') line += c;
    }
    while (!line.empty() && line.back() == '\n') line.pop_back();
    if (line.empty()) return;
    std::fprintf(stderr, "log: %s\n", line.c_str());
}

class Session {
public:
    explicit Session(const Options& options)
        : board_(ChooseBoard(options.simulate)),
          pump_(*board_.driver),
          dialogs_(stderr),
          wb_(*board_.driver, pump_, dialogs_) {
        MatchBoard(wb_.usb, board_, options.vendorId, options.productId);
        wb_.log.onEntry = PrintLogEntry;
        wb_.usb.InitI2CPipe();
    }

    // Opens the board for one command; false when none answered.
    bool open() {
        bracket_.open();
        if (wb_.usb.DriverContext.DeviceHandle != 0) return true;
        std::fputs("i2cbridge-cli: no board could be opened\n", stderr);
        bracket_.close();
        return false;
    }
    void close() { bracket_.close(); }

    Workbench& wb() { return wb_; }

private:
    BoardChoice board_;
    HeadlessPump pump_;
    HeadlessDialogs dialogs_;
    Workbench wb_;
    ConnectionBracket bracket_{wb_.usb, wb_.pump};
};

int Read(const Options& o) {
    if (o.words.size() < 3 || o.words.size() > 4) return Usage("read takes ADDR REG [COUNT]");
    const auto address = StrictHexValue(o.words[1], 0xFF);
    const auto reg = HexBytes(o.words[2]);
    int count = 1;
    if (o.words.size() == 4) {
        try {
            std::size_t used = 0;
            count = std::stoi(o.words[3], &used);
            if (used != o.words[3].size()) count = 0;
        } catch (const std::exception&) {
            count = 0;
        }
    }
    if (!address) return Usage("ADDR must be one hexadecimal byte, not \"" + o.words[1] + "\"");
    if (!reg || reg->size() > 253) return Usage("REG must be hexadecimal bytes");
    if (count < 1 || count > 255) return Usage("COUNT must be a number from 1 to 255");

    Session session(o);
    if (!session.open()) return kExitNoBoard;
    Workbench& wb = session.wb();
    wb.i2c.ReadByteCount = static_cast<int16_t>(count);
    const auto readAddress = static_cast<uint8_t>(*address + 1);
    const Reply reply = I2CExchange(
        wb.usb, RegisterReadRequest(static_cast<uint8_t>(count), readAddress, *reg), count + 1);
    session.close();
    if (!ReadReplyOk(reply[0], count)) {
        std::fprintf(stderr, "i2cbridge-cli: the device read %d of %d bytes\n", reply[0], count);
        return kExitNak;
    }
    const std::vector<uint8_t> data(reply.bytes().begin() + 1, reply.bytes().end());
    std::printf("%s\n", HexList(data).c_str());
    return kExitOk;
}

int Write(const Options& o) {
    if (o.words.size() < 4) return Usage("write takes ADDR REG DATA...");
    const auto address = StrictHexValue(o.words[1], 0xFF);
    const auto reg = HexBytes(o.words[2]);
    if (!address) return Usage("ADDR must be one hexadecimal byte, not \"" + o.words[1] + "\"");
    if (!reg) return Usage("REG must be hexadecimal bytes");
    std::vector<uint8_t> data;
    for (std::size_t i = 3; i < o.words.size(); ++i) {
        const auto bytes = HexBytes(o.words[i]);
        if (!bytes) return Usage("DATA must be hexadecimal bytes, not \"" + o.words[i] + "\"");
        data.insert(data.end(), bytes->begin(), bytes->end());
    }
    // The count byte of a write frame is one byte: register and data must fit it.
    if (reg->size() + data.size() > 255) return Usage("REG and DATA come to more than 255 bytes");

    Session session(o);
    if (!session.open()) return kExitNoBoard;
    Workbench& wb = session.wb();
    const auto count = static_cast<uint8_t>(reg->size() + data.size());
    const Reply reply = I2CExchange(
        wb.usb, RegisterWriteRequest(count, static_cast<uint8_t>(*address), *reg, data), 2);
    session.close();
    const int registerBytes = static_cast<int>(reg->size());
    const int dataBytes = static_cast<int>(data.size());
    if (!WriteReplyOk(reply[0], registerBytes, dataBytes)) {
        std::fprintf(stderr, "i2cbridge-cli: the device acknowledged %d of %d bytes\n", reply[0],
                     1 + registerBytes + dataBytes);
        return kExitNak;
    }
    return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return kExitOk;
        }
        if (arg == "--version" || arg == "-v") {
            std::printf("i2cbridge-cli %d.%d.%d\n", I2CB_VERSION_MAJOR, I2CB_VERSION_MINOR,
                        I2CB_VERSION_PATCH);
            return kExitOk;
        }
        if (arg == "--simulate") {
            o.simulate = true;
        } else if (arg == "--vid" || arg == "--pid") {
            if (i + 1 >= argc) return Usage(arg + " needs a value");
            const auto id = ParseUsbId(argv[++i]);
            if (!id) return Usage(arg + " wants a hexadecimal identifier from 0 to FFFF");
            (arg == "--vid" ? o.vendorId : o.productId) = id;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Usage("unknown option " + arg);
        } else {
            o.words.push_back(arg);
        }
    }
    if (o.words.empty()) return Usage("no command given");
    if (o.words[0] == "read") return Read(o);
    if (o.words[0] == "write") return Write(o);
    return Usage("unknown command " + o.words[0]);
}
