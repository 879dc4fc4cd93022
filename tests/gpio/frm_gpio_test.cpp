// The GPIO screen model against the simulated board: the two frames, the read-back boxes and
// lamps, the check boxes' bits, and the screen's life across start-up, unload and reload.

#include "gpio/frm_gpio.h"

#include <gtest/gtest.h>

#include "foundation/colors.h"
#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

using Bytes = std::vector<uint8_t>;
using namespace std::string_literals;

// A user click on a box: the box flips, then its handler runs.
void Click(FrmGPIO& g, CheckBox& box, void (FrmGPIO::*handler)(int), int index) {
    g.setChecked(box, !box.checked(), handler, index);
}

// The program after start-up: the main window has loaded and made its GPIO write.
struct Started : ::testing::Test {
    void SetUp() override {
        rig.main();
        rig.board.model().clearSent();
    }
    FrmGPIO& gpio() { return rig.gpio(); }
    Rig rig;
};

// The hex boxes: enables PB, PB read back, enables PC, PC read back, then the data bytes the
// same way.
std::vector<std::string> Hex(FrmGPIO& g) {
    std::vector<std::string> texts;
    for (const auto* boxes : {&g.txtPCHex, &g.txtPCHexData})
        for (const TextBox& box : *boxes) texts.push_back(box.text());
    return texts;
}

// The lamps: "Update Enables", the PB and PC enable read-backs, and the two data writes.
std::vector<int> Lamps(FrmGPIO& g) {
    std::vector<int> colors;
    for (int lamp : {0, 2, 3, 4, 5}) colors.push_back(g.shpGpioWr[lamp].color());
    return colors;
}
using Texts = std::vector<std::string>;
using Colors = std::vector<int>;
constexpr int LG = qb::kLightGreen, G = qb::kGreen, LR = qb::kLightRed, BK = qb::kBlack;

// --- Frames on the wire ---------------------------------------------------------------------

using GpioFrames = Started;

TEST_F(GpioFrames, EnablesAndDataFromStartStateSendsDataFirstThenReads25Bytes) {
    gpio().cmdGPIO_Write_Click();

    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0], (WireFrame{0x01, Bytes{0xFF, 0xFF, 0x00, 0x00}}));
    EXPECT_EQ(rig.wb->usb.TransferPipe, 0x81u);
    EXPECT_EQ(rig.wb->usb.TransferLength, 25u);
    EXPECT_EQ(rig.wb->usb.BytesTransferred, 25u);
    // Left behind for the next I2C write to find.
    EXPECT_EQ(rig.wb->i2c.WriteByteCount, 4);
    // Opened and closed around the write in the automatic mode.
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
}

TEST_F(GpioFrames, DataOnlyFromStartStateSendsTwoBytes) {
    gpio().cmdWrite_GPIO_Data_Click();

    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0], (WireFrame{0x01, Bytes{0xFF, 0xFF}}));
    EXPECT_EQ(rig.wb->usb.TransferLength, 25u);
    EXPECT_EQ(rig.wb->i2c.WriteByteCount, 2);
}

TEST_F(GpioFrames, FrameIsBuiltFromTheBoxesEditedBeforeTheWrite) {
    FrmGPIO& g = gpio();
    Click(g, g.ChkBData[3], &FrmGPIO::ChkBData_Click, 3);
    Click(g, g.chkOutEnc[0], &FrmGPIO::chkOutEnc_Click, 0);
    Click(g, g.chkOutEn[7], &FrmGPIO::chkOutEn_Click, 7);
    Click(g, g.ChKLedData[0], &FrmGPIO::ChKLedData_Click, 0);
    g.cmdGPIO_Write_Click();

    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0].bytes, (Bytes{0xF7, 0xFE, 0x80, 0x10}));
}

TEST_F(GpioFrames, StateSetWholeByteByAnotherWindowIsSentAsItStands) {
    // The script's GPIO command writes whole bytes, port C bits 2 and 3 included.
    rig.wb->GpioState = {0x0F, 0x0C, 0xA5, 0x3C};
    gpio().cmdGPIO_Write_Click();
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0].bytes, (Bytes{0xA5, 0x3C, 0x0F, 0x0C}));
}

