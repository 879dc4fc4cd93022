#pragma once

// What the core asks of the outside world. The program implements these with Qt; tests
// implement them with fakes (a fake clock, scripted dialog answers, a yield that can run a
// scripted click).

#include <optional>
#include <string>

namespace i2cbridge {

struct DateTime {
    int year = 2000;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

class UiPump {
public:
    virtual ~UiPump() = default;
    // Processes pending events (clicks, board attach and detach) and returns. Handlers of
    // those events run inside this call, on the same thread.
    virtual void yield() = 0;
    // Blocks the user-interface thread; nothing runs meanwhile.
    virtual void sleepMs(int milliseconds) = 0;
    // Local wall-clock time, for the log's time stamps.
    virtual DateTime now() = 0;
};

// A save dialog that asks no question when the chosen file exists.
inline constexpr int kDialogNoOverwritePrompt = 0x1;

// What a file dialog is asked to show, and what it remembers between showings: each dialog
// keeps its last file name and file title for as long as the program runs.
struct FileDialogState {
    std::string title;    // empty: the platform's default title
    std::string filter;   // "Text|pattern|Text|pattern"
    int filterIndex = 1;  // 1-based entry preselected
    std::string defaultExt;
    int flags = 0;          // kDialogNoOverwritePrompt
    std::string fileName;   // in: proposed name; out: full path chosen
    std::string fileTitle;  // name part of fileName

    // Sets the file name from code; the title becomes the text after the last separator.
    void setFileName(const std::string& name);
};

class Dialogs {
public:
    enum class Buttons { Ok, OkCancel };
    enum class Answer { Ok, Cancel };
    virtual ~Dialogs() = default;
    virtual Answer messageBox(const std::string& text, const std::string& title,
                              Buttons buttons) = 0;
    // Shows an open or save dialog. On confirmation returns true and sets state.fileName to
    // the full path and state.fileTitle to its name part; on cancel returns false and leaves
    // the state as it was.
    virtual bool openFile(FileDialogState& state) = 0;
    virtual bool saveFile(FileDialogState& state) = 0;
};

// The program's title as message boxes and the About box show it.
inline constexpr const char* kAppTitle = "I2C Bridge";

inline void FileDialogState::setFileName(const std::string& name) {
    fileName = name;
    const auto cut = name.find_last_of("/\\");
    fileTitle = cut == std::string::npos ? name : name.substr(cut + 1);
}

}  // namespace i2cbridge
