#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

using qb::kBlack;
using qb::kGreen;
using qb::kLightGreen;
using qb::kLightRed;

std::string Hex2(int v) {
    char s[8];
    std::snprintf(s, sizeof s, "%02X", v);
    return s;
}

class RegisterTable : public PanelTest {
protected:
    void readAll() { win->cmdReadRegs_Click(); }
    void writeAll() { win->cmdwriteAll_Click(); }
    void enterInWriteBox(int row) {
        pressEnter([&](int& k) { win->txtBWrite_KeyPress(row, k); });
    }
    void resend() { rig.board.model().clearSent(); }
    // Register reads of rows 0 to 31 at 60, or the one register given.
    static std::vector<WireFrame> reads(int only = -1) {
        std::vector<WireFrame> frames;
        for (int r = 0; r < kRegisterRows; ++r)
            if (only < 0 || r == only) frames.push_back(I2C({0x01, 0x61, static_cast<uint8_t>(r)}));
        return frames;
    }
    std::vector<int> readLamps() { return Column(win->Shape1, &Lamp::color); }
    std::vector<std::string> readTexts() { return Column(win->txtRdByte, &TextBox::text); }
    // Row r's read box, read lamp and write lamp, as "5A lightgreen | black"; a hidden one is
    // in brackets.
    std::string row(int r) {
        auto shown = [](const Control& c, const std::string& s) {
            return c.visible() ? s : "(" + s + ")";
        };
        static const std::map<int, std::string> kNames{{kBlack, "black"},
                                                       {kGreen, "green"},
                                                       {kLightGreen, "lightgreen"},
                                                       {kLightRed, "lightred"}};
        auto name = [](int c) { return kNames.count(c) ? kNames.at(c) : "design"; };
        return shown(win->txtRdByte[r], win->txtRdByte[r].text()) + " " +
               shown(win->Shape1[r], name(win->Shape1[r].color())) + " | " +
               shown(win->shpBwrite[r], name(win->shpBwrite[r].color()));
    }
};

TEST_F(RegisterTable, ReadAllReadsEveryRowOnOneConnectionAndASecondOneTurnsTheLampsGreen) {
    std::vector<std::string> want;
    for (int r = 0; r < kRegisterRows; ++r)
        want.push_back(Hex2(device60().registers[r] = static_cast<uint8_t>(r == 2 ? 0x5A : r * 3)));
    readAll();
    EXPECT_EQ(sent(), reads());
    EXPECT_EQ(readTexts(), want);
    EXPECT_EQ(readLamps(), Every(kLightGreen));
    EXPECT_EQ(Column(win->txtRdByte, &Control::visible), Every(true));
    EXPECT_EQ(win->lblReadCount.caption(), " 1");
    EXPECT_EQ(rig.board.initCount(), 3);  // one open for all 32 rows
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
    readAll();
    EXPECT_EQ(readLamps(), Every(kGreen));
}

TEST_F(RegisterTable, ReadAllDoesNotYieldBetweenRows) {
    manualMode(true);
    const long before = rig.pump.yields;
    readAll();
    // One yield after the bracket's open, and the one every write transfer makes.
    EXPECT_EQ(rig.pump.yields - before, 1 + 32);
}

TEST_F(RegisterTable, FreshWriteAllSendsNothingButStillOpensAndCloses) {
    writeAll();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(Column(win->shpBwrite, &Control::visible), Every(false));
    EXPECT_EQ(Column(win->shpBwrite, &Lamp::color), Every(kBlack));
    EXPECT_EQ(rig.board.initCount(), 3);
    EXPECT_EQ(rig.board.uninitCount(), 3);
}

TEST_F(RegisterTable, EmptiedAddressHidesTheRowUntilItIsActiveAgain) {
    readAll();
    win->Reg_Adr[5].setText("");
    resend();
    readAll();
    auto want = reads();
    want.erase(want.begin() + 5);
    EXPECT_EQ(sent(), want);
    EXPECT_EQ(row(5), "(00) (black) | black");
    EXPECT_EQ(row(6), "00 green | black");

    device60().registers[0x3A] = 0x9C;
    win->Reg_Adr[5].setText("3A");
    resend();
    readAll();
    EXPECT_EQ(sent()[5], I2C({0x01, 0x61, 0x3A}));
    EXPECT_EQ(row(5), "9C lightgreen | black");
}

