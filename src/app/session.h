#pragma once

// One session on the board for a front end without windows (the command line, the Python
// module): the board choice, the headless ports, the workbench and its windows, the
// connection bracket, the program log's file and the transfer trace. The front end decides
// where the log's entries and the message boxes go.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/board_choice.h"
#include "app/headless_ports.h"
#include "app/program.h"
#include "app/transfer_trace.h"
#include "workbench/connection_bracket.h"
#include "workbench/workbench.h"

namespace i2cbridge {

struct SessionSettings {
    bool simulate = false;  // the built-in board instead of the one on USB
    std::optional<uint16_t> vendorId, productId;
    std::string board;      // a serial number or a port path; empty: the only board attached
    std::string logFile;    // every log entry is appended there as it is written
    std::string traceFile;  // every transfer, as text or (".pcap") usbmon capture
    Dialogs::Answer pause = Dialogs::Answer::Ok;  // how a keypress pause is answered
};

// Message boxes of the core, told to the front end as warnings and answered as the session's
// pause setting says; nobody clicks them.
class SessionDialogs : public HeadlessDialogs {
public:
    SessionDialogs() : HeadlessDialogs(stderr) {}
    std::function<void(const std::string& text)> report;
    Answer messageBox(const std::string& text, const std::string& title, Buttons buttons) override;
};

class Session {
public:
    explicit Session(const SessionSettings& settings);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Empty when the session is ready; otherwise what went wrong with the log or trace file.
    const std::string& setupError() const { return setupError_; }

    // Which board the session takes, asked before the open: the one named, or the only one
    // attached, which the session then keeps to (by its serial number, or its port). With
    // several attached and none named it takes none: the pick lists them, and the front end
    // refuses, since a test station must never guess.
    BoardPick pickBoard();

    // Opens the board (the module-level open); false when no board could be opened, and
    // noBoardText() says which board was looked for. close() closes it again.
    bool open();
    void close();
    bool isOpen() const { return wb_.usb.DriverContext.DeviceHandle != 0; }
    std::string noBoardText() const;

    // Starts a trace into the file (the one given at the start ends first); false and why
    // not when the file cannot be written. stopTrace() ends it, leaving the file whole.
    bool startTrace(const std::string& path, std::string& why);
    void stopTrace() { trace_.reset(); }

    Workbench& wb() { return wb_; }
    Program& program() { return program_; }
    SessionDialogs& dialogs() { return dialogs_; }
    // The built-in board, when the session uses it; null on USB.
    SimulatedBoard* simulated() { return board_.simulated; }

private:
    BoardChoice board_;
    HeadlessPump pump_;
    SessionDialogs dialogs_;
    Workbench wb_;
    Program program_;
    ConnectionBracket bracket_{wb_.usb, wb_.pump};
    std::unique_ptr<TransferTrace> trace_;
    std::string setupError_;
};

}  // namespace i2cbridge
