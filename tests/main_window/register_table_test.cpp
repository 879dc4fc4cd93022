// The register table "Active Device Registers" and the raw two-byte panel.

#include <gtest/gtest.h>

#include <map>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

using qb::kBlack;
using qb::kGreen;
using qb::kLightGreen;
using qb::kLightRed;

class RegisterTable : public PanelTest {
protected:
    void readAll() { win->cmdReadRegs_Click(); }
    void writeAll() { win->cmdwriteAll_Click(); }
    // Row r's read box, read lamp and write lamp, as "5A lightgreen | black"; a hidden one is
    // in brackets.
    std::string row(int r) {
        auto shown = [](const Control& c, const std::string& s) {
            return c.visible() ? s : "(" + s + ")";
        };
        static const std::map<int, std::string> kNames{
            {kBlack, "black"}, {kGreen, "green"}, {kLightGreen, "lightgreen"}, {kLightRed, "red"}};
        return shown(win->txtRdByte[r], win->txtRdByte[r].text()) + " " +
               shown(win->Shape1[r], kNames.at(win->Shape1[r].color())) + " | " +
               shown(win->shpBwrite[r], kNames.at(win->shpBwrite[r].color()));
    }
};

// A row takes part in Read All and Write All when its address is two characters long and, for
// Write All, its value too; a value is then sent as it stands, not checked nor upper-cased.
// A double click writes whatever the address.
TEST_F(RegisterTable, OnlyRowsWithTwoCharacterTextsTakePartInBulk) {
    win->Reg_Adr[3].setText("1FF");
    win->Reg_Adr[5].setText("");
    for (int r : {3, 5}) win->txtBWrite[r].setText("42");
    win->txtBWrite[4].setText("G5");
    win->txtBWrite[7].setText("c3");
    device60().registers[4] = 0x77;
    readAll();
    rig.clearSent();
    writeAll();
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x60, 0x04, 0x00}), I2C({0x01, 0x60, 0x07, 0xC3})}));
    EXPECT_EQ(win->txtBWrite[4].text() + win->txtBWrite[7].text(), "G5c3");
    EXPECT_EQ(std::vector({row(3), row(4), row(5), row(6)}),
              (Texts{"() (black) | (black)", "77 lightgreen | lightgreen", "() (black) | (black)",
                     "00 lightgreen | (black)"}));

    rig.clearSent();
    win->txtBWrite_DblClick(3);
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x60, 0xFF, 0x42})}));
    EXPECT_EQ(row(3), "() (black) | lightgreen");
}

TEST_F(RegisterTable, OutOfRangeRowValueIsRefusedWithoutOpening) {
    win->txtBWrite[9].setText("100");
    win->txtBWrite_DblClick(9);
    EXPECT_EQ(win->txtBWrite[9].text(), "--");
    EXPECT_EQ(logged(), (Texts{"Invalid Write Value"}));
    EXPECT_EQ(rig.board.initCount(), 2);
}

TEST_F(RegisterTable, TheValueCheckedIsSentEvenIfTheBoxChangesWhileTheConnectionOpens) {
    win->txtBWrite[2].setText("42");
    rig.pump.atYield(0, [&] { win->txtBWrite[2].setText("1FF"); });
    win->txtBWrite_DblClick(2);
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0x60, 0x02, 0x42})}));
}

// Double click, Read All and Write All address the device by the address box as it stands;
// Enter in a write box by the stored address.
TEST_F(RegisterTable, DoubleClickAndBulkUseTheAddressBoxEnterTheStoredAddress) {
    addDevice(0xA4);
    win->txtI2CAdr.setText("A4");  // typed, not committed
    win->txtBWrite[1].setText("11");
    win->txtBWrite_DblClick(1);
    pressEnter([&](int& k) { win->txtBWrite_KeyPress(1, k); });
    EXPECT_EQ(win->shpBwrite[1].color(), kGreen);  // two successes in a row
    for (int r = 1; r < kRegisterRows; ++r) win->Reg_Adr[r].setText("");
    win->txtBWrite[0].setText("01");
    readAll();
    writeAll();
    EXPECT_EQ(sent(), (Frames{I2C({0x01, 0xA4, 0x01, 0x11}), I2C({0x01, 0x60, 0x01, 0x11}),
                              I2C({0x01, 0xA5, 0x00}), I2C({0x01, 0xA4, 0x00, 0x01})}));
}

// A NAK fails every row, the loop goes on and a failed write keeps its value; Copy then takes
// the "--" and writes it as 00. A single row's read leaves the row's visibility alone.
TEST_F(RegisterTable, FailedRowsShowDashesAndCopyTakesWhatTheReadBoxesHold) {
    device60().nakAddress = true;
    win->txtBWrite[1].setText("34");
    win->Reg_Adr[7].setText("");
    readAll();
    writeAll();
    EXPECT_EQ(sent().size(), 32u);
    EXPECT_EQ(win->Shape1[31].color(), kLightRed);
    EXPECT_EQ(row(1), "-- red | red");
    EXPECT_EQ(win->txtBWrite[1].text(), "34");
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
    win->txtRdByte_Click(7);  // the empty address reads register 00
    EXPECT_EQ(sent().back(), I2C({0x01, 0x61, 0x00}));
    EXPECT_EQ(row(7), "(--) (red) | (black)");

    device60().nakAddress = false;
    win->txtRdByte_Click(2);
    win->txtRdByte_Click(2);
    EXPECT_EQ(row(2), "5A green | (black)");
    win->Command7_Click();
    for (const Row& r : table()) EXPECT_EQ(r.write, r.read);
    rig.clearSent();
    writeAll();
    EXPECT_EQ(sent().size(), 31u);
    EXPECT_EQ(sent()[1], I2C({0x01, 0x60, 0x01, 0x00}));
    EXPECT_EQ(sent()[2], I2C({0x01, 0x60, 0x02, 0x5A}));
}

// The raw two-byte panel writes [address with bit 7 cleared, data] on pipe 4, on whatever
// connection there is; empty boxes become 00, anything but a hex byte is refused.
TEST_F(RegisterTable, RawPanelSendsItsTwoBytesOrRefuses) {
    auto write = [&](const char* addr, const char* data) {
        win->txtAddr.setText(addr);
        win->txtData.setText(data);
        win->cmdWrite_Click();
    };
    write("01", "02");
    win->cbReset_Click();
    EXPECT_EQ(logged(), (Texts{"Write GPIOPipe .. USB Not opened",
                               "Press Reset Button On Evaluation Board, Software Reseting Control "
                               "Registers to Reset Status"}));
    manualMode(true);
    write("FF", "a5");
    write("", "");
    EXPECT_EQ(win->txtAddr.text() + win->txtData.text(), "0000");
    EXPECT_EQ(sent(), (Frames{Raw({0x7F, 0xA5}), Raw({0x00, 0x00})}));
    const std::pair<const char*, const char*> bad[] = {
        {"G5", "00"}, {"00", "100"}, {"1 2", "00"}, {"00", "-1"}, {"0x1", "00"}};
    for (const auto& [addr, data] : bad) write(addr, data);
    EXPECT_EQ(win->txtAddr.text() + win->txtData.text(), "0x100");  // kept to be corrected
    EXPECT_EQ(logged(), Texts(5, "Invalid Write Value"));
    EXPECT_EQ(sent().size(), 2u);
}

}  // namespace
}  // namespace i2cbridge::testing
