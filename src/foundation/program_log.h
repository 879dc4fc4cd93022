#pragma once

#include <cstddef>
#include <cstdio>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/colors.h"
#include "foundation/controls.h"
#include "foundation/ports.h"

namespace i2cbridge {

inline constexpr std::string_view kCrLf = "\r\n";

// One entry: text, " :", the date mm-dd-yyyy, a blank, the time hh:mm:ss and the suffix twice.
// The date and time are always in this fixed form, whatever the user's regional settings.
std::string LogEntryText(std::string_view text, std::string_view suffix, const DateTime& now);
// Appends LogEntryText to the box, after emptying it when `clear` is set.
void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now);

// The program log and the error flag behind its lamp. The entries and the lamp live here, with
// everything the windows share, so that logging never needs a window: the main window shows
// them, the command line prints them.
//
// A loop left running overnight writes millions of entries, so the box keeps only the newest
// ones (kKeptEntries): when it is full, the oldest tenth goes at once and a first line says how
// many entries were dropped. A log file, once chosen, receives every entry as it is written.
class ProgramLog {
public:
    static constexpr std::size_t kKeptEntries = 100'000;

    ProgramLog(UiPump& clock, const ColorSet& colors);
    ~ProgramLog();
    ProgramLog(const ProgramLog&) = delete;
    ProgramLog& operator=(const ProgramLog&) = delete;

    // Set by LogError; cleared by successful USB steps and by the main window's load.
    bool LogErrorFlag = false;
    LogBox Txtlog;
    Lamp shpLogStatus;
    // Told the plain text of each new entry (no time stamp, no suffix), and an empty text when
    // the log is cleared: what a status line shows and what the command line prints. An entry
    // without a message (only a time stamp) is not told, so that it does not hide the failure
    // before it.
    std::function<void(std::string_view text)> onEntry;
    // Told the text of each LogError entry: a front end that shows no log (the command line
    // without --verbose) still reports failures.
    std::function<void(std::string_view text)> onError;

    void LogMessage(std::string_view text, std::string_view suffix = kCrLf);
    void LogError(std::string_view text);
    void LogNote(std::string_view text);
    void Clear();

    // How many entries the box keeps, and how many of the oldest go when it is full (tests
    // use small numbers). At least one of each; `drop` is at most `keep`.
    void keepAtMost(std::size_t keep, std::size_t drop);
    // Entries dropped from the box since it was last emptied.
    std::size_t dropped() const { return dropped_; }

    // From now on every entry is also appended to the file at `path` (created when missing),
    // as it is written. Returns why the file cannot be written, or nothing when it is streaming.
    // A failed start keeps the earlier file, if any.
    std::optional<std::string> streamTo(const std::string& path);
    // Writes what the box shows into the file at `path` (replacing it), then streams on there.
    std::optional<std::string> saveTo(const std::string& path);
    // The file the entries go to, or empty.
    const std::string& streamPath() const { return path_; }

private:
    void append(std::string_view text, std::string_view suffix);
    void dropOldest();
    void stream(std::string_view entry);
    void forget();
    void closeFile();

    UiPump& clock_;
    const ColorSet& colors_;
    std::size_t keep_ = kKeptEntries;
    std::size_t drop_ = kKeptEntries / 10;
    std::deque<std::size_t> sizes_;  // the size of every entry counted, oldest first
    std::size_t head_ = 0;           // the bytes before the first entry counted: the "dropped" line
    std::size_t held_ = 0;           // the bytes of the entries counted
    std::size_t dropped_ = 0;
    std::FILE* file_ = nullptr;
    std::string path_;
};

}  // namespace i2cbridge