TEST_F(GpioFrames, ManualModeLeavesTheConnectionAsTheUserSetIt) {
    FrmI2CGeneral& m = rig.main();
    m.ChKManUsbConn.setChecked(true);
    m.ChKManUsbConn_Click();
    m.cmdUSBConnect_Click();
    ASSERT_TRUE(rig.wb->usb.UsbOpen);
    const int resets = rig.board.resetCount();

    gpio().cmdGPIO_Write_Click();

    EXPECT_EQ(rig.sent().size(), 1u);
    EXPECT_TRUE(rig.wb->usb.UsbOpen);
    EXPECT_EQ(rig.board.resetCount(), resets);
}

// --- Read-back boxes and lamps --------------------------------------------------------------

using GpioReadBack = Started;

TEST_F(GpioReadBack, ShowsWhatTheBoardAnswersNotWhatWasWritten) {
    // Pins that are not driven read their input levels.
    rig.board.model().gpio().pbInputs = 0x3C;
    rig.board.model().gpio().pcInputs = 0x50;
    FrmGPIO& g = gpio();
    const GpioOutcome outcome = g.cmdGPIO_Write_Click();

    // PC reads 53: PC4..7 inputs, LED latch bits 0 and 1 = 11. The written boxes keep the state.
    EXPECT_EQ(Hex(g), (Texts{"00", "00", "00", "00", "FF", "3C", "FF", "53"}));
    // The outcome says the same as the boxes.
    EXPECT_EQ(outcome.error, CoreError::None);
    EXPECT_EQ(outcome.written, (GpioBytes{0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(outcome.readBack, (GpioBytes{0x00, 0x00, 0x3C, 0x53}));
    EXPECT_EQ(outcome.readBackText(), "3C530000");
    EXPECT_EQ(g.cmdWrite_GPIO_Data_Click().readBackText(), "3C53");
}

TEST_F(GpioReadBack, DrivenPinsAndEnablesReadBackAndTheEnableLampsAgree) {
    FrmGPIO& g = gpio();
    Click(g, g.chkOutEn[0], &FrmGPIO::chkOutEn_Click, 0);
    Click(g, g.ChkBData[0], &FrmGPIO::ChkBData_Click, 0);
    Click(g, g.chkOutEnc[3], &FrmGPIO::chkOutEnc_Click, 3);
    g.cmdGPIO_Write_Click();

    EXPECT_EQ(Hex(g), (Texts{"01", "01", "80", "80", "FE", "FE", "FF", "FF"}));
    EXPECT_EQ(Lamps(g)[1], LG);
    EXPECT_EQ(Lamps(g)[2], LG);
}

TEST_F(GpioReadBack, FailedReadShowsZerosAndReddensOnlyEnableLampsWhoseStateIsNotZero) {
    FrmGPIO& g = gpio();
    Click(g, g.chkOutEn[2], &FrmGPIO::chkOutEn_Click, 2);  // PB enables 04, PC enables 00
    rig.board.injectTransferFault({0x81, usb_status::kIo, std::nullopt});
    rig.markLog();

    EXPECT_EQ(g.cmdGPIO_Write_Click().error, CoreError::TransferFailed);

    EXPECT_EQ(Hex(g), (Texts{"04", "00", "00", "00", "FF", "00", "FF", "00"}));
    EXPECT_EQ(Lamps(g)[1], LR);
    EXPECT_EQ(Lamps(g)[2], LG);
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &H"),
              std::string::npos);
    // The operation carries on to the end: the board was closed again.
    EXPECT_FALSE(rig.wb->usb.UsbOpen);
}

TEST_F(GpioReadBack, ShortReplyLeavesTheMissingBytesAtZero) {
    FrmGPIO& g = gpio();
    rig.board.model().gpio().pbInputs = 0x12;
    rig.board.injectTransferFault({0x81, usb_status::kSuccess, 1u});
    g.cmdGPIO_Write_Click();

    EXPECT_EQ(Hex(g), (Texts{"00", "00", "00", "00", "FF", "12", "FF", "00"}));
}

TEST_F(GpioReadBack, BoardNotOpenInManualModeLogsBothPipesAndShowsZeros) {
    FrmI2CGeneral& m = rig.main();
    m.ChKManUsbConn.setChecked(true);
    m.ChKManUsbConn_Click();
    ASSERT_FALSE(rig.wb->usb.UsbOpen);
    rig.markLog();
    FrmGPIO& g = gpio();
    Click(g, g.chkOutEnc[1], &FrmGPIO::chkOutEnc_Click, 1);

    const GpioOutcome outcome = g.cmdGPIO_Write_Click();

    EXPECT_EQ(outcome.error, CoreError::NoBoard);
    EXPECT_EQ(outcome.readBackText(), "00000000");
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Write GPIOPipe .. USB Not opened") + Entry("ReadPipe .. USB Not opened"));
    EXPECT_EQ(Hex(g), (Texts{"00", "00", "20", "00", "FF", "00", "FF", "00"}));
    // The PB enable lamp agrees (state byte 0 is 00); the PC one does not (state byte 1 is 20).
    EXPECT_EQ((Colors{Lamps(g)[1], Lamps(g)[2]}), (Colors{LG, LR}));
}

TEST_F(GpioReadBack, DataOnlyLeavesTheEnableReadBackAndItsLampsAlone) {
    gpio();
    rig.program->unloadGpioScreen();
    FrmGPIO& fresh = gpio();
    fresh.cmdWrite_GPIO_Data_Click();

    EXPECT_EQ(Hex(fresh), (Texts{"00", "--", "00", "--", "FF", "FF", "FF", "FF"}));
    EXPECT_EQ(Lamps(fresh), (Colors{BK, BK, BK, LG, LG}));
}

TEST_F(GpioReadBack, WriteLampsFlipBetweenTheTwoGreensOnEveryWrite) {
    rig.program->unloadGpioScreen();
    FrmGPIO& g = gpio();
    std::vector<Colors> seen{Lamps(g)};
    for (int k = 0; k < 4; ++k) {
        g.cmdGPIO_Write_Click();
        seen.push_back(Lamps(g));
    }
    // Data only flips 4 and 5 and leaves the "Update Enables" lamp where it was.
    g.cmdWrite_GPIO_Data_Click();
    seen.push_back(Lamps(g));
    EXPECT_EQ(seen, (std::vector<Colors>{{BK, BK, BK, BK, BK},
                                         {LG, LG, LG, LG, LG},
                                         {G, LG, LG, G, G},
                                         {LG, LG, LG, LG, LG},
                                         {G, LG, LG, G, G},
                                         {G, LG, LG, LG, LG}}));
}

TEST_F(GpioReadBack, WriteLampsFlipEvenWhenTheTransferFailed) {
    FrmGPIO& g = gpio();
    const int before = g.shpGpioWr[4].color();
    rig.board.injectTransferFault({0x01, usb_status::kTimeout, std::nullopt});
    EXPECT_EQ(g.cmdWrite_GPIO_Data_Click().error, CoreError::TransferFailed);
    EXPECT_NE(g.shpGpioWr[4].color(), before);
    EXPECT_NE(g.shpGpioWr[4].color(), qb::kLightRed);
}

// --- Check boxes ----------------------------------------------------------------------------

using GpioCheckBoxes = Started;

TEST_F(GpioCheckBoxes, PortBDataBoxClearsAndRestoresItsBitWithoutSending) {
    FrmGPIO& g = gpio();
    const int transfers = rig.board.transferCount();

    Click(g, g.ChkBData[3], &FrmGPIO::ChkBData_Click, 3);
    EXPECT_EQ((std::pair<int, std::string>(rig.wb->GpioState.portBData, g.txtPCHexData[0].text())),
              std::pair(0xF7, "F7"s));
    Click(g, g.ChkBData[3], &FrmGPIO::ChkBData_Click, 3);
    EXPECT_EQ((std::pair<int, std::string>(rig.wb->GpioState.portBData, g.txtPCHexData[0].text())),
              std::pair(0xFF, "FF"s));
    EXPECT_EQ(rig.board.transferCount(), transfers);
    EXPECT_TRUE(rig.sent().empty());
}

TEST_F(GpioCheckBoxes, PortCBoxesUseBitsFourToSeven) {
    FrmGPIO& g = gpio();
    Click(g, g.ChkCData[3], &FrmGPIO::ChkCData_Click, 3);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0x7F);
    EXPECT_EQ(g.txtPCHexData[2].text(), "7F");
    Click(g, g.ChkCData[0], &FrmGPIO::ChkCData_Click, 0);
    EXPECT_EQ(g.txtPCHexData[2].text(), "6F");
    // Port B's byte is untouched.
    EXPECT_EQ(rig.wb->GpioState.portBData, 0xFF);
}

TEST_F(GpioCheckBoxes, PortCEnableSetsBitFourAndGatesItsDataBox) {
    FrmGPIO& g = gpio();
    Click(g, g.chkOutEnc[0], &FrmGPIO::chkOutEnc_Click, 0);
    EXPECT_EQ(rig.wb->GpioState.portCLedEnables, 0x10);
    EXPECT_EQ(g.txtPCHex[2].text(), "10");
    EXPECT_TRUE(g.ChkCData[0].enabled());

    Click(g, g.chkOutEnc[0], &FrmGPIO::chkOutEnc_Click, 0);
    EXPECT_EQ(rig.wb->GpioState.portCLedEnables, 0x00);
    EXPECT_EQ(g.txtPCHex[2].text(), "00");
    EXPECT_FALSE(g.ChkCData[0].enabled());
    // The disabled box keeps its check state, and its neighbours are not affected.
    EXPECT_TRUE(g.ChkCData[0].checked());
    EXPECT_TRUE(g.ChkCData[1].enabled());
}

TEST_F(GpioCheckBoxes, PortBEnablesUseTheIndexAsBit) {
    FrmGPIO& g = gpio();
    Click(g, g.chkOutEn[7], &FrmGPIO::chkOutEn_Click, 7);
    Click(g, g.chkOutEn[1], &FrmGPIO::chkOutEn_Click, 1);
    EXPECT_EQ(g.txtPCHex[0].text(), "82");
    Click(g, g.chkOutEn[7], &FrmGPIO::chkOutEn_Click, 7);
    EXPECT_EQ(g.txtPCHex[0].text(), "02");
    EXPECT_FALSE(g.ChkBData[7].enabled());
    EXPECT_TRUE(g.ChkBData[1].enabled());
    EXPECT_EQ(rig.wb->GpioState.portBEnables, 0x02);
}

TEST_F(GpioCheckBoxes, BothLedBoxesOffGiveFC) {
    FrmGPIO& g = gpio();
    Click(g, g.ChKLedData[0], &FrmGPIO::ChKLedData_Click, 0);
    EXPECT_EQ(g.txtPCHexData[2].text(), "FE");
    Click(g, g.ChKLedData[1], &FrmGPIO::ChKLedData_Click, 1);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFC);
    EXPECT_EQ(g.txtPCHexData[2].text(), "FC");
}

