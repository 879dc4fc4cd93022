#include "app/session.h"

#include <cstdio>
#include <utility>

namespace i2cbridge {

// The box's text as a warning, without the box's button: nobody clicked it.
Dialogs::Answer SessionDialogs::messageBox(const std::string& text, const std::string&,
                                           Buttons buttons) {
    const Answer answer = buttons == Buttons::Ok ? Answer::Ok : okCancelAnswer;
    if (report) {
        report(buttons == Buttons::Ok
                   ? text
                   : text + (answer == Answer::Ok ? " (continued)" : " (aborted)"));
    }
    return answer;
}

Session::Session(const SessionSettings& s)
    : board_(ChooseBoard(s.simulate)),
      pump_(*board_.driver),
      wb_(*board_.driver, pump_, dialogs_),
      program_(wb_) {
    MatchBoard(wb_.usb, board_, s.vendorId, s.productId, s.board);
    dialogs_.okCancelAnswer = s.pause;
    // Without the main window's open, the I2C pipe is selected here.
    wb_.usb.InitI2CPipe();
    // Every entry goes to the log file or the front end as it is written; nothing reads it
    // back.
    wb_.log.Txtlog.setRetain(false);
    if (!s.logFile.empty()) {
        if (auto why = wb_.log.streamTo(s.logFile)) {
            setupError_ = "cannot write the log to " + s.logFile + ": " + *why;
            return;
        }
    }
    if (!s.traceFile.empty()) {
        std::string why;
        if (!startTrace(s.traceFile, why)) {
            setupError_ = "cannot write the trace to " + s.traceFile + ": " + why;
        }
    }
}

Session::~Session() {
    trace_.reset();
    wb_.log.onEntry = nullptr;
    wb_.log.onError = nullptr;
}

BoardPick Session::pickBoard() {
    UsbConnection& usb = wb_.usb;
    BoardPick pick = PickBoard(usb.driver(), usb.MatchTable, usb.BoardId);
    if (pick.outcome == BoardPick::Chosen) usb.BoardId = pick.id;
    return pick;
}

bool Session::open() {
    // A board that cannot be opened is told by the front end, with what to try; the open's
    // own failures (the device lookup) would only say the same thing less clearly.
    auto onError = std::exchange(wb_.log.onError, nullptr);
    bracket_.open();
    wb_.log.onError = std::move(onError);
    if (isOpen()) return true;
    bracket_.close();
    return false;
}

void Session::close() {
    bracket_.close();
}

std::string Session::noBoardText() const {
    char ids[64];
    std::snprintf(ids, sizeof ids, "vendor %04x, product %04x", wb_.usb.MatchTable.vendorId,
                  wb_.usb.MatchTable.productId);
    return std::string("no board found (") + ids + ")";
}

bool Session::startTrace(const std::string& path, std::string& why) {
    trace_.reset();
    trace_ = TransferTrace::Start(wb_.usb, path, why);
    return trace_ != nullptr;
}

}  // namespace i2cbridge
