#pragma once

// What a script window's operations did, as values a front end can act on without reading a
// caption: a row run, a pass (Run All Steps), a Loop Cont, a write-back of the measured data
// and a script load. The window paints its controls as before; these values say the same in a
// form a command line, a test or another front end can use.
//
// The window's Pass and Fail boxes count compares only. A row outcome's verdict is stricter: a
// row fails when its compare failed, and also when any of its transfers did not happen in full
// (a write not acknowledged byte for byte, a read whose count was wrong, a row never sent, a
// "Save File" step whose record could not be written).

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/core_error.h"
#include "scripts/script_reader.h"

namespace i2cbridge {

// What kind of step a row was when it ran.
enum class RowKind {
    NotRun,            // not the grid's selected row: nothing ran
    NoTransfer,        // comments, blank lines, markers, address commands, a register alone
    InterruptEnable,   // "Cmd: Int Enable"
    InterruptDisable,  // "Cmd: Int Disable"
    SaveFile,          // "Cmd: Save File": the measured data appended to the "_DL" record
    Pause,             // a keypress pause
    Delay,             // a timed delay
    Write,             // an I2C write
    Read,              // an I2C read
    WriteRead,         // an I2C write, then a read
    Gpio,              // a GPIO write and read-back
    IllegalAddress,    // the row's address was 255 or more: refused, nothing sent
    NotSent,           // more than 255 bytes for one frame: nothing sent
};
const char* RowKindName(RowKind kind);

// One frame of a row and how much of it the device took.
//   write: `expected` is the count a full acknowledgement reports (the address byte, the
//          register bytes and the data bytes), `actual` the count the board reported;
//   read:  `expected` is the number of data bytes asked for, `actual` the count the board
//          reported having read.
// error: None when the counts agree; NotAcknowledged (write) or ShortRead (read) when they do
// not; NoBoard when the board was not open, so that nothing was sent.
struct TransferOutcome {
    int expected = 0;
    int actual = 0;
    CoreError error = CoreError::None;

    bool ok() const { return error == CoreError::None; }
    bool operator==(const TransferOutcome&) const = default;
};

// A compare of the expected read data with what arrived, as the grid shows them.
struct CompareOutcome {
    std::string expected, actual;
    bool passed = false;
    bool operator==(const CompareOutcome&) const = default;
};

// One row run by ExecuteScriptRow.
struct RowOutcome {
    int row = 0;                     // the row's number, from 1
    std::string line, address, reg;  // its Line, I2C Adr and Reg Adr cells
    RowKind kind = RowKind::NotRun;
    bool inService = false;                 // ran as a row of the interrupt service routine
    std::optional<TransferOutcome> write;   // the write frame, when the row has one
    std::optional<TransferOutcome> read;    // the read frame, when the row has one
    std::optional<CompareOutcome> compare;  // the compare, when the row made one
    // The first thing that went wrong in the row: a transfer's error (NotAcknowledged,
    // ShortRead, NoBoard), NotSent, IllegalAddress, or a "Save File" step's FileUnwritable;
    // None otherwise. A GPIO row has no I2C frames: its error is that of its GPIO write and
    // read-back.
    CoreError error = CoreError::None;
    std::string reason;      // the system's reason, for a record not written
    bool cancelled = false;  // Cancel at a keypress pause
    // From the row's start to the end of its own work (its delay or pause included; the
    // interrupt sample after it, and any routine that sample starts, not).
    std::chrono::steady_clock::duration time{};

    // The strict verdict: a compare that failed, or anything not done in full.
    bool failed() const { return error != CoreError::None || (compare && !compare->passed); }
    bool passed() const { return !failed() && compare.has_value(); }
};

// Why a pass ended.
enum class PassEnd {
    Completed,    // every row of the main part had its turn
    Aborted,      // Abort (in any window) or a stop request, before the last row
    AbortOnFail,  // "Abort On fail" was checked and a compare failed before the last row
    Cancelled,    // Cancel at a keypress pause, before the last row
};
const char* PassEndName(PassEnd end);

// One Run All Steps pass.
struct PassOutcome {
    // Every row that ran, in the order the rows started: the main rows and, where an interrupt
    // was seen, the service routine's rows (inService) after the row that sampled it.
    std::vector<RowOutcome> rows;
    int lastMainRow = 0;  // the main part is rows 1 to lastMainRow
    PassEnd end = PassEnd::Completed;
    std::vector<int> rowsNotRun;  // rows of the main part that did not run in this pass
    int passed = 0, failed = 0;   // rows by the strict verdict (RowOutcome::passed/failed)

    bool endedEarly() const { return end != PassEnd::Completed; }
};

// What Loop Cont is asked to do. The button asks for the defaults: an endless loop that keeps
// no passes.
struct LoopRequest {
    int maxPasses = 0;  // 0: until Abort or a stop request
    // Ends the loop after the current row, as Abort does, when it becomes true; it may be set
    // from a signal handler (a lock-free atomic).
    const std::atomic<bool>* stop = nullptr;
    // Keep every pass in LoopOutcome::passes. Off, a loop of any length keeps only the last
    // pass and the totals (an overnight loop stays small).
    bool keepPasses = false;
    std::function<void(const PassOutcome&)> onPass;  // after every pass, for live reports
};

// One Loop Cont.
struct LoopOutcome {
    std::vector<PassOutcome> passes;  // every pass, or only the last one without keepPasses
    int passesRun = 0;                // the last one possibly cut off
    int passed = 0, failed = 0;       // rows of every pass, by the strict verdict
    int comparesPassed = 0, comparesFailed = 0;  // what the window's boxes show at the end
    PassEnd end = PassEnd::Completed;            // how the last pass ended
    bool aborted = false;  // ended by an Abort or a stop request, not by the number of passes
};

// One write-back of the measured data (Write to Disk, or a "Save File" step).
struct WriteBackOutcome {
    bool written = false;
    std::string path;  // the file written, or not written
    bool appended = false;
    int lines = 0;                      // script lines written
    std::string earlierKeptAs;          // NAME~, where a file that is no data log was replaced
    CoreError error = CoreError::None;  // FileUnwritable when not written
    std::string reason;                 // the system's reason
};

// One script load (the start-up's, Open Script File's or Reload's).
struct LoadOutcome {
    bool loaded = false;
    std::string path;
    int rows = 0;
    int totalReads = 0;
    int endMainLine = 0, intStartLine = 0, intEndLine = 0;
    std::vector<ScriptRemark> remarks;  // lines the loader could not read cleanly
    CoreError error = CoreError::None;  // FileUnreadable when the file could not be read
    std::string reason;                 // the system's reason ("Is a directory")
};

}  // namespace i2cbridge
