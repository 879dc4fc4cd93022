// The GPIO screen model against the simulated board: the two frames, the read-back boxes and
// lamps, the check boxes' bits, and the screen's life across start-up, unload and reload.

#include "gpio/frm_gpio.h"

#include <gtest/gtest.h>

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "support/fakes.h"

namespace i2cbridge::testing {
namespace {

using Bytes = std::vector<uint8_t>;
using Texts = std::vector<std::string>;
using Colors = std::vector<int>;
constexpr int LG = qb::kLightGreen, G = qb::kGreen, LR = qb::kLightRed, BK = qb::kBlack;

// The program after start-up: the main window has loaded and made its GPIO write.
struct Gpio : ::testing::Test {
    void SetUp() override {
        rig.main();
        rig.clearSent();
        rig.markLog();
    }
    FrmGPIO& g() { return rig.gpio(); }
    GpioBytes& state() { return rig.wb->GpioState; }
    // User clicks on boxes, as "B3 E7": each box flips, then its handler runs. B and C are the
    // PB and PC data boxes, E and F the PB and PC enables, L the LEDs; the digit is the index.
    void clicks(const std::string& codes) {
        for (std::size_t at = 0; at + 1 < codes.size(); at += 3) {
            const int i = codes[at + 1] - '0';
            FrmGPIO& s = g();
            const auto [box, handler] =
                codes[at] == 'B'   ? std::pair(&s.ChkBData[i], &FrmGPIO::ChkBData_Click)
                : codes[at] == 'C' ? std::pair(&s.ChkCData[i], &FrmGPIO::ChkCData_Click)
                : codes[at] == 'E' ? std::pair(&s.chkOutEn[i], &FrmGPIO::chkOutEn_Click)
                : codes[at] == 'F' ? std::pair(&s.chkOutEnc[i], &FrmGPIO::chkOutEnc_Click)
                                   : std::pair(&s.ChKLedData[i], &FrmGPIO::ChKLedData_Click);
            s.setChecked(*box, !box->checked(), handler, i);
        }
    }
    // The hex boxes: enables PB, PB read back, enables PC, PC read back, then the data bytes.
    Texts hex() {
        Texts texts;
        for (const auto* boxes : {&g().txtPCHex, &g().txtPCHexData})
            for (const TextBox& box : *boxes) texts.push_back(box.text());
        return texts;
    }
    // The lamps: "Update Enables", the PB and PC enable read-backs, and the two data writes.
    Colors lamps() {
        Colors colors;
        for (int lamp : {0, 2, 3, 4, 5}) colors.push_back(g().shpGpioWr[lamp].color());
        return colors;
    }
    Rig rig;
};

// The two frames carry no command byte: data first, enables after in the longer one. The
// bytes are the state as it stands, whichever window set it (a script's GPIO command writes
// whole bytes, port C bits 2 and 3 included); the answer is 25 bytes long, and WriteByteCount
// keeps the frame's length. Data only leaves the enable lamps and "Update Enables" alone.
TEST_F(Gpio, FramesCarryTheStateDataFirst) {
    const struct {
        GpioBytes state;
        bool withEnables;
        Bytes frame;
        Colors lamps;  // on a fresh screen
    } cases[] = {
        // clang-format off
        {{0x00, 0x00, 0xFF, 0xFF}, true, {0xFF, 0xFF, 0x00, 0x00}, {LG, LG, LG, LG, LG}},
        {{0x00, 0x00, 0xFF, 0xFF}, false, {0xFF, 0xFF}, {BK, BK, BK, LG, LG}},
        {{0x0F, 0x0C, 0xA5, 0x3C}, true, {0xA5, 0x3C, 0x0F, 0x0C}, {LG, LG, LG, LG, LG}},
        // clang-format on
    };
    for (const auto& c : cases) {
        rig.clearSent();
        rig.program->unloadGpioScreen();
        state() = c.state;
        c.withEnables ? g().cmdGPIO_Write_Click() : g().cmdWrite_GPIO_Data_Click();
        EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x01, c.frame}}));
        EXPECT_EQ(lamps(), c.lamps);
        EXPECT_EQ(rig.wb->usb.TransferLength, 25u);
        EXPECT_EQ(rig.wb->i2c.WriteByteCount, int(c.frame.size()));
    }
}

// The boxes show what the board answers, not what was written; the enable lamps compare the
// answer with the state. Undriven pins read their inputs; PC reads 53: PC4..7 inputs 5, the
// LED latch bits 0 and 1 set.
TEST_F(Gpio, ReadBackShowsWhatTheBoardAnswers) {
    rig.board.model().gpio().pbInputs = 0x3C;
    rig.board.model().gpio().pcInputs = 0x50;
    const GpioOutcome outcome = g().cmdGPIO_Write_Click();
    EXPECT_EQ(hex(), (Texts{"00", "00", "00", "00", "FF", "3C", "FF", "53"}));
    EXPECT_EQ(outcome.readBackText(), "3C530000");

    clicks("E0 B0 F3");
    g().cmdGPIO_Write_Click();
    EXPECT_EQ(hex(), (Texts{"01", "01", "80", "80", "FE", "3C", "FF", "D3"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LG, LG}));

    // A reply one byte short leaves the missing bytes at zero.
    rig.board.injectTransferFault({0x81, usb_status::kSuccess, 1u});
    g().cmdGPIO_Write_Click();
    EXPECT_EQ(hex(), (Texts{"01", "00", "80", "00", "FE", "3C", "FF", "00"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LR, LR}));
}

