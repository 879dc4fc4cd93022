#include <gtest/gtest.h>

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
    void enterInWriteBox(int row) {
        pressEnter([&](int& k) { win->txtBWrite_KeyPress(row, k); });
    }
    std::vector<WireFrame> readsOf(std::initializer_list<int> registers) {
        std::vector<WireFrame> frames;
        for (int r : registers) frames.push_back(I2C({0x01, 0x61, static_cast<uint8_t>(r)}));
        return frames;
    }
};

TEST_F(RegisterTable, FreshReadAllReadsRegisters00To1FOnOneConnection) {
    for (int r = 0; r < kRegisterRows; ++r) device60().registers[r] = static_cast<uint8_t>(r * 3);
    device60().registers[2] = 0x5A;
    readAll();
    ASSERT_EQ(sent().size(), 32u);
    for (int r = 0; r < kRegisterRows; ++r) {
        EXPECT_EQ(sent()[r], I2C({0x01, 0x61, static_cast<uint8_t>(r)}));
        EXPECT_EQ(win->Shape1[r].color(), kLightGreen) << r;
        EXPECT_TRUE(win->txtRdByte[r].visible());
    }
    EXPECT_EQ(win->txtRdByte[0].text(), "00");
    EXPECT_EQ(win->txtRdByte[1].text(), "03");
    EXPECT_EQ(win->txtRdByte[2].text(), "5A");
    EXPECT_EQ(win->txtRdByte[5].text(), "0F");
    EXPECT_EQ(win->txtRdByte[31].text(), "5D");
    EXPECT_EQ(win->lblReadCount.caption(), " 1");
    EXPECT_EQ(rig.board.initCount(), 3);  // one open for all 32 rows
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
}

TEST_F(RegisterTable, TwoReadAllsTurnEveryActiveLampGreen) {
    readAll();
    readAll();
    for (int r = 0; r < kRegisterRows; ++r) EXPECT_EQ(win->Shape1[r].color(), kGreen) << r;
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
    for (int r = 0; r < kRegisterRows; ++r) {
        EXPECT_FALSE(win->shpBwrite[r].visible()) << r;
        EXPECT_EQ(win->shpBwrite[r].color(), kBlack) << r;
    }
    EXPECT_EQ(rig.board.initCount(), 3);
    EXPECT_EQ(rig.board.uninitCount(), 3);
}

TEST_F(RegisterTable, EmptiedAddressHidesTheRowUntilItIsActiveAgain) {
    readAll();
    win->Reg_Adr[5].setText("");
    rig.board.model().clearSent();
    readAll();
    EXPECT_EQ(sent().size(), 31u);
    EXPECT_FALSE(win->txtRdByte[5].visible());
    EXPECT_FALSE(win->Shape1[5].visible());
    EXPECT_EQ(win->Shape1[5].color(), kBlack);
    EXPECT_TRUE(win->txtRdByte[6].visible());

    device60().registers[0x3A] = 0x9C;
    win->Reg_Adr[5].setText("3A");
    rig.board.model().clearSent();
    readAll();
    EXPECT_EQ(sent()[5], I2C({0x01, 0x61, 0x3A}));
    EXPECT_TRUE(win->txtRdByte[5].visible());
    EXPECT_TRUE(win->Shape1[5].visible());
    EXPECT_EQ(win->txtRdByte[5].text(), "9C");
    EXPECT_EQ(win->Shape1[5].color(), kLightGreen);
}

TEST_F(RegisterTable, ThreeCharacterAddressIsInactiveForBulkButWritableByDoubleClick) {
    win->Reg_Adr[3].setText("1FF");
    win->txtBWrite[3].setText("42");
    readAll();
    writeAll();
    EXPECT_FALSE(win->txtRdByte[3].visible());
    EXPECT_FALSE(win->shpBwrite[3].visible());
    EXPECT_EQ(sent().size(), 31u);  // 31 reads and no write

    rig.board.model().clearSent();
    win->txtBWrite_DblClick(3);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0xFF, 0x42})}));
    EXPECT_EQ(device60().registers[0xFF], 0x42);
    EXPECT_TRUE(win->shpBwrite[3].visible());
    EXPECT_EQ(win->shpBwrite[3].color(), kLightGreen);
}

