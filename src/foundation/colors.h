#pragma once

#include <cstdint>

namespace i2cbridge {

// The lamp colours, as indexes into the sixteen-colour QBColor palette. They start out 0
// (black) and get their values from InitColors when the main window loads; anything painted
// before that (the start-up probe) is painted black.
struct ColorSet {
    double ColorOff = 0;
    double ColorGreen = 0;
    double ColorLightGreen = 0;
    double ColorLightRed = 0;

    void InitColors();

    static int index(double c) { return static_cast<int16_t>(c); }
    int off() const { return index(ColorOff); }
    int green() const { return index(ColorGreen); }
    int lightGreen() const { return index(ColorLightGreen); }
    int lightRed() const { return index(ColorLightRed); }
};

// Named palette indexes, for tests and views.
namespace qb {
inline constexpr int kBlack = 0;
inline constexpr int kGreen = 2;
inline constexpr int kLightGreen = 10;
inline constexpr int kLightRed = 12;
}  // namespace qb

// 0xRRGGBB of a QBColor palette index (0..15); other values give black.
uint32_t QBColorRgb(int index);

// Flips a success lamp between its two greens, so that two successes in a row can be told
// apart: light green becomes green, anything else becomes light green.
class Lamp;
void ToggleSuccessLamp(Lamp& lamp, const ColorSet& colors);

}  // namespace i2cbridge
