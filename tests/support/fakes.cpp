#include "support/fakes.h"

#include <algorithm>
#include <regex>

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

std::vector<std::string> Messages(std::string_view log) {
    static const std::regex stamp(R"( :\d\d-\d\d-\d{4} \d\d:\d\d:\d\d[\r\n]*)");
    const std::string text(log);
    if (text.empty()) return {};
    return {std::sregex_token_iterator(text.begin(), text.end(), stamp, -1),
            std::sregex_token_iterator()};
}

bool Rig::yieldUntilLogged(const std::string& text) {
    for (int i = 0; i < 100; ++i) {
        if (logSinceMark().find(text) != std::string::npos) return true;
        pump.yield();
    }
    return false;
}

}  // namespace i2cbridge::testing
