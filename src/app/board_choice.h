#pragma once

// Which board a front end talks to: the one on USB (matched by --vid and --pid, or the
// defaults) or the built-in simulated board. Every front end chooses the same way.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "usb/board_driver.h"
#include "usb/connection.h"

namespace i2cbridge {

class SimulatedBoard;

struct BoardChoice {
    std::unique_ptr<BoardDriver> driver;
    SimulatedBoard* simulated = nullptr;  // the driver, when it is the built-in board
};

BoardChoice ChooseBoard(bool simulate);

// Matches the given identifiers (the defaults where none is given) and takes only the board
// named by boardId (a serial number or a port path; empty: any). The simulated board takes
// them as its own, so it answers to whatever the connection looks for: a port path as its
// port, anything else as its serial number.
void MatchBoard(UsbConnection& usb, const BoardChoice& board, std::optional<uint16_t> vendorId,
                std::optional<uint16_t> productId, const std::string& boardId = {});

// True when the text has the form of a Linux USB port path: "1-2", "3-1.4.2".
bool LooksLikePortPath(const std::string& text);

// Which board a session takes when none was named: a test station must never guess. With one
// board attached it is that one, by its serial number (or its port, when it has none), so a
// replug of another board is not taken for it.
struct BoardPick {
    enum Outcome { Chosen, NoBoard, Several } outcome = NoBoard;
    std::string id;                     // Chosen: the board to take
    std::vector<AttachedBoard> boards;  // every matching board attached
};
BoardPick PickBoard(BoardDriver& driver, const MatchEntry& match, const std::string& wanted);

// One line per board: "1-2.3  bus 001 device 005  serial A17  I2C Bridge  ready".
std::string BoardLine(const AttachedBoard& board);

}  // namespace i2cbridge