TEST_F(GpioCheckBoxes, UncheckingABitAlreadyClearKeepsItClear) {
    // Another window cleared PB0 by a whole-byte write; the screen's box still shows checked.
    rig.wb->GpioState.portBData = 0xF0;
    FrmGPIO& g = gpio();
    ASSERT_TRUE(g.ChkBData[0].checked());
    Click(g, g.ChkBData[0], &FrmGPIO::ChkBData_Click, 0);
    EXPECT_EQ(rig.wb->GpioState.portBData, 0xF0);
    EXPECT_EQ(g.txtPCHexData[0].text(), "F0");
}

TEST_F(GpioCheckBoxes, SettingFromCodeRunsTheHandlerOnlyOnAChange) {
    // The communications test sets the LED boxes this way.
    FrmGPIO& g = gpio();
    rig.wb->GpioState.portCLedData = 0xFE;  // the red LED bit is clear although its box is checked
    g.setChecked(g.ChKLedData[0], true, &FrmGPIO::ChKLedData_Click, 0);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFE);

    g.setChecked(g.ChKLedData[1], false, &FrmGPIO::ChKLedData_Click, 1);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFC);
    g.ChKLedData[0].setChecked(true);
    g.ChKLedData_Click(0);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFD);
    EXPECT_EQ(g.txtPCHexData[2].text(), "FD");
}

