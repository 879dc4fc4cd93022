#pragma once

// Helpers for the main window's register tests: a loaded main window on the simulated board,
// the frames it sent, and the connection modes.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/colors.h"
#include "support/fakes.h"

namespace i2cbridge::testing {

// I2C request frames go out on endpoint 2, GPIO frames on 1, the raw panel's on 4.
inline WireFrame I2C(std::vector<uint8_t> bytes) {
    return {0x02, std::move(bytes)};
}
inline WireFrame Gpio(std::vector<uint8_t> bytes) {
    return {0x01, std::move(bytes)};
}
inline WireFrame Raw(std::vector<uint8_t> bytes) {
    return {0x04, std::move(bytes)};
}

// One property of every row of a column of boxes or lamps, top to bottom.
template <class Control, class Get>
auto Column(const std::array<Control, kRegisterRows>& rows, Get get) {
    std::vector<std::decay_t<std::invoke_result_t<Get, const Control&>>> out;
    for (const Control& c : rows) out.push_back(std::invoke(get, c));
    return out;
}
template <class T>
std::vector<T> Every(T value) {
    return std::vector<T>(kRegisterRows, value);
}

class PanelTest : public ::testing::Test {
protected:
    // Loads the window (start-up probe and GPIO write) and forgets what that sent and logged.
    void SetUp() override {
        win = &rig.main();
        rig.board.model().clearSent();
        rig.markLog();
    }

    // Ticks "Manual USB Connect / Disconnect", optionally opening the connection by hand.
    void manualMode(bool open) {
        win->ChKManUsbConn.setChecked(true);
        win->ChKManUsbConn_Click();
        if (open) win->cmdUSBConnect_Click();
        rig.board.model().clearSent();
        rig.markLog();
    }

    // Enter in a box: the handlers act on key code 13 and pass the code on unchanged.
    template <class Handler>
    void pressEnter(Handler handler) {
        int key = kKeyEnter;
        handler(key);
        EXPECT_EQ(key, kKeyEnter);
    }

    // A register-file device at another address (register 2 holds 0x5A there too).
    I2CDevice& addDevice(uint8_t writeAddress) {
        I2CDevice d;
        d.writeAddress = writeAddress;
        d.registers[2] = 0x5A;
        return rig.board.model().addDevice(d);
    }
    I2CDevice& device60() { return *rig.board.model().device(0x60); }
    const std::vector<WireFrame>& sent() { return rig.sent(); }

    Rig rig;
    FrmI2CGeneral* win = nullptr;
};

}  // namespace i2cbridge::testing
