#pragma once

// The command-line program's pieces: its options, a session on the board (the same core as
// the window, with headless ports), and its commands.

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/board_choice.h"
#include "app/headless_ports.h"
#include "app/program.h"
#include "app/transfer_trace.h"
#include "workbench/connection_bracket.h"
#include "workbench/workbench.h"

namespace i2cbridge::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;  // a compare failed, a device did not answer
inline constexpr int kExitUsage = 2;   // bad usage, a file that cannot be read or written
inline constexpr int kExitNoBoard = 3;

struct Options {
    std::vector<std::string> words;  // the command and its arguments
    bool simulate = false;
    std::optional<uint16_t> vendorId, productId;
    bool json = false;
    std::string logFile, traceFile;
    // run
    std::string address = "60";
    int loop = 1;
    bool abortOnFail = false;
    Dialogs::Answer pause = Dialogs::Answer::Ok;
    std::string junitFile, updateExpectedFile;
    bool append = false;
    // scan, gpio
    std::optional<std::vector<uint8_t>> expect;
    std::optional<std::string> enables;
};

// Prints the error and the usage to stderr; returns kExitUsage.
int Usage(const std::string& error);
const char* UsageText();

// The board and the core for one command. The program log goes to stderr (or --log FILE),
// the transfers to --trace FILE.
class Session {
public:
    explicit Session(const Options& options);
    ~Session();
    // Empty when the session is ready; otherwise what went wrong with the log or trace file.
    const std::string& setupError() const { return setupError_; }

    // Opens the board (the module-level open); false, with a line on stderr, when no board
    // attached. close() closes it again.
    bool open();
    void close();

    Workbench& wb() { return wb_; }
    Program& program() { return program_; }
    HeadlessDialogs& dialogs() { return dialogs_; }

private:
    BoardChoice board_;
    HeadlessPump pump_;
    HeadlessDialogs dialogs_;
    Workbench wb_;
    Program program_;
    ConnectionBracket bracket_{wb_.usb, wb_.pump};
    std::FILE* log_ = nullptr;
    std::unique_ptr<TransferTrace> trace_;
    std::string setupError_;
};

// Hex digits as bytes, two digits each from the left; an odd count gets a leading 0.
std::optional<std::vector<uint8_t>> HexBytes(std::string text);
std::string HexList(const std::vector<uint8_t>& bytes, const char* separator = " ");
// A JSON string of the bytes (shown as UTF-8, or as Windows-1252 when they are not).
std::string JsonString(std::string_view bytes);

int Read(const Options& o);
int Write(const Options& o);
int Dump(const Options& o);
int Scan(const Options& o);
int Gpio(const Options& o);
int Show(const Options& o);
int Run(const Options& o);

}  // namespace i2cbridge::cli