// --- Life of the screen ---------------------------------------------------------------------

using GpioLifecycle = Started;

TEST_F(GpioLifecycle, FirstShowingAfterStartUpShowsTheStartUpWrite) {
    FrmGPIO& g = gpio();
    EXPECT_EQ(Hex(g), (Texts{"00", "00", "00", "00", "FF", "FF", "FF", "FF"}));
    EXPECT_EQ(Lamps(g), (Colors{LG, LG, LG, LG, LG}));
    for (const auto& box : g.ChkBData) EXPECT_TRUE(box.checked() && box.enabled());
    for (const auto& box : g.ChkCData) EXPECT_TRUE(box.checked() && box.enabled());
    for (const auto& box : g.ChKLedData) EXPECT_TRUE(box.checked() && box.enabled());
    for (const auto& box : g.chkOutEn) EXPECT_FALSE(box.checked());
    for (const auto& box : g.chkOutEnc) EXPECT_FALSE(box.checked());
    for (const auto& box : g.ChLed1) EXPECT_FALSE(box.visible());
    EXPECT_FALSE(g.shpGpioWr[1].visible());
}

TEST(GpioStartUp, BoardAbsentAtStartUpShowsZerosRead) {
    Rig rig;
    rig.board.unplug();
    rig.main();
    EXPECT_EQ(Hex(rig.gpio()), (Texts{"00", "00", "00", "00", "FF", "00", "FF", "00"}));
    // Both enable bytes of the start state are 00, so the zeros still agree with them.
    EXPECT_EQ(Lamps(rig.gpio())[1], LG);
    EXPECT_EQ(Lamps(rig.gpio())[2], LG);
    EXPECT_TRUE(rig.sent().empty());
    EXPECT_EQ(rig.gpio().cmdWrite_GPIO_Data_Click().error, CoreError::NoBoard);
}

