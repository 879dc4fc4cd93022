// The GPIO screen model against the simulated board: the two frames, the read-back boxes and
// lamps, the check boxes' bits, and the screen's life across start-up, unload and reload.

#include "gpio/frm_gpio.h"

#include <gtest/gtest.h>

#include <functional>

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
    // A user click on a box: the box flips, then its handler runs.
    template <std::size_t N>
    void click(std::array<CheckBox, N> FrmGPIO::*boxes, void (FrmGPIO::*handler)(int), int index) {
        CheckBox& box = (g().*boxes)[index];
        g().setChecked(box, !box.checked(), handler, index);
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
// bytes are the state as it stands, whichever window set it; the answer is 25 bytes long, and
// WriteByteCount keeps the frame's length.
TEST_F(Gpio, FramesCarryTheStateDataFirst) {
    const struct {
        const char* name;
        std::function<void(Gpio&)> before;
        bool withEnables;
        Bytes frame;
    } cases[] = {
        {"start state", [](Gpio&) {}, true, {0xFF, 0xFF, 0x00, 0x00}},
        {"data only", [](Gpio&) {}, false, {0xFF, 0xFF}},
        {"boxes clicked",
         [](Gpio& t) {
             t.click(&FrmGPIO::ChkBData, &FrmGPIO::ChkBData_Click, 3);
             t.click(&FrmGPIO::chkOutEnc, &FrmGPIO::chkOutEnc_Click, 0);
             t.click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 7);
             t.click(&FrmGPIO::ChKLedData, &FrmGPIO::ChKLedData_Click, 0);
         },
         true,
         {0xF7, 0xFE, 0x80, 0x10}},
        // A script's GPIO command writes whole bytes, port C bits 2 and 3 included.
        {"whole bytes",
         [](Gpio& t) {
             t.state() = {0x0F, 0x0C, 0xA5, 0x3C};
         },
         true,
         {0xA5, 0x3C, 0x0F, 0x0C}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        rig.clearSent();
        c.before(*this);
        c.withEnables ? g().cmdGPIO_Write_Click() : g().cmdWrite_GPIO_Data_Click();
        EXPECT_EQ(rig.sent(), (std::vector<WireFrame>{{0x01, c.frame}}));
        EXPECT_EQ(rig.wb->usb.TransferLength, 25u);
        EXPECT_EQ(rig.wb->i2c.WriteByteCount, int(c.frame.size()));
        EXPECT_FALSE(rig.wb->usb.UsbOpen);
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
    EXPECT_EQ(outcome.error, CoreError::None);
    EXPECT_EQ(outcome.written, (GpioBytes{0x00, 0x00, 0xFF, 0xFF}));
    EXPECT_EQ(outcome.readBackText(), "3C530000");
    EXPECT_EQ(g().cmdWrite_GPIO_Data_Click().readBackText(), "3C53");

    click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 0);
    click(&FrmGPIO::ChkBData, &FrmGPIO::ChkBData_Click, 0);
    click(&FrmGPIO::chkOutEnc, &FrmGPIO::chkOutEnc_Click, 3);
    g().cmdGPIO_Write_Click();
    EXPECT_EQ(hex(), (Texts{"01", "01", "80", "80", "FE", "3C", "FF", "D3"}));
    EXPECT_EQ(lamps()[1], LG);
    EXPECT_EQ(lamps()[2], LG);

    // A reply one byte short leaves the missing bytes at zero.
    rig.board.injectTransferFault({0x81, usb_status::kSuccess, 1u});
    g().cmdGPIO_Write_Click();
    EXPECT_EQ(hex(), (Texts{"01", "00", "80", "00", "FE", "3C", "FF", "00"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LR, LR}));
}

// A failed read, or a board held closed by hand, shows zeros read and reddens only the enable
// lamps whose state is not zero; the operation runs to its end.
TEST_F(Gpio, FailedExchangesShowZerosRead) {
    click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 2);  // PB enables 04, PC enables 00
    rig.board.injectTransferFault({0x81, usb_status::kIo, std::nullopt});
    EXPECT_EQ(g().cmdGPIO_Write_Click().error, CoreError::TransferFailed);
    EXPECT_EQ(hex(), (Texts{"04", "00", "00", "00", "FF", "00", "FF", "00"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LR, LG}));
    EXPECT_NE(rig.logSinceMark().find("ReadPipe: WDU_Transfer() failed: error &H"),
              std::string::npos);
    EXPECT_FALSE(rig.wb->usb.UsbOpen);

    rig.main().ChKManUsbConn.setChecked(true);
    rig.main().ChKManUsbConn_Click();
    click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 2);
    click(&FrmGPIO::chkOutEnc, &FrmGPIO::chkOutEnc_Click, 1);
    rig.markLog();
    const GpioOutcome outcome = g().cmdGPIO_Write_Click();
    EXPECT_EQ(std::pair(outcome.error, outcome.readBackText()),
              std::pair(CoreError::NoBoard, std::string("00000000")));
    EXPECT_TRUE(rig.sent().size() == 1u);
    EXPECT_EQ(rig.messagesSinceMark(),
              (Texts{"Write GPIOPipe .. USB Not opened", "ReadPipe .. USB Not opened"}));
    EXPECT_EQ((Colors{lamps()[1], lamps()[2]}), (Colors{LG, LR}));
}

