// Register definitions files through the main window: File > Open and File > Save.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "foundation/hex_text.h"
#include "panel_rig.h"

namespace i2cbridge::testing {
namespace {

constexpr const char* kStartCaption = "Quantrel I2C Communications Software";

class RegisterFile : public PanelTest {
protected:
    // The address box, the addresses taken and the two shown.
    Texts addresses() {
        return {win->txtI2CAdr.text(), HexText(rig.wb->i2c.I2CWriteAddress),
                HexText(rig.wb->i2c.I2CReadAddress), win->txtActualWrtAddress.text(),
                win->txtActualReadAddress.text()};
    }
    std::string about(const std::string& path, const std::string& what) {
        return "Register definitions file " + path + " " + what;
    }
};

// The file is the address line and 32 rows as the boxes stand, CR LF after each; it comes
// back whole, empty rows included, and loading it neither talks to the board nor yields.
TEST_F(RegisterFile, SaveWritesTheBoxesAsTheyStandAndOpenBringsThemBack) {
    win->txtI2CAdr.setText("3c");
    setRow(1, {"01", "Control", "8F", "--"});
    save(dir.file("mux.qrl"));
    std::string expected = "I2C ADDRESS , 3c\r\n00,,,\r\n01,Control,8F,--\r\n";
    for (int k = 2; k < kRegisterRows; ++k) expected += HexByteText(k) + ",,,\r\n";
    EXPECT_EQ(ReadBytes(dir.file("mux.qrl")), expected);
    EXPECT_EQ(dir.entries(), 1);

    fillTable();
    setRow(7, {"", "", "", ""});
    save(dir.file("mux.qrl"));
    win->txtI2CAdr.setText("60");
    for (int k = 0; k < kRegisterRows; ++k) setRow(k, {"x", "x", "x", "x"});
    const auto before = std::tuple(sent().size(), rig.pump.yields, rig.wb->usb.UsbOpen);
    open(dir.file("mux.qrl"));
    EXPECT_EQ(std::tuple(sent().size(), rig.pump.yields, rig.wb->usb.UsbOpen), before);
    auto rows = samples();
    rows[7] = {};
    EXPECT_EQ(table(), rows);
    EXPECT_EQ(addresses(), (Texts{"3C", "3C", "3D", "3C", "3D"}));
    EXPECT_EQ(logged(), Texts{});
}

TEST_F(RegisterFile, TheAddressIsUpperCasedAndTakenWithoutRangeTest) {
    const std::pair<const char*, Texts> cases[] = {{"1C0", {"1C0", "C0", "C1", "C0", "C1"}},
                                                   {"FF", {"FF", "FF", "0", "FF", "0"}},
                                                   {"08", {"08", "8", "9", "8", "9"}},
                                                   {"zz", {"ZZ", "0", "1", "0", "1"}}};
    for (const auto& [field, shown] : cases) {
        open(writeFile("adr.qrl", std::string("I2C ADDRESS , ") + field + "\r\n,,,\r\n"));
        EXPECT_EQ(addresses(), shown) << field;
    }
    EXPECT_TRUE(rig.dialogs.messages.empty()) << "loading must not complain about an address";
}

// A file that cannot be read, or holds no register line at all, changes nothing, not even the
// caption; one with bad lines loads the good ones and names the bad ones. Each case starts
// from samples() and the address 60; `@` in the log stands for the file's path.
TEST_F(RegisterFile, MalformedFilesAreReportedAndLoseNothing) {
    const std::string F = "Register definitions file @ ";
    const std::string notOne = "@ is not a register definitions file";
    using E = CoreError;
    const struct {
        const char* name;
        std::string path;  // "" : the bytes below in in.qrl
        std::string bytes;
        std::map<int, Row> changed;
        const char* address;
        CoreError error;
        Texts log;
    } cases[] = {
        // clang-format off
        {"missing", dir.file("gone.qrl"), "", {}, "60", E::FileUnreadable,
         {F + "could not be read: No such file or directory"}},
        {"folder", dir.path().string(), "", {}, "60", E::FileUnreadable,
         {F + "could not be read: Is a directory"}},
        // This file opens, but every read of it fails.
        {"read error", "/proc/self/mem", "", {}, "60", E::FileUnreadable,
         {F + "could not be read: Input/output error"}},
        {"a script", "", "# gain\r\n00, 12, 34\r\n`D 10\r\n", {}, "60", E::NotDefinitions, {notOne}},
        {"binary", "", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), {}, "60", E::NotDefinitions,
         {notOne}},
        {"address line alone", "", "I2C ADDRESS , 3C\r\n", {}, "60", E::NotDefinitions, {notOne}},
        // A comma in a description makes its line bad; texts are not checked.
        {"bad lines among good", "",
         "I2C ADDRESS , 3C\r\n1FF,a,g5,--\r\njunk\r\n02,Gain, low,0F,0E\r\n03,d,e,f\r\n",
         {{0, {"1FF", "a", "g5", "--"}}, {3, {"03", "d", "e", "f"}}}, "3C", E::None,
         {F + "has lines that were not loaded: 3, 4", F + "ended after 5 of 33 lines"}},
        {"bad address line", "", "I2C ADDRESS\r\n00,a,b,c\r\n", {{0, {"00", "a", "b", "c"}}}, "60",
         E::None, {F + "has lines that were not loaded: 1", F + "ended after 2 of 33 lines"}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fillTable();
        win->txtI2CAdr.setText("60");
        win->Caption.setCaption(kStartCaption);
        const std::string path = c.path.empty() ? writeFile("in.qrl", c.bytes) : c.path;
        EXPECT_EQ(open(path).error, c.error);
        auto rows = samples();
        for (const auto& [k, row] : c.changed) rows[k] = row;
        EXPECT_EQ(table(), rows);
        EXPECT_EQ(win->txtI2CAdr.text(), c.address);
        Texts log = c.log;
        for (auto& line : log) line.replace(line.find('@'), 1, path);
        EXPECT_EQ(logged(), log);
        const bool refused = c.error != CoreError::None;
        EXPECT_EQ(win->Caption.caption(), refused ? kStartCaption : "in.qrl - Quantrel I2CUSB");
    }
}

TEST_F(RegisterFile, AFailedSaveKeepsTheOldFileAndTheCaptionAndSaysWhy) {
    fillTable();
    const std::string good = dir.file("good.qrl");
    save(good);
    const std::string before = ReadBytes(good);
    setRow(0, {"changed", "", "", ""});
    const std::string lost = dir.file("no-such-folder/new.qrl");
    save(lost);
    EXPECT_EQ(logged(), Texts{about(lost, "was not saved: the folder " +
                                              dir.file("no-such-folder") + " does not exist")});
    EXPECT_EQ(win->Caption.caption(), "good.qrl - Quantrel I2CUSB");

    ASSERT_EQ(::chmod(good.c_str(), 0444), 0);
    save(good);
    EXPECT_EQ(logged(), Texts{about(good, "was not saved: the file is read-only")});
    EXPECT_EQ(ReadBytes(good), before);
    EXPECT_EQ(dir.entries(), 1);
}

// A folder that allows no new file: the file is written over in place, and the log says so.
TEST_F(RegisterFile, AFileInAFolderThatAllowsNoNewFileIsWrittenInPlace) {
    const std::string path = dir.file("shared.qrl");
    setRow(0, {"a", "b", "c", "d"});
    save(path);
    ASSERT_EQ(::chmod(dir.path().c_str(), 0555), 0);
    setRow(0, {});  // a shorter text than before
    save(path);
    ::chmod(dir.path().c_str(), 0755);
    EXPECT_EQ(ReadBytes(path).substr(0, 25), "I2C ADDRESS , 60\r\n,,,\r\n01");
    EXPECT_EQ(ReadBytes(path).size(), 18 + 5 + 31 * 7u);
    EXPECT_EQ(logged(), Texts{about(path,
                                    "was written over in place: its folder allows no new "
                                    "file, so the save was not whole-or-nothing")});
}

// Cancelling either dialog changes nothing. Open proposes no name; Save proposes the last file
// loaded or saved, and takes a name without extension as typed.
TEST_F(RegisterFile, CancelledDialogsChangeNothingAndSaveProposesTheLastFile) {
    fillTable();
    save("");
    open("");
    EXPECT_EQ(std::tuple(dir.entries(), win->Caption.caption(), logged()),
              std::tuple(0, kStartCaption, Texts{}));
    EXPECT_EQ(table(), samples());
    open(writeFile("mux.qrl", "I2C ADDRESS , 60\r\n,,,\r\n"));
    save(dir.file("setup"));
    open("");
    save("");
    EXPECT_EQ(win->Caption.caption(), "setup - Quantrel I2CUSB");
    Texts proposed;
    for (const auto* shown : {&rig.dialogs.openShown, &rig.dialogs.saveShown})
        for (const FileDialogState& s : *shown) proposed.push_back(s.fileName);
    EXPECT_EQ(proposed, (Texts{"", "", "", "", "mux.qrl", "setup"}));
}

TEST_F(RegisterFile, SavingWritesRowsAsTheyStandWhenTheirTurnComes) {
    fillTable();
    // A click during the save's first yield edits the last row before it is written.
    rig.pump.atYield(1, [&] { win->Reg_Desc[31].setText("edited meanwhile"); });
    save(dir.file("live.qrl"));
    EXPECT_NE(ReadBytes(dir.file("live.qrl")).find("\r\nA31,edited meanwhile,W31,R31\r\n"),
              std::string::npos);
}

}  // namespace
}  // namespace i2cbridge::testing
