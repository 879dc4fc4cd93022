// i2cbridge-cli: the bridge board from a shell, a test station or a CI job. It drives the same
// core as the window (connection, frames, script windows, write-back, interrupt sampling) with
// headless ports: no event loop, the board's events delivered at each yield, message boxes
// printed to stderr and answered.

#include <cstdio>
#include <cstring>
#include <string>

#include "app/command_line.h"
#include "cli/cli.h"
#include "foundation/display_text.h"
#include "foundation/hex_text.h"

namespace i2cbridge::cli {

const char* UsageText() {
    return "Usage: i2cbridge-cli COMMAND [ARGUMENTS] [OPTIONS]\n"
           "\n"
           "Commands:\n"
           "  read ADDR REG [COUNT]    read COUNT bytes (1 to 255, default 1) from register REG\n"
           "  write ADDR REG DATA...   write the data bytes to register REG\n"
           "  dump ADDR                read registers 00 to FF one by one, as a 16 by 16 table\n"
           "  scan [--expect HH,...]   probe every 7-bit address with a one-byte read\n"
           "  gpio [--enables HHHH] [DATA]\n"
           "                           write port B and port C (and their output enables), read "
           "back\n"
           "  show SCRIPT              print a script's rows as the script window shows them\n"
           "  run SCRIPT...            run each script's main part as Run All Steps does\n"
           "\n"
           "ADDR is a device's 8-bit write address (60 for the device at 7-bit address 30), REG\n"
           "its register address (one or more bytes, most significant first) and DATA one or\n"
           "more bytes, all hexadecimal: 60, 02, 0010, A5. COUNT is decimal.\n"
           "\n"
           "Options:\n"
           "  --simulate          use the built-in simulated board instead of the board on USB\n"
           "  --vid ID, --pid ID  identifiers to match, hexadecimal (defaults 0x0547, 0x2005)\n"
           "  --json              machine-readable output\n"
           "  --log FILE          write the program log to FILE instead of standard error\n"
           "  --trace FILE        trace every transfer: text, or a usbmon capture for *.pcap\n"
           "  --expect HH,HH      scan: exit 1 unless exactly these write addresses answer\n"
           "  --enables HHHH      gpio: port B and port C output enables\n"
           "  --address HH        show, run: the script window's I2C address (default 60)\n"
           "  --loop N            run: N passes, as Loop Cont would (default 1)\n"
           "  --abort-on-fail     run: stop a pass at its first failed compare\n"
           "  --pause continue|abort\n"
           "                      run: how a keypress pause is answered (default continue)\n"
           "  --junit FILE        run: write a JUnit XML report\n"
           "  --update-expected FILE [--append]\n"
           "                      run: write the script with the data read as expected data\n"
           "  -h, --help          show this text\n"
           "  -v, --version       show the version\n"
           "\n"
           "Exit status: 0 done (every compare passed), 1 a compare failed or a device did not\n"
           "answer, 2 bad usage or a file that cannot be read or written, 3 no board.\n";
}

int Usage(const std::string& error) {
    std::fprintf(stderr, "i2cbridge-cli: %s\n\n%s", error.c_str(), UsageText());
    return kExitUsage;
}

namespace {

void PrintLogEntry(std::string_view text) {
    std::string line;
    for (char c : text) {
        if (c != '\r') line += c;
    }
    while (!line.empty() && line.back() == '\n') line.pop_back();
    if (line.empty()) return;
    std::fprintf(stderr, "log: %s\n", line.c_str());
}

}  // namespace

Session::Session(const Options& o)
    : board_(ChooseBoard(o.simulate)),
      pump_(*board_.driver),
      dialogs_(stderr),
      wb_(*board_.driver, pump_, dialogs_),
      program_(wb_) {
    MatchBoard(wb_.usb, board_, o.vendorId, o.productId);
    dialogs_.okCancelAnswer = o.pause;
    // Without the main window's open, the I2C pipe is selected here.
    wb_.usb.InitI2CPipe();
    // Every entry goes to stderr or the log file as it is written; nothing reads it back.
    wb_.log.Txtlog.setRetain(false);
    if (!o.logFile.empty()) {
        log_ = std::fopen(o.logFile.c_str(), "ab");
        if (!log_) {
            setupError_ = "cannot write the log to " + o.logFile + ": " + std::strerror(errno);
            return;
        }
        std::FILE* file = log_;
        wb_.log.Txtlog.onAppend = [file](std::string_view text) {
            std::fwrite(text.data(), 1, text.size(), file);
            std::fflush(file);
        };
    } else {
        wb_.log.onEntry = PrintLogEntry;
    }
    if (!o.traceFile.empty()) {
        std::string why;
        trace_ = TransferTrace::Start(wb_.usb, o.traceFile, why);
        if (!trace_) setupError_ = "cannot write the trace to " + o.traceFile + ": " + why;
    }
}

Session::~Session() {
    trace_.reset();
    wb_.log.Txtlog.onAppend = nullptr;
    if (log_) std::fclose(log_);
}

bool Session::open() {
    bracket_.open();
    if (wb_.usb.DriverContext.DeviceHandle != 0) return true;
    std::fputs("i2cbridge-cli: no board could be opened\n", stderr);
    bracket_.close();
    return false;
}

void Session::close() {
    bracket_.close();
}

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

std::string HexList(const std::vector<uint8_t>& bytes, const char* separator) {
    std::string text;
    for (uint8_t b : bytes) {
        if (!text.empty()) text += separator;
        text += HexByteText(b);
    }
    return text;
}

std::string JsonString(std::string_view bytes) {
    std::string out = "\"";
    for (unsigned char c : DisplayText(bytes)) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            default:
                if (c < 0x20) {
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04x", c);
                    out += escape;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

}  // namespace i2cbridge::cli

using namespace i2cbridge;
using namespace i2cbridge::cli;

namespace {

bool ParseLoop(const std::string& text, int& loop) {
    try {
        std::size_t used = 0;
        loop = std::stoi(text, &used);
        return used == text.size() && loop >= 1;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) return false;
            out = argv[++i];
            return true;
        };
        std::string v;
        if (arg == "--help" || arg == "-h") {
            std::fputs(UsageText(), stdout);
            return kExitOk;
        }
        if (arg == "--version" || arg == "-v") {
            std::printf("i2cbridge-cli %d.%d.%d\n", I2CB_VERSION_MAJOR, I2CB_VERSION_MINOR,
                        I2CB_VERSION_PATCH);
            return kExitOk;
        }
        if (arg == "--simulate") {
            o.simulate = true;
        } else if (arg == "--json") {
            o.json = true;
        } else if (arg == "--abort-on-fail") {
            o.abortOnFail = true;
        } else if (arg == "--append") {
            o.append = true;
        } else if (arg == "--vid" || arg == "--pid") {
            if (!value(v)) return Usage(arg + " needs a value");
            const auto id = ParseUsbId(v);
            if (!id) return Usage(arg + " wants a hexadecimal identifier from 0 to FFFF");
            (arg == "--vid" ? o.vendorId : o.productId) = id;
        } else if (arg == "--log" || arg == "--trace" || arg == "--junit" ||
                   arg == "--update-expected") {
            if (!value(v) || v.empty()) return Usage(arg + " needs a file name");
            (arg == "--log"     ? o.logFile
             : arg == "--trace" ? o.traceFile
             : arg == "--junit" ? o.junitFile
                                : o.updateExpectedFile) = v;
        } else if (arg == "--address") {
            if (!value(v) || !StrictHexValue(v, 0xFE) || v.size() > 2)
                return Usage("--address wants a write address from 00 to FE");
            o.address = UpperCase(v);
        } else if (arg == "--loop") {
            if (!value(v) || !ParseLoop(v, o.loop)) return Usage("--loop wants a number from 1 up");
        } else if (arg == "--pause") {
            if (!value(v) || (v != "continue" && v != "abort"))
                return Usage("--pause wants continue or abort");
            o.pause = v == "abort" ? Dialogs::Answer::Cancel : Dialogs::Answer::Ok;
        } else if (arg == "--enables") {
            if (!value(v) || v.size() != 4 || !StrictHexValue(v, 0xFFFF))
                return Usage("--enables wants four hexadecimal digits");
            o.enables = v;
        } else if (arg == "--expect") {
            if (!value(v)) return Usage("--expect needs a list of addresses");
            std::vector<uint8_t> addresses;
            std::size_t start = 0;
            while (start <= v.size()) {
                const auto comma = std::min(v.find(',', start), v.size());
                const auto a =
                    StrictHexValue(std::string_view(v).substr(start, comma - start), 0xFE);
                if (!a) return Usage("--expect wants write addresses such as 40,60,A0");
                addresses.push_back(static_cast<uint8_t>(*a));
                start = comma + 1;
            }
            o.expect = addresses;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Usage("unknown option " + arg);
        } else {
            o.words.push_back(arg);
        }
    }
    if (o.words.empty()) return Usage("no command given");
    const std::string& command = o.words[0];
    if (command == "read") return Read(o);
    if (command == "write") return Write(o);
    if (command == "dump") return Dump(o);
    if (command == "scan") return Scan(o);
    if (command == "gpio") return Gpio(o);
    if (command == "show") return Show(o);
    if (command == "run") return Run(o);
    return Usage("unknown command " + command);
}
