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
    ProgramLog log{clock, colors};
    const std::string& text() { return log.Txtlog.text(); }
    int lamp() { return log.shpLogStatus.color(); }

    void SetUp() override { colors.InitColors(); }
};

// The stamp is always mm-dd-yyyy hh:mm:ss, zero-padded with a 24-hour clock, whatever the
// user's regional settings; the suffix is written twice.
TEST_F(ProgramLogTest, EntryIsTextStampAndTheSuffixTwice) {
    log.LogMessage("Already Opened", "\r\n");
    clock.clock = {2027, 3, 4, 7, 8, 9};
    log.LogNote("x");
    clock.clock = {2026, 12, 31, 23, 59, 58};
    log.LogMessage("");
    log.LogMessage("Setting up\r\n");
    EXPECT_EQ(text(),
              "Already Opened :11-18-2026 17:05:09\r\n\r\n"
              "x :03-04-2027 07:08:09\r\n\r\n"
              " :12-31-2026 23:59:58\r\n\r\n"
              "Setting up\r\n :12-31-2026 23:59:58\r\n\r\n");

    LogBox box;
    AppendLogLine(box, "a", "|", false, clock.now());
    EXPECT_EQ(box.text(), "a :12-31-2026 23:59:58||");
    AppendLogLine(box, "b", "", true, clock.now());
    EXPECT_EQ(box.text(), "b :12-31-2026 23:59:58");
}

TEST_F(ProgramLogTest, ErrorTurnsTheLampLightRedUntilTheFlagIsClearedAndAMessageFollows) {
    log.LogMessage("ok");
    EXPECT_EQ(lamp(), qb::kLightGreen);
    log.LogError("bad");
    EXPECT_TRUE(log.LogErrorFlag);
    EXPECT_EQ(lamp(), qb::kLightRed);
    log.LogMessage("still bad");
    EXPECT_EQ(lamp(), qb::kLightRed);
    log.LogErrorFlag = false;  // what a successful transfer does
    EXPECT_EQ(lamp(), qb::kLightRed);
    log.LogMessage("good again");
    EXPECT_EQ(lamp(), qb::kLightGreen);
    EXPECT_EQ(text(), Entry("ok") + Entry("bad") + Entry("still bad") + Entry("good again"));
}

TEST_F(ProgramLogTest, NotesNeverRepaintTheLampNorTouchTheFlag) {
    log.shpLogStatus.setColor(qb::kGreen);
    log.LogNote("attach");
    EXPECT_FALSE(log.LogErrorFlag);
    log.LogErrorFlag = true;
    log.LogNote("detach");
    EXPECT_TRUE(log.LogErrorFlag);
    EXPECT_EQ(lamp(), qb::kGreen);
}

TEST_F(ProgramLogTest, BeforeTheColoursAreAssignedLampsArePaintedBlack) {
    ColorSet unassigned;
    ProgramLog early{clock, unassigned};
    early.LogMessage("probe");
    EXPECT_EQ(early.shpLogStatus.color(), qb::kBlack);
    early.LogError("probe failed");
    EXPECT_EQ(early.shpLogStatus.color(), qb::kBlack);
}

TEST_F(ProgramLogTest, ViewAndListenerAreToldOnlyWhatWasAppended) {
    std::string seen;
    std::vector<std::string> entries;
    int clears = 0;
    log.Txtlog.onAppend = [&](std::string_view s) { seen.append(s); };
    log.Txtlog.onClear = [&] { ++clears; };
    log.onEntry = [&](std::string_view s) { entries.emplace_back(s); };
    log.LogMessage("one");
    log.LogError("two");
    log.LogNote("three");
    EXPECT_EQ(seen, text());
    EXPECT_EQ(entries, (std::vector<std::string>{"one", "two", "three"}));
    log.Txtlog.clear();
    EXPECT_EQ(clears, 1);
    log.LogMessage("four");
    EXPECT_EQ(text(), Entry("four"));  // no leading blank line after a clear
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
    for (int expected : {qb::kLightGreen, qb::kGreen, qb::kLightGreen}) {
        ToggleSuccessLamp(lamp, colors);  // an unpainted lamp becomes light green
        EXPECT_EQ(lamp.color(), expected);
    }
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
