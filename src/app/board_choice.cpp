#include "app/board_choice.h"

#include <cstdio>

#include "usb/libusb_driver.h"
#include "usb/simulated_board.h"

namespace i2cbridge {

BoardChoice ChooseBoard(bool simulate) {
    BoardChoice choice;
    if (simulate) {
        auto board = std::make_unique<SimulatedBoard>();
        // The frames a test reads back would pile up over an overnight run.
        board->model().setRecording(false);
        choice.simulated = board.get();
        choice.driver = std::move(board);
    } else {
        choice.driver = MakeLibusbDriver();
    }
    return choice;
}

void MatchBoard(UsbConnection& usb, const BoardChoice& board, std::optional<uint16_t> vendorId,
                std::optional<uint16_t> productId, const std::string& boardId) {
    MatchEntry& match = usb.MatchTable;
    if (vendorId) match.vendorId = *vendorId;
    if (productId) match.productId = *productId;
    usb.BoardId = boardId;
    if (!board.simulated) return;
    board.simulated->setIdentity(match.vendorId, match.productId);
    if (boardId.empty()) return;
    (LooksLikePortPath(boardId) ? board.simulated->identity().portPath
                                : board.simulated->identity().serial) = boardId;
}

bool LooksLikePortPath(const std::string& text) {
    // Digits, one dash, then groups of digits joined by dots.
    bool digit = false, dash = false;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            digit = true;
        } else if (digit && (c == '.' ? dash : !dash && c == '-')) {
            dash = true;
            digit = false;
        } else {
            return false;
        }
    }
    return dash && digit;
}

BoardPick PickBoard(BoardDriver& driver, const MatchEntry& match, const std::string& wanted) {
    BoardPick pick;
    driver.listBoards(match, pick.boards);
    if (!wanted.empty()) {
        pick.outcome = BoardPick::Chosen;
        pick.id = wanted;
    } else if (pick.boards.size() == 1) {
        pick.outcome = BoardPick::Chosen;
        pick.id = BoardIdOf(pick.boards.front().identity);
    } else {
        pick.outcome = pick.boards.empty() ? BoardPick::NoBoard : BoardPick::Several;
    }
    return pick;
}

std::string BoardLine(const AttachedBoard& board) {
    const BoardIdentity& b = board.identity;
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, "bus %03u device %03u", b.bus, b.address);
    return b.portPath + "  " + numbers + "  serial " + (b.serial.empty() ? "-" : b.serial) + "  " +
           (b.product.empty() ? "-" : b.product) + "  " + AccessText(board.access);
}

}  // namespace i2cbridge
