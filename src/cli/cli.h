#pragma once

// The command-line program's pieces: its options, a session on the board (the same core as
// the window, with headless ports), and its commands.

#include <atomic>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/command_line.h"
#include "app/session.h"

namespace i2cbridge::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;  // a compare failed, a device did not answer
inline constexpr int kExitUsage = 2;   // bad usage, a file that cannot be read or written
inline constexpr int kExitNoBoard = 3;
// A run stopped by a signal ends with 128 + the signal's number, as shells report it.
inline constexpr int kExitSignalBase = 128;

// The options of one command, read from the one option table (app/command_line.h).
struct Options {
    std::vector<std::string> words;  // the command and its arguments
    bool simulate = false;
    std::optional<uint16_t> vendorId, productId;
    std::string board;  // --board: a serial number or a port path
    bool json = false, quiet = false, verbose = false, sevenBit = false;
    std::string logFile, traceFile;
    // run
    std::string address;
    int loop = 1;
    bool abortOnFail = false, lenient = false;
    Dialogs::Answer pause = Dialogs::Answer::Ok;
    std::string junitFile, updateExpectedFile, recordDir;
    bool append = false;
    // scan, gpio
    std::optional<std::vector<uint8_t>> expect;
    std::optional<std::string> enables;
};

// A usage error: one line on stderr and a pointer to --help; returns kExitUsage.
int Usage(const std::string& error);
// Any other error, warning or hint: "i2cbridge-cli: " and the text, on stderr.
void Complain(const std::string& text);

// The signal that asked the program to stop (SIGINT, SIGTERM), 0 while none did, and the
// stop request it sets, which a run sees after its current row.
int StopSignal();
const std::atomic<bool>& StopRequest();
// From now on SIGINT and SIGTERM ask the program to stop instead of ending it.
void CatchStopSignals();

// The board and the core for one command (app/session.h). The program log goes to --log FILE,
// and to stderr with --verbose (its failures always); the transfers to --trace FILE; message
// boxes are printed on stderr as warnings and answered as --pause says.
class CliSession : public Session {
public:
    explicit CliSession(const Options& options);
    // Opens the board; false, with a line and hints on stderr, when no board could be opened.
    bool open();

private:
    const Options& options_;
};

// What to try when no board was found, on stderr.
void NoBoardHints();

// Starts the session's board for a command: kExitOk, or the exit status to end with.
int Start(CliSession& session);

// Hex digits as bytes, two digits each from the left, with or without "0x"; an odd count gets
// a leading 0.
std::optional<std::vector<uint8_t>> HexBytes(std::string text);
std::string HexList(const std::vector<uint8_t>& bytes, const char* separator = " ");
// Bytes of the core's 8-bit texts as UTF-8 (Windows-1252 where they are not UTF-8).
std::string Utf8(std::string_view bytes);
// Prints a JSON document on one line.
void PrintJson(const nlohmann::ordered_json& document);

int List(const Options& o);
int Read(const Options& o);
int Write(const Options& o);
int Dump(const Options& o);
int Scan(const Options& o);
int Gpio(const Options& o);
int Show(const Options& o);
int Run(const Options& o);

}  // namespace i2cbridge::cli