TEST_F(RegisterTable, ThreeCharacterAddressIsInactiveForBulkButWritableByDoubleClick) {
    win->Reg_Adr[3].setText("1FF");
    win->txtBWrite[3].setText("42");
    readAll();
    writeAll();
    EXPECT_EQ(row(3), "() (black) | (black)");
    EXPECT_EQ(sent().size(), 31u);  // 31 reads and no write

    resend();
    win->txtBWrite_DblClick(3);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0xFF, 0x42})}));
    EXPECT_EQ(device60().registers[0xFF], 0x42);
    EXPECT_EQ(row(3), "() (black) | lightgreen");
}

TEST_F(RegisterTable, DoubleClickTidiesTheWriteBox) {
    win->txtBWrite[4].setText("g5");
    win->txtBWrite_DblClick(4);
    win->txtBWrite[5].setText("b");
    win->txtBWrite_DblClick(5);
    EXPECT_EQ(win->txtBWrite[4].text(), "00");
    EXPECT_EQ(win->txtBWrite[5].text(), "B");  // upper-cased, not padded
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x04, 0x00}),
                                              I2C({0x01, 0x60, 0x05, 0x0B})}));
}

TEST_F(RegisterTable, WriteAllTakesTwoCharacterTextAsItStands) {
    win->txtBWrite[4].setText("G5");
    win->txtBWrite[7].setText("c3");
    device60().registers[4] = 0x77;
    writeAll();
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x04, 0x00}),
                                              I2C({0x01, 0x60, 0x07, 0xC3})}));
    EXPECT_EQ(win->txtBWrite[4].text(), "G5");
    EXPECT_EQ(win->txtBWrite[7].text(), "c3");
    EXPECT_EQ(device60().registers[4], 0x00);
    EXPECT_EQ(row(4), " black | lightgreen");
    EXPECT_EQ(win->lblReadCount.caption(), " 3");
}

TEST_F(RegisterTable, OutOfRangeRowValueIsRefusedWithoutOpening) {
    win->txtBWrite[9].setText("100");
    win->txtBWrite_DblClick(9);
    EXPECT_EQ(win->txtBWrite[9].text(), "--");
    EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value"));
    win->txtBWrite[9].setText("fff");
    enterInWriteBox(9);
    EXPECT_EQ(win->txtBWrite[9].text(), "--");
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), 2);
}

TEST_F(RegisterTable, TheValueCheckedIsSentEvenIfTheBoxChangesWhileTheConnectionOpens) {
    win->txtBWrite[2].setText("42");
    rig.pump.atYield(0, [&] { win->txtBWrite[2].setText("1FF"); });
    win->txtBWrite_DblClick(2);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x02, 0x42})}));
}

TEST_F(RegisterTable, DoubleClickAndBulkUseTheAddressBoxEnterTheStoredAddress) {
    addDevice(0xA4);
    win->txtI2CAdr.setText("A4");  // typed, not committed
    win->txtBWrite[1].setText("11");
    win->txtBWrite_DblClick(1);
    enterInWriteBox(1);
    EXPECT_EQ(win->shpBwrite[1].color(), kGreen);  // two successes in a row
    for (int r = 1; r < kRegisterRows; ++r) win->Reg_Adr[r].setText("");
    win->txtBWrite[0].setText("01");
    readAll();
    writeAll();
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0xA4, 0x01, 0x11}), I2C({0x01, 0x60, 0x01, 0x11}),
                                      I2C({0x01, 0xA5, 0x00}), I2C({0x01, 0xA4, 0x00, 0x01})}));
}

TEST_F(RegisterTable, NakMarksOnlyTheRowAndTheLoopGoesOn) {
    device60().nakAddress = true;
    win->txtBWrite[0].setText("12");
    win->txtBWrite[1].setText("34");
    readAll();
    writeAll();
    EXPECT_EQ(sent().size(), 34u);
    EXPECT_EQ(readTexts(), Every(std::string("--")));
    EXPECT_EQ(readLamps(), Every(kLightRed));
    EXPECT_EQ(Column(win->txtRdByte, &Control::visible), Every(true));
    EXPECT_EQ(row(0), "-- lightred | lightred");
    EXPECT_EQ(row(1), "-- lightred | lightred");
    EXPECT_EQ(win->txtBWrite[1].text(), "34");  // a failed write keeps its value
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
}

TEST_F(RegisterTable, TransportFailureMarksOneRow) {
    // The reply to row 4's request is lost; row 5 goes on normally. Faults are taken in
    // order by matching transfers, so four harmless ones let rows 0 to 3 through.
    for (int r = 0; r < 4; ++r)
        rig.board.injectTransferFault({0x82u, usb_status::kSuccess, std::nullopt});
    rig.board.injectTransferFault({0x82u, usb_status::kIo, std::nullopt});
    readAll();
    EXPECT_EQ(row(4), "-- lightred | black");
    EXPECT_EQ(row(5), "00 lightgreen | black");
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &HFFFFFFFF"),
              std::string::npos);
}