TEST_F(GpioLifecycle, ReloadAfterUnloadStartsBoxesAfreshAndShowsTheState) {
    FrmGPIO& old = gpio();
    Click(old, old.chkOutEn[0], &FrmGPIO::chkOutEn_Click, 0);
    Click(old, old.ChkBData[3], &FrmGPIO::ChkBData_Click, 3);
    Click(old, old.ChKLedData[1], &FrmGPIO::ChKLedData_Click, 1);
    Click(old, old.chkOutEnc[2], &FrmGPIO::chkOutEnc_Click, 2);
    Click(old, old.chkOutEnc[2], &FrmGPIO::chkOutEnc_Click, 2);  // PC6 data box now disabled

    rig.program->unloadGpioScreen();
    EXPECT_FALSE(rig.program->hasGpioScreen());
    FrmGPIO& g = gpio();

    EXPECT_EQ(Hex(g), (Texts{"01", "--", "00", "--", "F7", "--", "FD", "--"}));
    EXPECT_FALSE(g.chkOutEn[0].checked());
    EXPECT_TRUE(g.ChkBData[3].checked());
    EXPECT_TRUE(g.ChKLedData[1].checked());
    EXPECT_TRUE(g.ChkCData[2].enabled());
    EXPECT_EQ(Lamps(g), (Colors{BK, BK, BK, BK, BK}));

    // A click changes only its own bit, not the bits the boxes disagree with.
    Click(g, g.ChkBData[5], &FrmGPIO::ChkBData_Click, 5);
    EXPECT_EQ(rig.wb->GpioState.portBData, 0xD7);
    Click(g, g.chkOutEn[4], &FrmGPIO::chkOutEn_Click, 4);
    EXPECT_EQ(rig.wb->GpioState.portBEnables, 0x11);
    EXPECT_EQ(rig.wb->GpioState.portCLedData, 0xFD);
}

TEST_F(GpioLifecycle, UnloadKeepsGpioStateAndTheNextWriteSendsIt) {
    FrmGPIO& old = gpio();
    Click(old, old.ChkBData[0], &FrmGPIO::ChkBData_Click, 0);
    rig.program->unloadGpioScreen();
    EXPECT_EQ(rig.wb->GpioState.portBData, 0xFE);

    gpio().cmdWrite_GPIO_Data_Click();
    ASSERT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.sent()[0].bytes, (Bytes{0xFE, 0xFF}));
}

// The user closes the screen while a write yields: the write completes on the old model,
// which is freed once the write returns, and the next reference loads a fresh screen.
TEST_F(GpioLifecycle, ScreenClosedInsideItsOwnHandlerIsFreedWhenTheHandlerReturns) {
    std::weak_ptr<FrmGPIO> old = rig.program->gpioScreenModel();
    FrmGPIO& screen = gpio();
    bool aliveInside = false;
    rig.pump.atYield(0, [&] {
        rig.program->unloadGpioScreen();
        aliveInside = !old.expired();
    });
    screen.cmdGPIO_Write_Click();
    EXPECT_TRUE(aliveInside);
    EXPECT_EQ(rig.sent().size(), 1u);
    EXPECT_FALSE(rig.wb->usb.UsbOpen) << "the write ran to its close";
    EXPECT_FALSE(rig.program->hasGpioScreen());
    EXPECT_TRUE(old.expired()) << "the closed screen is kept after its handler returned";
    EXPECT_NE(rig.program->gpioScreenModel(), old.lock());
}

}  // namespace
}  // namespace i2cbridge::testing
