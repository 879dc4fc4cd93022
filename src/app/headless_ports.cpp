#include "app/headless_ports.h"

#include <chrono>
#include <ctime>
#include <thread>

namespace i2cbridge {

void HeadlessPump::sleepMs(int milliseconds) {
    if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

DateTime HeadlessPump::now() {
    const std::time_t t = std::time(nullptr);
    std::tm local{};
    localtime_r(&t, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     local.tm_sec};
}

Dialogs::Answer HeadlessDialogs::messageBox(const std::string& text, const std::string& title,
                                            Buttons buttons) {
    const Answer answer = buttons == Buttons::Ok ? Answer::Ok : okCancelAnswer;
    std::fprintf(out_, "%s: %s [%s]\n", title.c_str(), text.c_str(),
                 answer == Answer::Ok ? "OK" : "Cancel");
    return answer;
}

}  // namespace i2cbridge
