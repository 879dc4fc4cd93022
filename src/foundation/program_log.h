#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "foundation/colors.h"
#include "foundation/controls.h"
#include "foundation/ports.h"

namespace i2cbridge {

inline constexpr std::string_view kCrLf = "\r\n";

// The controls the log writes to; they belong to the main window.
struct LogPanel {
    LogBox Txtlog;
    Lamp shpLogStatus;
};

// Appends text, " :", the date mm-dd-yyyy, a blank, the time hh:mm:ss and the suffix twice.
// The date and time are always in this fixed form, whatever the user's regional settings.
void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now);

// The program log and the error flag behind its lamp. It finds its panel through a callback
// because the panel lives in the main window, which is created on first reference.
class ProgramLog {
public:
    ProgramLog(UiPump& clock, const ColorSet& colors, std::function<LogPanel&()> panel);

    // Set by LogError; cleared by successful USB steps and by the main window's load.
    bool LogErrorFlag = false;

    // Told the plain message of each new entry (no time stamp, no suffix), and an empty text
    // when the log is cleared: what a status line shows. An entry without a message (only a
    // time stamp) is not told, so that it does not hide the failure before it.
    std::function<void(std::string_view message)> onNewestEntry;

    void LogMessage(std::string_view text, std::string_view suffix = kCrLf);
    void LogError(std::string_view text);
    void LogNote(std::string_view text);
    void Clear();

private:
    void tell(std::string_view text) {
        if (onNewestEntry && !text.empty()) onNewestEntry(text);
    }

    UiPump& clock_;
    const ColorSet& colors_;
    std::function<LogPanel&()> panel_;
};

}  // namespace i2cbridge