// A failed read, or a board held closed by hand, shows zeros read and reddens only the enable
// lamps whose state is not zero; the operation runs to its end.
TEST_F(Gpio, FailedExchangesShowZerosRead) {
    clicks("E2");  // PB enables 04, PC enables 00
    rig.board.injectTransferFault({0x81, usb_status::kIo, std::nullopt});
    EXPECT_EQ(g().cmdGPIO_Write_Click().error, CoreError::TransferFailed);
    EXPECT_EQ(hex(), (Texts{"04", "00", "00", "00", "FF", "00", "FF", "00"}));
    EXPECT_EQ(lamps(), (Colors{G, LR, LG, G, G}));  // the write lamps flip all the same
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &H"),
              std::string::npos);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);

    rig.main().ChKManUsbConn.setChecked(true);
    rig.main().ChKManUsbConn_Click();
    clicks("E2 F1");
    rig.markLog();
    const GpioOutcome outcome = g().cmdGPIO_Write_Click();
    EXPECT_EQ(std::pair(outcome.error, outcome.readBackText()),
              std::pair(CoreError::NoBoard, std::string("00000000")));
    EXPECT_EQ(rig.sent().size(), 1u);
    EXPECT_EQ(rig.messagesSinceMark(),
              (Texts{"Write GPIOPipe .. USB Not opened", "ReadPipe .. USB Not opened"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LG, LR}));
}

// Each box sets or clears its own bit, PC's data and enables in bits 4 to 7, and shows the
// byte, without sending; a box whose bit is already clear keeps it clear. An enable box greys
// its data box, which keeps its check state.
TEST_F(Gpio, CheckBoxesSetTheirOwnBitWithoutSending) {
    const struct {
        const char* clicks;
        GpioBytes before, after;
    } cases[] = {{"B3 B3", {0x00, 0x00, 0xFF, 0xFF}, {0x00, 0x00, 0xFF, 0xFF}},
                 {"B3", {0x00, 0x00, 0xFF, 0xFF}, {0x00, 0x00, 0xF7, 0xFF}},
                 {"C3 C0", {0x00, 0x00, 0xFF, 0xFF}, {0x00, 0x00, 0xFF, 0x6F}},
                 {"F0 E7 E1 E7", {0x00, 0x00, 0xFF, 0xFF}, {0x02, 0x10, 0xFF, 0xFF}},
                 {"L0 L1", {0x00, 0x00, 0xFF, 0xFF}, {0x00, 0x00, 0xFF, 0xFC}},
                 {"B0 L1", {0x00, 0x00, 0xF0, 0xFE}, {0x00, 0x00, 0xF0, 0xFC}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.clicks);
        rig.program->unloadGpioScreen();
        state() = c.before;
        clicks(c.clicks);
        EXPECT_EQ(state(), c.after);
        const Texts shown = hex();
        EXPECT_EQ((Texts{shown[0], shown[2], shown[4], shown[6]}),
                  (Texts{HexByteText(c.after.portBEnables), HexByteText(c.after.portCLedEnables),
                         HexByteText(c.after.portBData), HexByteText(c.after.portCLedData)}));
    }
    EXPECT_TRUE(rig.sent().empty());
    clicks("F0 E7 F0 E7");
    EXPECT_EQ((std::vector<bool>{g().ChkCData[0].enabled(), g().ChkCData[0].checked(),
                                 g().ChkCData[1].enabled(), g().ChkBData[7].enabled()}),
              (std::vector<bool>{false, true, true, false}));
    // Set from code (as the communications test does), a box runs its handler only on a change.
    state().portCLedData = 0xFE;
    g().setChecked(g().ChKLedData[0], true, &FrmGPIO::ChKLedData_Click, 0);
    EXPECT_EQ(state().portCLedData, 0xFE);
}

// A reloaded screen starts its boxes afresh (data checked, enables not) and shows the state; a
// click then changes only its own bit, not the bits the boxes disagree with.
TEST_F(Gpio, ReloadAfterUnloadStartsBoxesAfreshAndShowsTheState) {
    clicks("E0 B3 L1");
    rig.program->unloadGpioScreen();
    EXPECT_EQ(hex(), (Texts{"01", "--", "00", "--", "F7", "--", "FD", "--"}));
    EXPECT_TRUE(g().ChkBData[3].checked() && g().ChKLedData[1].checked());
    EXPECT_EQ(lamps(), (Colors{BK, BK, BK, BK, BK}));
    clicks("B5 E4");
    EXPECT_EQ(state(), (GpioBytes{0x11, 0x00, 0xD7, 0xFD}));
    g().cmdWrite_GPIO_Data_Click();
    EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x01, {0xD7, 0xFD}}}));
}

// The user closes the screen while a write yields: the write completes on the old model,
// which is freed once the write returns, and the next reference loads a fresh screen.
TEST_F(Gpio, ScreenClosedInsideItsOwnHandlerIsFreedWhenTheHandlerReturns) {
    std::weak_ptr<FrmGPIO> old = rig.program->gpioScreenModel();
    FrmGPIO& screen = g();
    bool aliveInside = false;
    rig.pump.atYield(0, [&] {
        rig.program->unloadGpioScreen();
        aliveInside = !old.expired();
    });
    screen.cmdGPIO_Write_Click();
    EXPECT_TRUE(aliveInside);
    EXPECT_FALSE(rig.wb->usb.UsbOpen) << "the write ran to its close";
    EXPECT_FALSE(rig.program->hasGpioScreen());
    EXPECT_TRUE(old.expired()) << "the closed screen is kept after its handler returned";
}

}  // namespace
}  // namespace i2cbridge::testing
