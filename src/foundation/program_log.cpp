#include "foundation/program_log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "foundation/clock_text.h"

namespace i2cbridge {

std::string LogEntryText(std::string_view text, std::string_view suffix, const DateTime& now) {
    std::string entry;
    entry.reserve(text.size() + 21 + 2 * suffix.size());
    entry.append(text).append(" :").append(DateText(now)).append(" ").append(ClockText(now));
    entry.append(suffix).append(suffix);
    return entry;
}

void AppendLogLine(LogBox& box, std::string_view text, std::string_view suffix, bool clear,
                   const DateTime& now) {
    if (clear) box.clear();
    box.append(LogEntryText(text, suffix, now));
}

ProgramLog::ProgramLog(UiPump& clock, const ColorSet& colors) : clock_(clock), colors_(colors) {}

ProgramLog::~ProgramLog() {
    closeFile();
}

void ProgramLog::keepAtMost(std::size_t keep, std::size_t drop) {
    keep_ = std::max<std::size_t>(1, keep);
    drop_ = std::clamp<std::size_t>(drop, 1, keep_);
}

// What the box holds now is taken as one block before the entries counted from here on.
void ProgramLog::forget() {
    sizes_.clear();
    head_ = Txtlog.text().size();
    held_ = dropped_ = 0;
}

// The oldest entries go in one block, so the text is moved once per block, not per entry.
void ProgramLog::dropOldest() {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < drop_ && !sizes_.empty(); ++i) {
        bytes += sizes_.front();
        sizes_.pop_front();
        ++dropped_;
    }
    held_ -= bytes;
    std::string line = "(" + std::to_string(dropped_) + " older entries dropped from this view";
    line += path_.empty() ? "; File > Save Log... keeps the log in a file)"
                          : "; every entry is written to " + path_ + ")";
    line.append(kCrLf).append(kCrLf);
    Txtlog.replaceFront(head_ + bytes, line);
    head_ = line.size();
}

void ProgramLog::append(std::string_view text, std::string_view suffix) {
    const std::string entry = LogEntryText(text, suffix, clock_.now());
    // A box changed by someone else (emptied, or written to directly) starts the count again.
    if (Txtlog.text().size() != head_ + held_) forget();
    if (sizes_.size() >= keep_) dropOldest();
    Txtlog.append(entry);
    if (Txtlog.text().size() == head_ + held_ + entry.size()) {
        sizes_.push_back(entry.size());
        held_ += entry.size();
    }
    std::string failure;
    if (file_ &&
        (std::fwrite(entry.data(), 1, entry.size(), file_) != entry.size() || std::fflush(file_))) {
        failure = "The log file " + path_ + " could not be written (" + std::strerror(errno) +
                  "); the log is no longer saved";
        closeFile();
    }
    if (onEntry && !text.empty()) onEntry(text);
    if (!failure.empty()) append(failure, kCrLf);
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
    if (onError) onError(text);
}

void ProgramLog::LogNote(std::string_view text) {
    append(text, kCrLf);
}

void ProgramLog::Clear() {
    Txtlog.clear();
    forget();
    if (onEntry) onEntry({});
}

void ProgramLog::closeFile() {
    if (file_) std::fclose(file_);
    file_ = nullptr;
    path_.clear();
}

namespace {
std::FILE* OpenLogFile(const std::string& path, const char* mode, std::string& why) {
    if (path.empty()) {
        why = "no file name was given";
        return nullptr;
    }
    std::FILE* file = std::fopen(path.c_str(), mode);
    if (!file) why = std::strerror(errno);
    return file;
}
}  // namespace

std::optional<std::string> ProgramLog::streamTo(const std::string& path) {
    std::string why;
    std::FILE* file = OpenLogFile(path, "ab", why);
    if (!file) return why;
    closeFile();
    file_ = file;
    path_ = path;
    return std::nullopt;
}

std::optional<std::string> ProgramLog::saveTo(const std::string& path) {
    // The file the entries already go to holds more than the box: it is not cut back.
    std::error_code ec;
    if (file_ && std::filesystem::equivalent(path, path_, ec)) return std::nullopt;
    std::string why;
    std::FILE* file = OpenLogFile(path, "wb", why);
    if (!file) return why;
    const std::string& shown = Txtlog.text();
    if (std::fwrite(shown.data(), 1, shown.size(), file) != shown.size() || std::fflush(file)) {
        why = std::strerror(errno);
        std::fclose(file);
        return why;
    }
    closeFile();
    file_ = file;
    path_ = path;
    return std::nullopt;
}

}  // namespace i2cbridge