TEST_F(RegisterTable, CopyTakesEveryReadBoxAndFailedOrEmptyOnesWriteZeros) {
    win->txtBWrite[3].setText("55");
    win->Command7_Click();
    EXPECT_EQ(win->txtBWrite[3].text(), "");  // the read box was still empty
    device60().registers[0] = 0x81;
    readAll();
    win->Command7_Click();
    EXPECT_EQ(Column(win->txtBWrite, &TextBox::text), readTexts());
    EXPECT_EQ(win->txtBWrite[0].text(), "81");

    device60().nakAddress = true;
    readAll();
    win->Command7_Click();
    EXPECT_EQ(win->txtBWrite[0].text(), "--");
    device60().nakAddress = false;
    resend();
    writeAll();
    std::vector<WireFrame> zeros;
    for (int r = 0; r < kRegisterRows; ++r)
        zeros.push_back(I2C({0x01, 0x60, static_cast<uint8_t>(r), 0x00}));
    EXPECT_EQ(sent(), zeros);
    EXPECT_EQ(device60().registers[0], 0x00);
}

TEST_F(RegisterTable, SingleRowReadTogglesAndLeavesVisibilityAlone) {
    win->txtRdByte_Click(2);
    EXPECT_EQ(sent(), reads(2));
    EXPECT_EQ(row(2), "5A lightgreen | black");
    win->txtRdByte_Click(2);
    EXPECT_EQ(row(2), "5A green | black");

    win->Reg_Adr[7].setText("");
    readAll();
    device60().nakAddress = true;
    win->txtRdByte_Click(7);  // the empty address reads register 00
    EXPECT_EQ(sent().back(), I2C({0x01, 0x61, 0x00}));
    EXPECT_EQ(row(7), "(--) (lightred) | black");
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
}

TEST_F(RegisterTable, ManualModeWithTheConnectionClosedFailsEveryRow) {
    manualMode(false);
    win->txtBWrite[0].setText("01");
    readAll();
    writeAll();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(readTexts(), Every(std::string("--")));
    EXPECT_EQ(readLamps(), Every(kLightRed));
    EXPECT_EQ(row(0), "-- lightred | lightred");
    EXPECT_EQ(rig.board.initCount(), 2);
}

TEST_F(RegisterTable, ResetOnlyLogsAndTheInertButtonsDoNothing) {
    win->txtBWrite[0].setText("01");
    win->cbReset_Click();
    win->cbSend_Click();
    win->cmdAppsSet_Click();
    EXPECT_EQ(rig.logSinceMark(), Entry("Press Reset Button On Evaluation Board, Software "
                                        "Reseting Control Registers to Reset Status"));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), 2);
    EXPECT_EQ(win->txtBWrite[0].text(), "01");
}

// The raw two-byte panel on pipe 4.
class RawPanel : public PanelTest {
protected:
    void write(const char* addr, const char* data) {
        win->txtAddr.setText(addr);
        win->txtData.setText(data);
        win->cmdWrite_Click();
    }
};

TEST_F(RawPanel, SendsAddressWithBitSevenClearedAndDataAndEmptyBoxesBecome00) {
    manualMode(true);
    write("FF", "a5");
    EXPECT_EQ(rig.wb->usb.I2CPipe, 2);
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    write("", "");
    EXPECT_EQ(win->txtAddr.text(), "00");
    EXPECT_EQ(win->txtData.text(), "00");
    EXPECT_EQ(sent(), (std::vector<WireFrame>{Raw({0x7F, 0xA5}), Raw({0x00, 0x00})}));
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(RawPanel, RefusesNonHexOrTooLargeTextAndDoesNotOpenTheConnectionItself) {
    win->cmdWrite_Click();
    EXPECT_EQ(rig.logSinceMark(), Entry("Write GPIOPipe .. USB Not opened"));
    EXPECT_EQ(rig.board.initCount(), 2);
    manualMode(true);
    const std::pair<const char*, const char*> bad[] = {
        {"G5", "00"}, {"00", "100"}, {"1 2", "00"}, {"00", "-1"}, {"0x1", "00"}};
    for (const auto& [addr, data] : bad) {
        rig.markLog();
        write(addr, data);
        EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value")) << addr << " " << data;
        EXPECT_EQ(win->txtAddr.text(), addr);  // the text stays for the user to correct
        EXPECT_EQ(win->txtData.text(), data);
    }
    EXPECT_TRUE(sent().empty());
}

}  // namespace
}  // namespace i2cbridge::testing
