#pragma once

// Which board a front end talks to: the one on USB (matched by --vid and --pid, or the
// defaults) or the built-in simulated board. Every front end chooses the same way.

#include <cstdint>
#include <memory>
#include <optional>

#include "usb/board_driver.h"
#include "usb/connection.h"

namespace i2cbridge {

class SimulatedBoard;

struct BoardChoice {
    std::unique_ptr<BoardDriver> driver;
    SimulatedBoard* simulated = nullptr;  // the driver, when it is the built-in board
};

BoardChoice ChooseBoard(bool simulate);

// Matches the given identifiers (the defaults where none is given); the simulated board
// takes them as its own, so it answers to whatever the connection looks for.
void MatchBoard(UsbConnection& usb, const BoardChoice& board, std::optional<uint16_t> vendorId,
                std::optional<uint16_t> productId);

}  // namespace i2cbridge
