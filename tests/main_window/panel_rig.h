#pragma once

// The main window's fixture: a loaded main window on the simulated board, the frames it sent,
// the log it wrote, the register table's boxes and a folder for register definitions files.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/colors.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge::testing {

using Frames = std::vector<WireFrame>;
using Texts = std::vector<std::string>;

// A register table row's boxes: address, description, write value, read value.
struct Row {
    std::string adr, desc, write, read;
    bool operator==(const Row&) const = default;
};
inline std::ostream& operator<<(std::ostream& os, const Row& r) {
    return os << '[' << r.adr << '|' << r.desc << '|' << r.write << '|' << r.read << ']';
}

class PanelTest : public ::testing::Test {
protected:
    // I2C request frames go out on endpoint 2, GPIO frames on 1, the raw panel's on 4.
    static WireFrame I2C(std::vector<uint8_t> bytes) { return {0x02, std::move(bytes)}; }
    static WireFrame Gpio(std::vector<uint8_t> bytes) { return {0x01, std::move(bytes)}; }
    static WireFrame Raw(std::vector<uint8_t> bytes) { return {0x04, std::move(bytes)}; }

    // Loads the window (start-up probe and GPIO write) and forgets what that sent and logged.
    void SetUp() override {
        win = &rig.main();
        rig.clearSent();
        rig.markLog();
    }

    // Ticks "Manual USB Connect / Disconnect", optionally opening the connection by hand.
    void manualMode(bool open) {
        win->ChKManUsbConn.setChecked(true);
        win->ChKManUsbConn_Click();
        if (open) win->cmdUSBConnect_Click();
        rig.clearSent();
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
    const Frames& sent() { return rig.sent(); }
    Texts logged() { return rig.messagesSinceMark(); }

    std::vector<Row> table() {
        std::vector<Row> rows;
        for (int k = 0; k < kRegisterRows; ++k)
            rows.push_back({win->Reg_Adr[k].text(), win->Reg_Desc[k].text(),
                            win->txtBWrite[k].text(), win->txtRdByte[k].text()});
        return rows;
    }
    void setRow(int k, const Row& r) {
        win->Reg_Adr[k].setText(r.adr);
        win->Reg_Desc[k].setText(r.desc);
        win->txtBWrite[k].setText(r.write);
        win->txtRdByte[k].setText(r.read);
    }
    // A distinct, easily recognised text in every box.
    static std::vector<Row> samples() {
        std::vector<Row> rows;
        for (int k = 0; k < kRegisterRows; ++k) {
            const std::string n = std::to_string(k);
            rows.push_back({"A" + n, "Desc " + n, "W" + n, "R" + n});
        }
        return rows;
    }
    void fillTable() {
        for (int k = 0; k < kRegisterRows; ++k) setRow(k, samples()[k]);
    }
    // File > Open and File > Save with the path chosen ("" cancels); the log is marked first.
    RegisterFileLoad open(const std::string& path) {
        rig.markLog();
        rig.dialogs.openChoices.push_back(path);
        return win->mnuSetup_Open_Click();
    }
    void save(const std::string& path) {
        rig.markLog();
        rig.dialogs.saveChoices.push_back(path);
        win->mnuSetup_Save_Click();
    }
    std::string writeFile(const std::string& name, const std::string& text) {
        WriteBytes(dir.file(name), text);
        return dir.file(name);
    }

    Rig rig;
    FrmI2CGeneral* win = nullptr;
    TempDir dir;
};

}  // namespace i2cbridge::testing
