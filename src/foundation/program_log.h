#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "foundation/colors.h"
#include "foundation/controls.h"
#include "foundation/ports.h"

namespace i2cbridge {

inline constexpr std::string_view kCrLf = "\r\n";

// Appends text, " :", the date mm-dd-yyyy, a blank, the time hh:mm:ss and the suffix twice.
// The date and time are always in this fixed form, whatever the user's regional settings.
void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now);

// The program log and the error flag behind its lamp. The entries and the lamp live here, with
// everything the windows share, so that logging never needs a window: the main window shows
// them, the command line prints them.
class ProgramLog {
public:
    ProgramLog(UiPump& clock, const ColorSet& colors);

    // Set by LogError; cleared by successful USB steps and by the main window's load.
    bool LogErrorFlag = false;
    LogBox Txtlog;
    Lamp shpLogStatus;
    // Told the plain text of each new entry (no time stamp, no suffix), and an empty text when
    // the log is cleared: what a status line shows and what the command line prints. An entry
    // without a message (only a time stamp) is not told, so that it does not hide the failure
    // before it.
    std::function<void(std::string_view text)> onEntry;

    void LogMessage(std::string_view text, std::string_view suffix = kCrLf);
    void LogError(std::string_view text);
    void LogNote(std::string_view text);
    void Clear();

private:
    void append(std::string_view text, std::string_view suffix);

    UiPump& clock_;
    const ColorSet& colors_;
};

}  // namespace i2cbridge
