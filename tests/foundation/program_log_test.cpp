#include "foundation/program_log.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace i2cbridge {
namespace {

using testing::Entry;
using testing::FakePump;

class ProgramLogTest : public ::testing::Test {
protected:
    FakePump clock;
    ColorSet colors;
    LogPanel panel;
    ProgramLog log{clock, colors, [this]() -> LogPanel& { return panel; }};

    void SetUp() override { colors.InitColors(); }
};

TEST_F(ProgramLogTest, EntryIsTextStampAndTheSuffixTwice) {
    log.LogMessage("Already Opened", "\r\n");
    EXPECT_EQ(panel.Txtlog.text(), "Already Opened :11-18-2026 17:05:09\r\n\r\n");
}

TEST_F(ProgramLogTest, StampIsZeroPaddedWithHyphensAndTwentyFourHourTime) {
    clock.clock = {2027, 3, 4, 7, 8, 9};
    log.LogNote("x");
    clock.clock = {2026, 12, 31, 23, 59, 58};
    log.LogNote("y");
    EXPECT_EQ(panel.Txtlog.text(),
              "x :03-04-2027 07:08:09\r\n\r\n"
              "y :12-31-2026 23:59:58\r\n\r\n");
}

TEST_F(ProgramLogTest, EmptyMessageAndTextEndingInLineBreak) {
    log.LogMessage("", "\r\n");
    log.LogMessage("Setting up\r\n", "\r\n");
    EXPECT_EQ(panel.Txtlog.text(),
              " :11-18-2026 17:05:09\r\n\r\n"
              "Setting up\r\n :11-18-2026 17:05:09\r\n\r\n");
}

TEST_F(ProgramLogTest, OtherSuffixIsAlsoWrittenTwice) {
    AppendLogLine(panel.Txtlog, "a", "|", false, clock.now());
    EXPECT_EQ(panel.Txtlog.text(), "a :11-18-2026 17:05:09||");
    AppendLogLine(panel.Txtlog, "b", "", true, clock.now());
    EXPECT_EQ(panel.Txtlog.text(), "b :11-18-2026 17:05:09");
}

TEST_F(ProgramLogTest, ErrorTurnsTheLampLightRedUntilTheFlagIsCleared) {
    log.LogMessage("ok");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kLightGreen);
    log.LogError("bad");
    EXPECT_TRUE(log.LogErrorFlag);
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kLightRed);
    log.LogMessage("still bad");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kLightRed);
    log.LogErrorFlag = false;                              // what a successful transfer does
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kLightRed);  // only the next message repaints
    log.LogMessage("good again");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kLightGreen);
    EXPECT_EQ(panel.Txtlog.text(),
              Entry("ok") + Entry("bad") + Entry("still bad") + Entry("good again"));
}

TEST_F(ProgramLogTest, NotesNeverRepaintTheLampNorTouchTheFlag) {
    panel.shpLogStatus.setColor(qb::kGreen);
    log.LogNote("attach");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kGreen);
    EXPECT_FALSE(log.LogErrorFlag);
    log.LogErrorFlag = true;
    log.LogNote("detach");
    EXPECT_TRUE(log.LogErrorFlag);
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kGreen);
}

TEST_F(ProgramLogTest, BeforeTheColoursAreAssignedLampsArePaintedBlack) {
    ColorSet unassigned;
    ProgramLog early{clock, unassigned, [this]() -> LogPanel& { return panel; }};
    early.LogMessage("probe");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kBlack);
    early.LogError("probe failed");
    EXPECT_EQ(panel.shpLogStatus.color(), qb::kBlack);
}

TEST_F(ProgramLogTest, ViewIsToldOnlyWhatWasAppended) {
    std::string seen;
    int clears = 0;
    panel.Txtlog.onAppend = [&](std::string_view s) { seen.append(s); };
    panel.Txtlog.onClear = [&] { ++clears; };
    log.LogMessage("one");
    log.LogMessage("two");
    EXPECT_EQ(seen, panel.Txtlog.text());
    panel.Txtlog.clear();
    EXPECT_EQ(clears, 1);
    log.LogMessage("three");
    EXPECT_EQ(panel.Txtlog.text(), Entry("three"));  // no leading blank line after a clear
}

TEST(ColorSetTest, PaletteAndToggle) {
    ColorSet colors;
    EXPECT_EQ(colors.lightGreen(), 0);
    colors.InitColors();
    EXPECT_EQ(colors.off(), qb::kBlack);
    EXPECT_EQ(colors.green(), qb::kGreen);
    EXPECT_EQ(colors.lightGreen(), qb::kLightGreen);
    EXPECT_EQ(colors.lightRed(), qb::kLightRed);
    EXPECT_EQ(QBColorRgb(2), 0x008000u);
    EXPECT_EQ(QBColorRgb(10), 0x00FF00u);
    EXPECT_EQ(QBColorRgb(12), 0xFF0000u);
    EXPECT_EQ(QBColorRgb(99), 0u);

    Lamp lamp;
    ToggleSuccessLamp(lamp, colors);  // an unpainted lamp becomes light green
    EXPECT_EQ(lamp.color(), qb::kLightGreen);
    ToggleSuccessLamp(lamp, colors);
    EXPECT_EQ(lamp.color(), qb::kGreen);
    ToggleSuccessLamp(lamp, colors);
    EXPECT_EQ(lamp.color(), qb::kLightGreen);
    lamp.setColor(qb::kLightRed);
    ToggleSuccessLamp(lamp, colors);
    EXPECT_EQ(lamp.color(), qb::kLightGreen);
}

TEST(ControlsTest, ChangeHookFiresOnlyOnRealChanges) {
    TextBox box{"60"};
    int changes = 0;
    box.onChange = [&] { ++changes; };
    box.setText("60");
    box.setVisible(true);
    EXPECT_EQ(changes, 0);
    box.setText("61");
    box.setVisible(false);
    box.setToolTip("tip");
    EXPECT_EQ(changes, 3);
}

}  // namespace
}  // namespace i2cbridge
