#include "support/fakes.h"

#include <algorithm>

namespace i2cbridge::testing {

void FakePump::yield() {
    ++yields;
    if (driver_) driver_->deliverEvents();
    if (scheduled_.empty()) return;
    auto due = std::find_if(scheduled_.begin(), scheduled_.end(),
                            [this](const Scheduled& s) { return s.at <= yields; });
    if (due == scheduled_.end()) return;
    auto action = std::move(due->action);
    scheduled_.erase(due);
    action();
}

void FakePump::atYield(long afterYields, std::function<void()> action) {
    scheduled_.push_back({yields + afterYields, std::move(action)});
}

Dialogs::Answer FakeDialogs::messageBox(const std::string& text, const std::string& title,
                                        Buttons buttons) {
    messages.push_back({text, title, buttons});
    if (answers.empty()) return Answer::Ok;
    const Answer a = answers.front();
    answers.pop_front();
    return a;
}

namespace {
bool Choose(std::deque<std::string>& choices, std::vector<FileDialogState>& shown,
            FileDialogState& state) {
    shown.push_back(state);
    if (choices.empty()) return false;
    std::string path = choices.front();
    choices.pop_front();
    if (path.empty()) return false;
    state.setFileName(path);
    return true;
}
}  // namespace

bool FakeDialogs::openFile(FileDialogState& state) {
    return Choose(openChoices, openShown, state);
}
bool FakeDialogs::saveFile(FileDialogState& state) {
    return Choose(saveChoices, saveShown, state);
}

Rig::Rig(BoardSetup setup) {
    board.setIdentity(BoardVendorId, setup.productId);
    if (setup.refuseInterface) board.refuseInterface(usb_status::kBusy);
}

namespace {
// Whether text at `at` is a time stamp: " :mm-dd-yyyy hh:mm:ss".
bool IsStampAt(std::string_view text, std::size_t at) {
    static constexpr std::string_view kShape = " :00-00-0000 00:00:00";
    if (text.size() - at < kShape.size()) return false;
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        const char c = text[at + i];
        const bool digit = c >= '0' && c <= '9';
        if (kShape[i] == '0' ? !digit : c != kShape[i]) return false;
    }
    return true;
}
}  // namespace

std::vector<std::string> Messages(std::string_view log) {
    static constexpr std::size_t kStampSize = 21;
    std::vector<std::string> messages;
    std::size_t start = 0;
    for (std::size_t at = log.find(" :"); at != std::string_view::npos; at = log.find(" :", at)) {
        if (!IsStampAt(log, at)) {
            at += 2;
            continue;
        }
        messages.emplace_back(log.substr(start, at - start));
        at += kStampSize;
        while (at < log.size() && (log[at] == '\r' || log[at] == '\n')) ++at;
        start = at;
    }
    if (start < log.size()) messages.emplace_back(log.substr(start));
    return messages;
}

bool Rig::yieldUntilLogged(const std::string& text) {
    for (int i = 0; i < 100; ++i) {
        if (logSinceMark().find(text) != std::string::npos) return true;
        pump.yield();
    }
    return false;
}

}  // namespace i2cbridge::testing
