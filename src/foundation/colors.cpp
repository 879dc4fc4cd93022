#include "foundation/colors.h"

#include <array>

#include "foundation/controls.h"

namespace i2cbridge {

void ColorSet::InitColors() {
    ColorLightRed = 12;
    ColorLightGreen = 10;
    ColorGreen = 2;
}

uint32_t QBColorRgb(int index) {
    static constexpr std::array<uint32_t, 16> kPalette = {
        0x000000, 0x000080, 0x008000, 0x008080, 0x800000, 0x800080, 0x808000, 0xC0C0C0,
        0x808080, 0x0000FF, 0x00FF00, 0x00FFFF, 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
    if (index < 0 || index >= static_cast<int>(kPalette.size())) return 0;
    return kPalette[static_cast<std::size_t>(index)];
}

void ToggleSuccessLamp(Lamp& lamp, const ColorSet& colors) {
    lamp.setColor(lamp.color() == colors.lightGreen() ? colors.green() : colors.lightGreen());
}

}  // namespace i2cbridge
