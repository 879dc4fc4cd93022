#include "foundation/clock_text.h"

#include <cstdio>

namespace i2cbridge {

std::string DateText(const DateTime& t) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d-%02d-%04d", t.month, t.day, t.year);
    return text;
}

std::string ClockText(const DateTime& t) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", t.hour, t.minute, t.second);
    return text;
}

}  // namespace i2cbridge
