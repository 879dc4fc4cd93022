#include "foundation/program_log.h"

#include <gtest/gtest.h>

#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge {
namespace {

using testing::FakePump;

// One entry as the fake clock stamps it; the only place a test spells out the stamp.
std::string Entry(const std::string& text) {
    return text + " :11-18-2026 17:05:09\r\n\r\n";
}

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

// An error turns the lamp light red until the flag is cleared and a message follows; notes
// never repaint it nor touch the flag; before the colours are assigned it is painted black.
TEST_F(ProgramLogTest, LampFollowsErrorsAndMessagesOnly) {
    ColorSet unassigned;
    ProgramLog early{clock, unassigned};
    early.LogMessage("probe");
    early.LogError("probe failed");
    EXPECT_EQ(early.shpLogStatus.color(), qb::kBlack);

    std::vector<int> lamps;
    log.LogMessage("ok");
    lamps.push_back(lamp());
    log.LogError("bad");
    lamps.push_back(lamp());
    log.LogMessage("still bad");
    lamps.push_back(lamp());
    log.LogErrorFlag = false;  // what a successful transfer does
    log.LogNote("note");
    EXPECT_FALSE(log.LogErrorFlag);
    lamps.push_back(lamp());
    log.LogMessage("good again");
    lamps.push_back(lamp());
    log.LogErrorFlag = true;
    log.LogNote("detach");
    EXPECT_TRUE(log.LogErrorFlag);
    lamps.push_back(lamp());
    EXPECT_EQ(lamps, std::vector({qb::kLightGreen, qb::kLightRed, qb::kLightRed, qb::kLightRed,
                                  qb::kLightGreen, qb::kLightGreen}));
    EXPECT_EQ(text(), Entry("ok") + Entry("bad") + Entry("still bad") + Entry("note") +
                          Entry("good again") + Entry("detach"));
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

// The box keeps the newest entries; when full, the oldest block goes and the first line
// counts every entry dropped since the last clear. The view is told to read the text again.
TEST_F(ProgramLogTest, BoxKeepsTheNewestEntriesAndSaysHowManyWentFirst) {
    const auto dropped = [](int n, const std::string& file = "") {
        return "(" + std::to_string(n) + " older entries dropped from this view; " +
               (file.empty() ? "File > Save Log... keeps the log in a file)"
                             : "every entry is written to " + file + ")") +
               "\r\n\r\n";
    };
    const auto entries = [](int from, int to) {
        std::string text;
        for (int i = from; i <= to; ++i) text += Entry(std::to_string(i));
        return text;
    };
    struct Case {
        std::size_t keep, drop;
        int written;
        std::string expected;
    } cases[] = {
        {3, 1, 3, entries(1, 3)},               // full, nothing dropped yet
        {3, 1, 9, dropped(6) + entries(7, 9)},  // the count adds up, one line only
        {4, 2, 5, dropped(2) + entries(3, 5)},  // a block of two: fewer than kept
        {1, 5, 2, dropped(1) + entries(2, 2)},  // the block is at most what is kept
        {0, 0, 2, dropped(1) + entries(2, 2)},  // and at least one
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.keep << "/" << c.drop << " after " << c.written);
        ProgramLog small{clock, colors};
        small.keepAtMost(c.keep, c.drop);
        int rereads = 0;
        small.Txtlog.onClear = [&] { ++rereads; };
        for (int i = 1; i <= c.written; ++i) small.LogMessage(std::to_string(i));
        EXPECT_EQ(small.Txtlog.text(), c.expected);
        EXPECT_EQ(rereads > 0, small.dropped() > 0);
        small.Clear();  // a clear starts the count again
        small.LogNote("x");
        EXPECT_EQ(small.Txtlog.text(), Entry("x"));
        EXPECT_EQ(small.dropped(), 0u);
    }

    // A box emptied behind the log's back (or one that keeps nothing) is counted afresh.
    log.keepAtMost(2, 1);
    log.LogNote("a");
    log.LogNote("b");
    log.Txtlog.clear();
    log.LogNote("c");
    log.LogNote("d");
    EXPECT_EQ(text(), Entry("c") + Entry("d"));
    log.LogNote("e");
    EXPECT_EQ(text(), dropped(1) + Entry("d") + Entry("e"));
}

// A chosen file receives every entry, also those the box has dropped; Save Log writes what the
// box shows first. A file that cannot be written is reported and loses nothing already saved.
TEST_F(ProgramLogTest, LogFileReceivesEveryEntry) {
    testing::TempDir dir;
    const std::string streamed = dir.file("streamed.log");
    const std::string saved = dir.file("saved.log");
    testing::WriteBytes(streamed, "earlier run\n");
    log.keepAtMost(2, 1);
    log.LogMessage("before");
    ASSERT_EQ(log.streamTo(streamed), std::nullopt);
    for (const char* t : {"one", "two", "three"}) log.LogMessage(t);
    EXPECT_EQ(testing::ReadBytes(streamed),
              "earlier run\n" + Entry("one") + Entry("two") + Entry("three"));
    const std::string header =
        "(2 older entries dropped from this view; every entry is written to " + streamed +
        ")\r\n\r\n";
    EXPECT_EQ(text(), header + Entry("two") + Entry("three"));

    // Saving to the file already written keeps it whole.
    EXPECT_EQ(log.saveTo(streamed), std::nullopt);
    EXPECT_EQ(log.saveTo(dir.path().string()), std::optional<std::string>("Is a directory"));
    EXPECT_EQ(log.streamTo(""), std::optional<std::string>("no file name was given"));
    EXPECT_EQ(log.streamPath(), streamed);  // a failed start keeps the earlier file
    ASSERT_EQ(log.saveTo(saved), std::nullopt);
    log.LogNote("four");
    EXPECT_EQ(testing::ReadBytes(saved), header + Entry("two") + Entry("three") + Entry("four"));
    EXPECT_EQ(testing::ReadBytes(streamed).find("four"), std::string::npos);

    // A full disk: the failure is said in the box and the stream stops; nothing is thrown.
    ASSERT_EQ(log.streamTo("/dev/full"), std::nullopt);
    log.LogError("five");
    EXPECT_EQ(log.streamPath(), "");
    EXPECT_NE(text().find("The log file /dev/full could not be written (No space left on "
                          "device); the log is no longer saved"),
              std::string::npos);
    log.LogNote("six");
    EXPECT_NE(text().find(Entry("six")), std::string::npos);
}

// The success lamp blinks between the two greens; any other colour turns light green.
TEST(ColorSetTest, SuccessLampTogglesBetweenTheGreens) {
    ColorSet colors;
    colors.InitColors();
    EXPECT_EQ(std::vector({QBColorRgb(2), QBColorRgb(10), QBColorRgb(12), QBColorRgb(99)}),
              std::vector<uint32_t>({0x008000u, 0x00FF00u, 0xFF0000u, 0u}));
    Lamp lamp;
    std::vector<int> seen;
    for (int color : {qb::kBlack, qb::kLightGreen, qb::kGreen, qb::kLightRed}) {
        lamp.setColor(color);
        ToggleSuccessLamp(lamp, colors);
        seen.push_back(lamp.color());
    }
    EXPECT_EQ(seen, std::vector({qb::kLightGreen, qb::kGreen, qb::kLightGreen, qb::kLightGreen}));
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
