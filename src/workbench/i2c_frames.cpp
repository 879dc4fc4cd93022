#include "workbench/i2c_frames.h"

namespace i2cbridge {

std::vector<uint8_t> RegisterReadRequest(uint8_t count, uint8_t readAddress,
                                         std::span<const uint8_t> registerBytes) {
    std::vector<uint8_t> frame;
    frame.reserve(2 + registerBytes.size());
    frame.push_back(count);
    frame.push_back(readAddress);
    for (uint8_t b : registerBytes) frame.push_back(b);
    return frame;
}

std::vector<uint8_t> RegisterWriteRequest(uint8_t count, uint8_t writeAddress,
                                          std::span<const uint8_t> registerBytes,
                                          std::span<const uint8_t> dataBytes) {
    // Built byte by byte: GCC 12 at -O3 reports a false out-of-bounds copy for insert() here.
    std::vector<uint8_t> frame;
    frame.reserve(2 + registerBytes.size() + dataBytes.size());
    frame.push_back(count);
    frame.push_back(writeAddress);
    for (uint8_t b : registerBytes) frame.push_back(b);
    for (uint8_t b : dataBytes) frame.push_back(b);
    return frame;
}

}  // namespace i2cbridge
