// i2cbridge-cli: the bridge board from a shell, a test station or a CI job. It drives the same
// core as the window (connection, frames, script windows, write-back, interrupt sampling) with
// headless ports: no event loop, the board's events delivered at each yield, message boxes
// printed to stderr and answered.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

#include "cli/cli.h"
#include "foundation/display_text.h"
#include "foundation/hex_text.h"

namespace i2cbridge::cli {

namespace {

volatile std::sig_atomic_t gStopSignal = 0;
std::atomic<bool> gStopRequest{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

extern "C" void OnStopSignal(int signal) {
    gStopSignal = signal;
    gStopRequest.store(true);
}

std::string CliUsageText() {
    return "Usage: i2cbridge-cli COMMAND [ARGUMENTS] [OPTIONS]\n"
           "\n"
           "Commands:\n"
           "  list                     list the boards attached: port, bus and device, serial\n"
           "                           number, product, and whether you can open it\n"
           "  read ADDR REG [COUNT]    read COUNT bytes (1 to 255, default 1) from register REG\n"
           "  write ADDR REG DATA...   write the data bytes to register REG\n"
           "  dump ADDR                read registers 00 to FF one by one, as a 16 by 16 table\n"
           "  scan                     probe every 7-bit address with a one-byte read\n"
           "  gpio [DATA]              write port B and port C (and their output enables), "
           "read back\n"
           "  show SCRIPT              print a script's rows as the script window shows them\n"
           "  run SCRIPT...            run each script's main part as Run All Steps does\n"
           "\n"
           "With several boards attached, a command that uses a board needs --board ID: the\n"
           "board's serial number or its USB port path, as list shows them.\n"
           "\n"
           "ADDR is a device's 8-bit write address (60 for the device at 7-bit address 30; with\n"
           "-7 the 7-bit address), REG its register address (one or more bytes, most significant\n"
           "first) and DATA one or more bytes, all hexadecimal with or without 0x: 60, 0x02,\n"
           "0010, A5. COUNT is decimal.\n"
           "\n"
           "Options (a command refuses those it does not take):\n" +
           OptionHelp(kCliProgram) +
           "\n"
           "Exit status: 0 done (every compare passed), 1 a compare failed, a device did not\n"
           "answer, a record could not be written or the run did not run every row, 2 bad usage,\n"
           "a file that cannot be read or written or several boards and no --board, 3 no board,\n"
           "130 or 143 stopped by SIGINT or SIGTERM.\n";
}

void PrintLogEntry(std::string_view text) {
    std::string line;
    for (char c : text) {
        if (c != '\r') line += c;
    }
    while (!line.empty() && line.back() == '\n') line.pop_back();
    if (line.empty()) return;
    std::fprintf(stderr, "log: %s\n", line.c_str());
}

bool ParseLoop(const std::string& text, int& loop) {
    try {
        std::size_t used = 0;
        loop = std::stoi(text, &used);
        return used == text.size() && loop >= 1;
    } catch (const std::exception&) {
        return false;
    }
}

// The options' values into Options; an error text when one is wrong.
std::string Interpret(const ParsedArguments& parsed, Options& o) {
    o.words = parsed.words;
    const std::string command = o.words.empty() ? "" : o.words.front();
    constexpr std::string_view kCommands[] = {"list", "read", "write", "dump",
                                              "scan", "gpio", "show",  "run"};
    if (!command.empty() &&
        std::find(std::begin(kCommands), std::end(kCommands), command) == std::end(kCommands)) {
        return "unknown command " + command;
    }
    for (const ParsedArguments::Given& g : parsed.options) {
        if (!command.empty() && !TakesOption(*g.spec, command)) {
            return g.spec->name + " does not apply to " + command;
        }
    }
    o.simulate = parsed.has("--simulate");
    o.json = parsed.has("--json");
    o.quiet = parsed.has("--quiet");
    o.verbose = parsed.has("--verbose");
    o.sevenBit = parsed.has("--seven-bit");
    o.abortOnFail = parsed.has("--abort-on-fail");
    o.append = parsed.has("--append");
    o.lenient = parsed.has("--lenient");
    for (const char* name : {"--vid", "--pid"}) {
        if (!parsed.has(name)) continue;
        const auto id = ParseUsbId(parsed.value(name));
        if (!id) return std::string(name) + " wants a hexadecimal identifier from 0 to FFFF";
        (name[2] == 'v' ? o.vendorId : o.productId) = id;
    }
    o.board = parsed.value("--board");
    if (parsed.has("--board") && o.board.empty()) return "--board needs an ID";
    const std::pair<const char*, std::string*> files[] = {
        {"--log", &o.logFile},
        {"--trace", &o.traceFile},
        {"--junit", &o.junitFile},
        {"--update-expected", &o.updateExpectedFile},
        {"--record-dir", &o.recordDir}};
    for (const auto& [name, out] : files) {
        *out = parsed.value(name);
        if (parsed.has(name) && out->empty()) return std::string(name) + " needs a name";
    }
    const auto address = ParseHex(parsed.value("--address"), 0xFE);
    if (!address || *address % 2) return "--address wants an even write address from 00 to FE";
    o.address = HexByteText(static_cast<int>(*address));
    if (!ParseLoop(parsed.value("--loop"), o.loop)) return "--loop wants a number from 1 up";
    const std::string pause = parsed.value("--pause");
    if (pause != "continue" && pause != "abort") return "--pause wants continue or abort";
    o.pause = pause == "abort" ? Dialogs::Answer::Cancel : Dialogs::Answer::Ok;
    if (parsed.has("--enables")) {
        const std::string v = parsed.value("--enables");
        const auto bytes = HexBytes(v);
        if (!bytes || bytes->size() != 2) return "--enables wants four hexadecimal digits";
        o.enables = HexList(*bytes, "");
    }
    if (parsed.has("--expect")) {
        const std::string v = parsed.value("--expect");
        std::vector<uint8_t> addresses;
        std::size_t start = 0;
        while (start <= v.size()) {
            const auto comma = std::min(v.find(',', start), v.size());
            const auto a = ParseHex(std::string_view(v).substr(start, comma - start), 0xFE);
            if (!a) return "--expect wants write addresses such as 40,60,A0";
            addresses.push_back(static_cast<uint8_t>(*a));
            start = comma + 1;
        }
        o.expect = addresses;
    }
    if (o.quiet && o.verbose) return "--quiet and --verbose exclude each other";
    return {};
}

}  // namespace

int Usage(const std::string& error) {
    std::fprintf(stderr, "i2cbridge-cli: %s (try --help)\n", error.c_str());
    return kExitUsage;
}

void Complain(const std::string& text) {
    std::fprintf(stderr, "i2cbridge-cli: %s\n", text.c_str());
}

int StopSignal() {
    return gStopSignal;
}

const std::atomic<bool>& StopRequest() {
    return gStopRequest;
}

void CatchStopSignals() {
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A shell starts background jobs with SIGINT ignored, and a parent may have left the
    // signals blocked: a CI runner's stop must still reach the run.
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGINT);
    sigaddset(&stops, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &stops, nullptr);
}

static SessionSettings Settings(const Options& o) {
    SessionSettings s;
    s.simulate = o.simulate;
    s.vendorId = o.vendorId;
    s.productId = o.productId;
    s.board = o.board;
    s.logFile = o.logFile;
    s.traceFile = o.traceFile;
    s.pause = o.pause;
    return s;
}

CliSession::CliSession(const Options& o) : Session(Settings(o)), options_(o) {
    dialogs().report = Complain;
    // Every entry with --verbose; otherwise the failures alone, which always reach stderr.
    if (o.verbose) {
        wb().log.onEntry = PrintLogEntry;
    } else {
        wb().log.onError = PrintLogEntry;
    }
}

bool CliSession::open() {
    if (Session::open()) return true;
    Complain(noBoardText());
    if (!wb().usb.BoardId.empty()) Complain("no board " + wb().usb.BoardId + " among them");
    if (!options_.quiet) NoBoardHints();
    return false;
}

void NoBoardHints() {
    std::fputs(
        "  try --simulate to use the built-in simulated board;\n"
        "  if the board is plugged in, install the udev rule that lets you open it\n"
        "  (/usr/lib/udev/rules.d/60-i2cbridge.rules, or packaging/60-i2cbridge.rules from\n"
        "  the source, into /etc/udev/rules.d/) and plug it in again;\n"
        "  a board with other identifiers needs --vid and --pid.\n",
        stderr);
}

int Start(CliSession& session) {
    if (!session.setupError().empty()) {
        Complain(session.setupError());
        return kExitUsage;
    }
    // With several boards attached, a test station must say which: never guess. With one,
    // the session keeps to it, so another board plugged in meanwhile is not taken for it.
    const BoardPick pick = session.pickBoard();
    if (pick.outcome == BoardPick::Several) {
        Complain(std::to_string(pick.boards.size()) +
                 " boards attached; choose one with --board ID (its serial number or port):");
        for (const AttachedBoard& b : pick.boards)
            std::fprintf(stderr, "  %s\n", BoardLine(b).c_str());
        return kExitUsage;
    }
    if (!session.open()) return kExitNoBoard;
    session.wb().log.LogNote("Board: " + BoardName(session.wb().usb.Board));
    return kExitOk;
}

std::optional<std::vector<uint8_t>> HexBytes(std::string text) {
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text.erase(0, 2);
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

std::string Utf8(std::string_view bytes) {
    return DisplayText(bytes);
}

void PrintJson(const nlohmann::ordered_json& document) {
    const std::string text =
        document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    std::printf("%s\n", text.c_str());
}

}  // namespace i2cbridge::cli

using namespace i2cbridge;
using namespace i2cbridge::cli;

int main(int argc, char** argv) {
    // Result lines and warnings keep their order when both streams go to one file.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::vector<std::string> args(argv + 1, argv + argc);
    const ParsedArguments parsed = ParseArguments(args, kCliProgram);
    if (!parsed.error.empty()) return Usage(parsed.error);
    if (parsed.has("--help")) {
        std::fputs(CliUsageText().c_str(), stdout);
        return kExitOk;
    }
    if (parsed.has("--version")) {
        std::fputs(VersionText("i2cbridge-cli").c_str(), stdout);
        return kExitOk;
    }
    Options o;
    if (const std::string error = Interpret(parsed, o); !error.empty()) return Usage(error);
    if (o.words.empty()) return Usage("no command given");
    const std::string& command = o.words[0];
    if (command == "list") return List(o);
    if (command == "read") return Read(o);
    if (command == "write") return Write(o);
    if (command == "dump") return Dump(o);
    if (command == "scan") return Scan(o);
    if (command == "gpio") return Gpio(o);
    if (command == "show") return Show(o);
    if (command == "run") return Run(o);
    return Usage("unknown command " + command);
}