TEST_F(RegisterTable, DoubleClickTidiesTheWriteBox) {
    win->txtBWrite[4].setText("g5");
    win->txtBWrite_DblClick(4);
    EXPECT_EQ(win->txtBWrite[4].text(), "00");
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x04, 0x00})}));

    win->txtBWrite[4].setText("b");
    win->txtBWrite_DblClick(4);
    EXPECT_EQ(win->txtBWrite[4].text(), "B");  // upper-cased, not padded
    EXPECT_EQ(sent().back(), I2C({0x01, 0x60, 0x04, 0x0B}));
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
    EXPECT_EQ(win->shpBwrite[4].color(), kLightGreen);
    EXPECT_EQ(win->lblReadCount.caption(), " 3");
}

TEST_F(RegisterTable, OutOfRangeRowValueIsRefusedWithoutOpening) {
    win->txtBWrite[9].setText("100");
    win->txtBWrite_DblClick(9);
    EXPECT_EQ(win->txtBWrite[9].text(), "--");
    EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value"));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.board.initCount(), 2);

    win->txtBWrite[9].setText("fff");
    enterInWriteBox(9);
    EXPECT_EQ(win->txtBWrite[9].text(), "--");
    EXPECT_TRUE(sent().empty());
}

TEST_F(RegisterTable, TheValueCheckedIsSentEvenIfTheBoxChangesWhileTheConnectionOpens) {
    win->txtBWrite[2].setText("42");
    rig.pump.atYield(0, [&] { win->txtBWrite[2].setText("1FF"); });
    win->txtBWrite_DblClick(2);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0x60, 0x02, 0x42})}));
}

TEST_F(RegisterTable, DoubleClickUsesTheAddressBoxAndEnterTheStoredAddress) {
    addDevice(0xA4);
    win->txtI2CAdr.setText("A4");  // typed, not committed
    win->txtBWrite[1].setText("11");
    win->txtBWrite_DblClick(1);
    enterInWriteBox(1);
    EXPECT_EQ(sent(), (std::vector<WireFrame>{I2C({0x01, 0xA4, 0x01, 0x11}),
                                              I2C({0x01, 0x60, 0x01, 0x11})}));
    EXPECT_EQ(win->shpBwrite[1].color(), kGreen);  // two successes in a row
}

TEST_F(RegisterTable, BulkOperationsReadTheAddressBoxTooNotTheStoredAddress) {
    addDevice(0xA4);
    win->txtI2CAdr.setText("A4");
    win->Reg_Adr[1].setText("");
    for (int r = 2; r < kRegisterRows; ++r) win->Reg_Adr[r].setText("");
    win->txtBWrite[0].setText("01");
    readAll();
    writeAll();
    EXPECT_EQ(sent(),
              (std::vector<WireFrame>{I2C({0x01, 0xA5, 0x00}), I2C({0x01, 0xA4, 0x00, 0x01})}));
}

TEST_F(RegisterTable, NakMarksOnlyTheRowAndTheLoopGoesOn) {
    device60().nakAddress = true;
    win->txtBWrite[0].setText("12");
    win->txtBWrite[1].setText("34");
    readAll();
    writeAll();
    EXPECT_EQ(sent().size(), 34u);
    for (int r = 0; r < kRegisterRows; ++r) {
        EXPECT_EQ(win->txtRdByte[r].text(), "--") << r;
        EXPECT_EQ(win->Shape1[r].color(), kLightRed) << r;
        EXPECT_TRUE(win->txtRdByte[r].visible());
    }
    EXPECT_EQ(win->shpBwrite[0].color(), kLightRed);
    EXPECT_TRUE(win->shpBwrite[1].visible());
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
    EXPECT_EQ(win->txtRdByte[4].text(), "--");
    EXPECT_EQ(win->Shape1[4].color(), kLightRed);
    EXPECT_EQ(win->txtRdByte[5].text(), "00");
    EXPECT_EQ(win->Shape1[5].color(), kLightGreen);
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &HFFFFFFFF"),
              std::string::npos);
}

