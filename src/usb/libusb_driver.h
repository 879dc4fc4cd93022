#pragma once

// The real board over USB, through libusb-1.0.

#include <memory>

#include "usb/board_driver.h"

namespace i2cbridge {

std::unique_ptr<BoardDriver> MakeLibusbDriver();

}  // namespace i2cbridge