// The write lamps flip between the two greens on every write, failed or not; data only flips
// 4 and 5 and leaves the enable read-back, its lamps and "Update Enables" alone.
TEST_F(Gpio, WriteLampsFlipOnEveryWrite) {
    rig.program->unloadGpioScreen();
    std::vector<Colors> seen{lamps()};
    for (int k = 0; k < 3; ++k) {
        g().cmdGPIO_Write_Click();
        seen.push_back(lamps());
    }
    rig.board.injectTransferFault({0x01, usb_status::kTimeout, std::nullopt});
    EXPECT_EQ(g().cmdWrite_GPIO_Data_Click().error, CoreError::TransferFailed);
    seen.push_back(lamps());
    EXPECT_EQ(seen, (std::vector<Colors>{{BK, BK, BK, BK, BK},
                                         {LG, LG, LG, LG, LG},
                                         {G, LG, LG, G, G},
                                         {LG, LG, LG, LG, LG},
                                         {LG, LG, LG, G, G}}));
    rig.program->unloadGpioScreen();
    g().cmdWrite_GPIO_Data_Click();
    EXPECT_EQ(hex(), (Texts{"00", "--", "00", "--", "FF", "FF", "FF", "FF"}));
}

// Each box sets or clears its own bit and shows the byte; an enable box greys its data box
// (which keeps its check state). Setting a box from code runs its handler only on a change.
TEST_F(Gpio, CheckBoxesSetTheirOwnBitWithoutSending) {
    using F = FrmGPIO;
    const struct {
        const char* name;
        std::function<void(Gpio&)> clicks;
        GpioBytes state;
    } cases[] = {
        {"PB data 3, twice",
         [](Gpio& t) {
             for (int k = 0; k < 2; ++k) t.click(&F::ChkBData, &F::ChkBData_Click, 3);
         },
         {0x00, 0x00, 0xFF, 0xFF}},
        {"PB data 3",
         [](Gpio& t) { t.click(&F::ChkBData, &F::ChkBData_Click, 3); },
         {0x00, 0x00, 0xF7, 0xFF}},
        {"PC data 3 then 0",
         [](Gpio& t) {
             t.click(&F::ChkCData, &F::ChkCData_Click, 3);
             t.click(&F::ChkCData, &F::ChkCData_Click, 0);
         },
         {0x00, 0x00, 0xFF, 0x6F}},
        {"PC enable 0, and PB enables 7, 1, 7",
         [](Gpio& t) {
             t.click(&F::chkOutEnc, &F::chkOutEnc_Click, 0);
             for (int i : {7, 1, 7}) t.click(&F::chkOutEn, &F::chkOutEn_Click, i);
         },
         {0x02, 0x10, 0xFF, 0xFF}},
        {"both LEDs off",
         [](Gpio& t) {
             for (int i : {0, 1}) t.click(&F::ChKLedData, &F::ChKLedData_Click, i);
         },
         {0x00, 0x00, 0xFF, 0xFC}},
        // Another window cleared PB0 and the red LED; the screen's boxes still show them set.
        {"bits already clear",
         [](Gpio& t) {
             t.state() = {0x00, 0x00, 0xF0, 0xFE};
             t.click(&F::ChkBData, &F::ChkBData_Click, 0);
             t.g().setChecked(t.g().ChKLedData[0], true, &F::ChKLedData_Click, 0);
             t.g().setChecked(t.g().ChKLedData[1], false, &F::ChKLedData_Click, 1);
         },
         {0x00, 0x00, 0xF0, 0xFC}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        rig.program->unloadGpioScreen();
        state() = {0x00, 0x00, 0xFF, 0xFF};
        c.clicks(*this);
        EXPECT_EQ(state(), c.state);
        const Texts shown = hex();
        EXPECT_EQ((Texts{shown[0], shown[2], shown[4], shown[6]}),
                  (Texts{HexByteText(c.state.portBEnables), HexByteText(c.state.portCLedEnables),
                         HexByteText(c.state.portBData), HexByteText(c.state.portCLedData)}));
    }
    EXPECT_TRUE(rig.sent().empty());
    for (int k = 0; k < 2; ++k) {
        click(&F::chkOutEnc, &F::chkOutEnc_Click, 0);
        click(&F::chkOutEn, &F::chkOutEn_Click, 7);
    }
    EXPECT_EQ((std::vector<bool>{g().ChkCData[0].enabled(), g().ChkCData[0].checked(),
                                 g().ChkCData[1].enabled(), g().ChkBData[7].enabled()}),
              (std::vector<bool>{false, true, true, false}));
}

TEST(GpioStartUp, BoardAbsentAtStartUpShowsZerosRead) {
    Rig rig;
    rig.board.unplug();
    rig.main();
    EXPECT_EQ(rig.gpio().txtPCHexData[1].text() + rig.gpio().txtPCHex[1].text(), "0000");
    // Both enable bytes of the start state are 00, so the zeros still agree with them.
    EXPECT_EQ(rig.gpio().shpGpioWr[2].color(), LG);
    EXPECT_EQ(rig.gpio().cmdWrite_GPIO_Data_Click().error, CoreError::NoBoard);
}

// A reloaded screen starts its boxes afresh (data checked, enables not) and shows the state; a
// click then changes only its own bit, not the bits the boxes disagree with.
TEST_F(Gpio, ReloadAfterUnloadStartsBoxesAfreshAndShowsTheState) {
    click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 0);
    click(&FrmGPIO::ChkBData, &FrmGPIO::ChkBData_Click, 3);
    click(&FrmGPIO::ChKLedData, &FrmGPIO::ChKLedData_Click, 1);
    rig.program->unloadGpioScreen();
    EXPECT_FALSE(rig.program->hasGpioScreen());
    EXPECT_EQ(hex(), (Texts{"01", "--", "00", "--", "F7", "--", "FD", "--"}));
    EXPECT_FALSE(g().chkOutEn[0].checked());
    EXPECT_TRUE(g().ChkBData[3].checked() && g().ChKLedData[1].checked());
    EXPECT_EQ(lamps(), (Colors{BK, BK, BK, BK, BK}));
    click(&FrmGPIO::ChkBData, &FrmGPIO::ChkBData_Click, 5);
    click(&FrmGPIO::chkOutEn, &FrmGPIO::chkOutEn_Click, 4);
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
    EXPECT_EQ(rig.sent().size(), 1u);
    EXPECT_FALSE(rig.wb->usb.UsbOpen) << "the write ran to its close";
    EXPECT_FALSE(rig.program->hasGpioScreen());
    EXPECT_TRUE(old.expired()) << "the closed screen is kept after its handler returned";
    EXPECT_NE(rig.program->gpioScreenModel(), old.lock());
}

}  // namespace
}  // namespace i2cbridge::testing
