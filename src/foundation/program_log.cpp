#include "foundation/program_log.h"

#include "foundation/clock_text.h"

namespace i2cbridge {

void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now) {
    if (clear) box.clear();
    std::string entry;
    entry.reserve(text.size() + 21 + 2 * suffix.size());
    entry.append(text).append(" :").append(DateText(now)).append(" ").append(ClockText(now));
    entry.append(suffix).append(suffix);
    box.append(entry);
}

ProgramLog::ProgramLog(UiPump& clock, const ColorSet& colors) : clock_(clock), colors_(colors) {}

void ProgramLog::append(std::string_view text, std::string_view suffix) {
    AppendLogLine(Txtlog, text, suffix, false, clock_.now());
    if (onEntry && !text.empty()) onEntry(text);
}

void ProgramLog::LogMessage(std::string_view text, std::string_view suffix) {
    append(text, suffix);
    shpLogStatus.setColor(LogErrorFlag ? colors_.lightRed() : colors_.lightGreen());
}

// The lamp turns red before the entry is written, so a view that follows the log sees the
// failure's colour with its text.
void ProgramLog::LogError(std::string_view text) {
    LogErrorFlag = true;
    shpLogStatus.setColor(colors_.lightRed());
    append(text, kCrLf);
}

void ProgramLog::LogNote(std::string_view text) {
    append(text, kCrLf);
}

void ProgramLog::Clear() {
    Txtlog.clear();
    if (onEntry) onEntry({});
}

}  // namespace i2cbridge
