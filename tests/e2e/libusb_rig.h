#pragma once

// A workbench on the real driver: LibusbDriver talking through libusb to the board emulated
// under umockdev, with the fake pump and dialogs of the other tests. The board is created
// first (libusb must find it when it starts) and destroyed last.

#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "app/program.h"
#include "emulated_board.h"
#include "main_window/frm_i2c_general.h"
#include "support/fakes.h"
#include "usb/libusb_driver.h"
#include "workbench/workbench.h"

namespace i2cbridge::testing {

inline EmulatedBoardConfig ConfigFor(const BoardSetup& setup) {
    EmulatedBoardConfig config;
    config.productId = setup.productId;
    if (setup.refuseInterface) config.claimErrno = EBUSY;
    return config;
}

struct LibusbRig {
    explicit LibusbRig(BoardSetup setup = {}, LibusbDriverOptions options = {})
        : LibusbRig(ConfigFor(setup), options) {}
    explicit LibusbRig(EmulatedBoardConfig config, LibusbDriverOptions options = {})
        : board(config), driver(options) {}
    static constexpr UsbDeviceHandle kFirstHandle = 1;

    EmulatedBoard board;
    LibusbDriver driver;
    FakePump pump{&driver};
    FakeDialogs dialogs;
    std::unique_ptr<Workbench> wb = std::make_unique<Workbench>(driver, pump, dialogs);
    std::unique_ptr<Program> program = std::make_unique<Program>(*wb);

    FrmI2CGeneral& main() { return program->mainWindow(); }
    UsbConnection& usb() { return wb->usb; }
    const std::string& log() { return wb->log.Txtlog.text(); }
    void markLog() { mark_ = log().size(); }
    std::string logSinceMark() { return log().substr(std::min(mark_, log().size())); }
    std::vector<WireFrame> sent() { return board.sent(); }
    void clearSent() { board.clearSent(); }
    template <typename F>
    auto withModel(F&& f) {
        return board.withModel(std::forward<F>(f));
    }
    int resets() const { return board.requests("RESET"); }
    bool running() const { return driver.running(); }

    // Hot-plug news comes from udev through libusb's threads: yield (which delivers it) until
    // the condition holds or the time is up.
    bool yieldUntil(const std::function<bool()>& done,
                    std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            pump.yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }
    // Waits for text in the log written since markLog().
    bool yieldUntilLogged(const std::string& text) {
        return yieldUntil([&] { return logSinceMark().find(text) != std::string::npos; });
    }

private:
    std::size_t mark_ = 0;
};

}  // namespace i2cbridge::testing
