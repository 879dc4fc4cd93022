// list: the boards attached, as a test station's operator picks one with --board.

#include <cstdio>

#include "cli/cli.h"
#include "usb/simulated_board.h"

namespace i2cbridge::cli {

int List(const Options& o) {
    BoardChoice choice = ChooseBoard(o.simulate);
    MatchEntry match{o.vendorId.value_or(BoardVendorId), o.productId.value_or(BoardProductId)};
    if (choice.simulated) choice.simulated->setIdentity(match.vendorId, match.productId);
    std::vector<AttachedBoard> boards;
    const int32_t status = choice.driver->listBoards(match, boards);
    if (status != 0) {
        Complain("cannot look for boards: " + usb_status::Name(status));
        return kExitNoBoard;
    }
    if (o.json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const AttachedBoard& b : boards) {
            const BoardIdentity& id = b.identity;
            list.push_back({{"port", id.portPath},
                            {"bus", id.bus},
                            {"device", id.address},
                            {"serial", id.serial.empty() ? nlohmann::ordered_json()
                                                         : nlohmann::ordered_json(Utf8(id.serial))},
                            {"product", Utf8(id.product)},
                            {"access", AccessText(b.access)}});
        }
        PrintJson({{"boards", list}});
    } else {
        for (const AttachedBoard& b : boards) std::printf("%s\n", Utf8(BoardLine(b)).c_str());
    }
    if (!boards.empty()) return kExitOk;
    char ids[64];
    std::snprintf(ids, sizeof ids, "vendor %04x, product %04x", match.vendorId, match.productId);
    Complain(std::string("no board found (") + ids + ")");
    if (!o.quiet) NoBoardHints();
    return kExitNoBoard;
}

}  // namespace i2cbridge::cli