TEST_F(RegisterTable, CopyingFailedReadsWritesZerosThere) {
    device60().registers[0] = 0x81;
    device60().registers[1] = 0x82;
    readAll();
    win->Command7_Click();
    for (int r = 0; r < kRegisterRows; ++r)
        EXPECT_EQ(win->txtBWrite[r].text(), win->txtRdByte[r].text()) << r;
    EXPECT_EQ(win->txtBWrite[0].text(), "81");

    device60().nakAddress = true;
    readAll();
    win->Command7_Click();
    EXPECT_EQ(win->txtBWrite[0].text(), "--");
    device60().nakAddress = false;
    rig.board.model().clearSent();
    writeAll();
    ASSERT_EQ(sent().size(), 32u);
    for (int r = 0; r < kRegisterRows; ++r)
        EXPECT_EQ(sent()[r], I2C({0x01, 0x60, static_cast<uint8_t>(r), 0x00})) << r;
    EXPECT_EQ(device60().registers[0], 0x00);
}

TEST_F(RegisterTable, CopyTakesEmptyReadBoxesToo) {
    win->txtBWrite[3].setText("55");
    win->Command7_Click();
    EXPECT_EQ(win->txtBWrite[3].text(), "");
    EXPECT_TRUE(sent().empty());
}

TEST_F(RegisterTable, SingleRowReadTogglesAndLeavesVisibilityAlone) {
    win->txtRdByte_Click(2);
    EXPECT_EQ(sent(), readsOf({2}));
    EXPECT_EQ(win->txtRdByte[2].text(), "5A");
    EXPECT_EQ(win->Shape1[2].color(), kLightGreen);
    win->txtRdByte_Click(2);
    EXPECT_EQ(win->Shape1[2].color(), kGreen);

    win->Reg_Adr[7].setText("");
    readAll();
    ASSERT_FALSE(win->txtRdByte[7].visible());
    device60().nakAddress = true;
    win->txtRdByte_Click(7);  // the empty address reads register 00
    EXPECT_EQ(sent().back(), I2C({0x01, 0x61, 0x00}));
    EXPECT_EQ(win->txtRdByte[7].text(), "--");
    EXPECT_EQ(win->Shape1[7].color(), kLightRed);
    EXPECT_FALSE(win->txtRdByte[7].visible());
    EXPECT_FALSE(win->Shape1[7].visible());
    EXPECT_EQ(win->lblReadCount.caption(), " 0");
}

TEST_F(RegisterTable, ManualModeWithTheConnectionClosedFailsEveryRow) {
    manualMode(false);
    win->txtBWrite[0].setText("01");
    readAll();
    writeAll();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(win->txtRdByte[31].text(), "--");
    EXPECT_EQ(win->Shape1[31].color(), kLightRed);
    EXPECT_EQ(win->shpBwrite[0].color(), kLightRed);
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
class RawPanel : public PanelTest {};

TEST_F(RawPanel, SendsAddressWithBitSevenClearedAndData) {
    manualMode(true);
    win->txtAddr.setText("FF");
    win->txtData.setText("a5");
    win->cmdWrite_Click();
    EXPECT_EQ(sent(), (std::vector<WireFrame>{Raw({0x7F, 0xA5})}));
    EXPECT_EQ(rig.wb->usb.I2CPipe, 2);
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.logSinceMark(), "");
}

TEST_F(RawPanel, EmptyBoxesBecome00) {
    manualMode(true);
    win->txtAddr.setText("");
    win->txtData.setText("");
    win->cmdWrite_Click();
    EXPECT_EQ(win->txtAddr.text(), "00");
    EXPECT_EQ(win->txtData.text(), "00");
    EXPECT_EQ(sent(), (std::vector<WireFrame>{Raw({0x00, 0x00})}));
}

TEST_F(RawPanel, NonHexOrTooLargeTextIsRefused) {
    manualMode(true);
    const std::pair<const char*, const char*> bad[] = {
        {"G5", "00"}, {"00", "100"}, {"1 2", "00"}, {"00", "-1"}, {"0x1", "00"}};
    for (const auto& [addr, data] : bad) {
        rig.markLog();
        win->txtAddr.setText(addr);
        win->txtData.setText(data);
        win->cmdWrite_Click();
        EXPECT_EQ(rig.logSinceMark(), Entry("Invalid Write Value")) << addr << " " << data;
        EXPECT_EQ(win->txtAddr.text(), addr);  // the text stays for the user to correct
        EXPECT_EQ(win->txtData.text(), data);
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(RawPanel, DoesNotOpenTheConnectionItself) {
    win->cmdWrite_Click();
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(rig.logSinceMark(), Entry("Write GPIOPipe .. USB Not opened"));
    EXPECT_EQ(rig.board.initCount(), 2);
}

}  // namespace
}  // namespace i2cbridge::testing
