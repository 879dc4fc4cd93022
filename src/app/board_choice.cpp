#include "app/board_choice.h"

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
                std::optional<uint16_t> productId) {
    MatchEntry& match = usb.MatchTable;
    if (vendorId) match.vendorId = *vendorId;
    if (productId) match.productId = *productId;
    if (board.simulated) board.simulated->setIdentity(match.vendorId, match.productId);
}

}  // namespace i2cbridge
