#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <tuple>

#include "foundation/colors.h"
#include "foundation/hex_text.h"
#include "support/fakes.h"
#include "support/temp_dir.h"

namespace i2cbridge {
namespace {

using testing::Entry;
using testing::ReadBytes;
using testing::Rig;
using testing::TempDir;
using testing::WriteBytes;

constexpr const char* kFilter = "All Files (*.*)|*.*|I2C_General Setup Files(*.qrl)|*.qrl";
constexpr const char* kStartCaption = "Quantrel I2C Communications Software";

struct Row {
    std::string adr, desc, write, read;
    bool operator==(const Row&) const = default;
};

std::ostream& operator<<(std::ostream& os, const Row& r) {
    return os << '[' << r.adr << '|' << r.desc << '|' << r.write << '|' << r.read << ']';
}

using Table = std::vector<Row>;

class RegisterFileTest : public ::testing::Test {
protected:
    Rig rig;
    TempDir dir;
    FrmI2CGeneral& w = rig.main();

    Table table() {
        Table rows;
        for (int k = 0; k < kRegisterRows; ++k)
            rows.push_back({w.Reg_Adr[k].text(), w.Reg_Desc[k].text(), w.txtBWrite[k].text(),
                            w.txtRdByte[k].text()});
        return rows;
    }
    void setRow(int k, const Row& r) {
        w.Reg_Adr[k].setText(r.adr);
        w.Reg_Desc[k].setText(r.desc);
        w.txtBWrite[k].setText(r.write);
        w.txtRdByte[k].setText(r.read);
    }
    // A distinct, easily recognised text in every box.
    static Table samples() {
        Table rows;
        for (int k = 0; k < kRegisterRows; ++k) {
            const std::string n = std::to_string(k);
            rows.push_back({"A" + n, "Desc " + n, "W" + n, "R" + n});
        }
        return rows;
    }
    void fillTable() {
        for (int k = 0; k < kRegisterRows; ++k) setRow(k, samples()[k]);
    }
    // The address box, the addresses taken and the two shown.
    std::vector<std::string> addresses() {
        return {w.txtI2CAdr.text(), HexText(rig.wb->i2c.I2CWriteAddress),
                HexText(rig.wb->i2c.I2CReadAddress), w.txtActualWrtAddress.text(),
                w.txtActualReadAddress.text()};
    }
    // Both dialogs mark the log first, so logSinceMark() holds what the action logged.
    void open(const std::string& path) {
        rig.markLog();
        rig.dialogs.openChoices.push_back(path);
        w.mnuSetup_Open_Click();
    }
    void save(const std::string& path) {
        rig.markLog();
        rig.dialogs.saveChoices.push_back(path);
        w.mnuSetup_Save_Click();
    }
    std::string writeFile(const std::string& name, const std::string& text) {
        const std::string path = dir.file(name);
        WriteBytes(path, text);
        return path;
    }
    static std::string logged(const std::string& path, const std::string& what) {
        return Entry("Register definitions file " + path + " " + what);
    }
};

TEST_F(RegisterFileTest, SaveThenLoadBringsBackTheAddressAndAll32Rows) {
    w.txtI2CAdr.setText("3C");
    fillTable();
    save(dir.file("mux.qrl"));
    w.txtI2CAdr.setText("60");
    for (int k = 0; k < kRegisterRows; ++k) setRow(k, {"x", "x", "x", "x"});
    open(dir.file("mux.qrl"));
    EXPECT_EQ(addresses(), (std::vector<std::string>{"3C", "3C", "3D", "3C", "3D"}));
    EXPECT_EQ(table(), samples());
}

TEST_F(RegisterFileTest, ASavedFileIs33CrLfLinesOfTheBoxesAsTheyStand) {
    // After load the table holds addresses 00 to 1F and nothing else.
    w.txtI2CAdr.setText("c0");
    setRow(1, {"01", "Control", "8F", "--"});
    save(dir.file("fresh.qrl"));
    std::string expected = "I2C ADDRESS , c0\r\n00,,,\r\n01,Control,8F,--\r\n";
    for (int k = 2; k < kRegisterRows; ++k)
        expected += (k < 16 ? "0" : "") + HexText(k) + ",,,\r\n";
    EXPECT_EQ(ReadBytes(dir.file("fresh.qrl")), expected);
    EXPECT_EQ(dir.entries(), 1);
}

// An empty row is three commas and comes back; a description with a comma makes its line bad:
// that row is not loaded and the rows after it are.
TEST_F(RegisterFileTest, EmptyRowsRoundTripAndACommaInADescriptionLosesOnlyItsRow) {
    fillTable();
    setRow(7, {"", "", "", ""});
    setRow(30, {"1E", "Gain, low", "0F", "0E"});
    save(dir.file("gap.qrl"));
    EXPECT_NE(ReadBytes(dir.file("gap.qrl")).find("\r\nA6,Desc 6,W6,R6\r\n,,,\r\nA8,"),
              std::string::npos);
    fillTable();
    setRow(31, {"x", "x", "x", "x"});
    open(dir.file("gap.qrl"));
    Table expected = samples();
    expected[7] = {"", "", "", ""};
    EXPECT_EQ(table(), expected);
    EXPECT_EQ(rig.logSinceMark(),
              logged(dir.file("gap.qrl"), "has lines that were not loaded: 32"));
}

TEST_F(RegisterFileTest, TheAddressIsUpperCasedAndTakenWithoutRangeTest) {
    const struct {
        const char* field;
        std::vector<std::string> addresses;
    } cases[] = {{"c0", {"C0", "C0", "C1", "C0", "C1"}},
                 {"1C0", {"1C0", "C0", "C1", "C0", "C1"}},
                 {"FF", {"FF", "FF", "0", "FF", "0"}},
                 {"08", {"08", "8", "9", "8", "9"}},
                 {"zz", {"ZZ", "0", "1", "0", "1"}}};
    for (const auto& c : cases) {
        open(writeFile("adr.qrl", std::string("I2C ADDRESS , ") + c.field + "\r\n,,,\r\n"));
        EXPECT_EQ(addresses(), c.addresses) << c.field;
    }
    EXPECT_TRUE(rig.dialogs.messages.empty()) << "loading must not complain about an address";
}

TEST_F(RegisterFileTest, LoadedTextsAreNotValidatedAndLampsAreNotTouched) {
    w.shpBwrite[0].setColor(rig.wb->colors.lightRed());
    w.Shape1[0].setColor(rig.wb->colors.green());
    open(writeFile("raw.qrl", "I2C ADDRESS , 60\r\n1FF,x,g5,--\r\n"));
    EXPECT_EQ(table()[0], (Row{"1FF", "x", "g5", "--"}));
    EXPECT_EQ(w.shpBwrite[0].color(), rig.wb->colors.lightRed());
    EXPECT_EQ(w.Shape1[0].color(), rig.wb->colors.green());
}

TEST_F(RegisterFileTest, LoadingNeverContactsTheBoardNorYields) {
    fillTable();
    save(dir.file("quiet.qrl"));
    const auto before = std::tuple(rig.sent().size(), rig.pump.yields, rig.wb->usb.UsbOpen);
    open(dir.file("quiet.qrl"));
    EXPECT_EQ(std::tuple(rig.sent().size(), rig.pump.yields, rig.wb->usb.UsbOpen), before);
}

TEST_F(RegisterFileTest, AShortFileFillsWhatItHasLogsAndKeepsTheNewCaption) {
    fillTable();
    const std::string path =
        writeFile("short.qrl", "I2C ADDRESS , 50\r\n00,Status,00,--\r\n01,Control,8F,8F\r\n");
    open(path);
    Table expected = samples();
    expected[0] = {"00", "Status", "00", "--"};
    expected[1] = {"01", "Control", "8F", "8F"};
    EXPECT_EQ(table(), expected);
    EXPECT_EQ(addresses()[0], "50");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x50);
    EXPECT_EQ(rig.logSinceMark(), logged(path, "ended after 3 of 33 lines"));
    EXPECT_EQ(w.Caption.caption(), "short.qrl - Quantrel I2CUSB");
    EXPECT_EQ(w.CommonDialog1.fileTitle, "short.qrl");
}

// A file that cannot be read whole is logged with how far it got; it changes no box and does
// not name the window.
TEST_F(RegisterFileTest, UnreadableFilesAreLoggedAndChangeNoBox) {
    const struct {
        const char* name;
        std::string path;
        std::string why;
    } cases[] = {
        {"missing", dir.file("gone.qrl"), "could not be read: No such file or directory"},
        {"folder", dir.path().string(), "could not be read: Is a directory"},
        // This file opens, but every read of it fails.
        {"read error", "/proc/self/mem", "could not be read: Input/output error"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fillTable();
        open(c.path);
        EXPECT_EQ(rig.logSinceMark(), logged(c.path, c.why));
        EXPECT_EQ(addresses(), (std::vector<std::string>{"60", "60", "61", "60", "61"}));
        EXPECT_EQ(table(), samples());
        EXPECT_EQ(w.Caption.caption(), kStartCaption);
        EXPECT_EQ(w.CommonDialog1.fileTitle, "");
    }
}

// A file with no register line at all is refused and changes nothing, not even the caption; a
// file with some bad lines loads the good ones and names the bad ones. The table starts as
// samples() with the address 60 each time.
TEST_F(RegisterFileTest, JunkIsRefusedAndBadLinesAreNamedWhileTheGoodOnesLoad) {
    const Table before = samples();
    const struct {
        const char* name;
        std::string bytes;
        std::map<int, Row> changed;  // rows that differ from `before` afterwards
        std::string address;         // the address box afterwards
        int rowsLoaded;
        std::vector<int> badLines;
        CoreError error;
        std::string logged;  // after the path
    } cases[] = {
        {"a script",
         "# gain\r\n00, 12, 34\r\n`D 10\r\n",
         {},
         "60",
         0,
         {},
         CoreError::NotDefinitions,
         " is not a register definitions file"},
        {"binary",
         std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16),
         {},
         "60",
         0,
         {},
         CoreError::NotDefinitions,
         " is not a register definitions file"},
        {"an address line alone",
         "I2C ADDRESS , 3C\r\n",
         {},
         "60",
         0,
         {},
         CoreError::NotDefinitions,
         " is not a register definitions file"},
        {"empty",
         "",
         {},
         "60",
         0,
         {},
         CoreError::NotDefinitions,
         " is not a register definitions file"},
        {"bad lines among good ones",
         "I2C ADDRESS , 3C\r\n00,a,b,c\r\njunk\r\n02,Gain, low,0F,0E\r\n03,d,e,f\r\n",
         {{0, {"00", "a", "b", "c"}}, {3, {"03", "d", "e", "f"}}},
         "3C",
         2,
         {3, 4},
         CoreError::None,
         " has lines that were not loaded: 3, 4"},
        {"a bad address line",
         "I2C ADDRESS\r\n00,a,b,c\r\n",
         {{0, {"00", "a", "b", "c"}}},
         "60",
         1,
         {1},
         CoreError::None,
         " has lines that were not loaded: 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fillTable();
        w.txtI2CAdr.setText("60");
        w.Caption.setCaption(kStartCaption);
        const std::string path = writeFile("in.qrl", c.bytes);
        rig.markLog();
        rig.dialogs.openChoices.push_back(path);
        const RegisterFileLoad load = w.mnuSetup_Open_Click();

        Table expected = before;
        for (const auto& [k, row] : c.changed) expected[k] = row;
        EXPECT_EQ(table(), expected);
        EXPECT_EQ(w.txtI2CAdr.text(), c.address);
        EXPECT_EQ(load.rowsLoaded, c.rowsLoaded);
        EXPECT_EQ(load.badLines, c.badLines);
        EXPECT_EQ(load.error, c.error);
        const bool refused = c.error != CoreError::None;
        const std::string log = rig.logSinceMark();
        EXPECT_EQ(log.find(refused ? Entry(path + c.logged)
                                   : Entry("Register definitions file " + path + c.logged)),
                  0u)
            << log;
        EXPECT_EQ(w.Caption.caption(), refused ? kStartCaption : "in.qrl - Quantrel I2CUSB");
    }
}

TEST_F(RegisterFileTest, AFailedSaveKeepsTheOldFileAndTheCaptionAndSaysWhy) {
    fillTable();
    const std::string good = dir.file("good.qrl");
    save(good);
    ASSERT_EQ(w.Caption.caption(), "good.qrl - Quantrel I2CUSB");
    const std::string before = ReadBytes(good);
    setRow(0, {"changed", "", "", ""});
    const std::string lost = dir.file("no-such-folder/new.qrl");
    save(lost);
    EXPECT_EQ(rig.logSinceMark(), logged(lost, "was not saved: the folder " +
                                                   dir.file("no-such-folder") + " does not exist"));
    EXPECT_EQ(w.Caption.caption(), "good.qrl - Quantrel I2CUSB");
    EXPECT_FALSE(std::filesystem::exists(dir.file("no-such-folder")));

    ASSERT_EQ(::chmod(good.c_str(), 0444), 0);
    save(good);
    EXPECT_EQ(rig.logSinceMark(), logged(good, "was not saved: the file is read-only"));
    EXPECT_EQ(ReadBytes(good), before);
    EXPECT_EQ(dir.entries(), 1);
    EXPECT_TRUE(rig.dialogs.messages.empty());
}

TEST_F(RegisterFileTest, AFileInAFolderThatAllowsNoNewFileIsWrittenInPlaceAndTheLogSaysSo) {
    fillTable();
    const std::string path = dir.file("shared.qrl");
    save(path);
    ASSERT_EQ(::chmod(dir.path().c_str(), 0555), 0);
    for (int k = 1; k < kRegisterRows; ++k) setRow(k, {});  // a shorter text than before
    save(path);
    ::chmod(dir.path().c_str(), 0755);
    std::string expected = "I2C ADDRESS , 60\r\nA0,Desc 0,W0,R0\r\n";
    for (int k = 1; k < kRegisterRows; ++k) expected += ",,,\r\n";
    EXPECT_EQ(ReadBytes(path), expected);
    EXPECT_EQ(rig.logSinceMark(), logged(path,
                                         "was written over in place: its folder allows no "
                                         "new file, so the save was not whole-or-nothing"));
    EXPECT_EQ(dir.entries(), 1);
}

TEST_F(RegisterFileTest, ANameWithoutExtensionIsUsedAsTyped) {
    save(dir.file("setup"));
    EXPECT_TRUE(std::filesystem::exists(dir.file("setup")));
    EXPECT_EQ(dir.entries(), 1);
    EXPECT_EQ(w.Caption.caption(), "setup - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, CancellingEitherDialogChangesNothing) {
    fillTable();
    rig.markLog();
    rig.dialogs.openChoices.push_back("");
    w.mnuSetup_Open_Click();
    rig.dialogs.saveChoices.push_back("");
    w.mnuSetup_Save_Click();
    EXPECT_EQ(rig.dialogs.openShown.size(), 1u);
    EXPECT_EQ(rig.dialogs.saveShown.size(), 1u);
    EXPECT_EQ(dir.entries(), 0);
    EXPECT_EQ(w.Caption.caption(), kStartCaption);
    EXPECT_EQ(rig.logSinceMark(), "");
    EXPECT_EQ(table(), samples());
}

// What each file dialog was shown: title, filter, filter index, flags, extension, name.
using Shown = std::tuple<std::string, std::string, int, int, std::string, std::string>;
std::vector<Shown> Fields(const std::vector<FileDialogState>& shown) {
    std::vector<Shown> all;
    for (const FileDialogState& s : shown)
        all.emplace_back(s.title, s.filter, s.filterIndex, s.flags, s.defaultExt, s.fileName);
    return all;
}

TEST_F(RegisterFileTest, TheOpenDialogAsksForASetupFileWithNoProposedName) {
    save(dir.file("mux.qrl"));
    open(dir.file("mux.qrl"));
    open("");
    const int flags = rig.dialogs.openShown.at(0).flags;
    const Shown asked{"Select Setup File to Open", kFilter, 2, flags, "*.QRL", ""};
    EXPECT_EQ(Fields(rig.dialogs.openShown), (std::vector<Shown>{asked, asked}));
    EXPECT_EQ(w.Caption.caption(), "mux.qrl - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, TheSaveDialogProposesTheLastFileLoadedOrSaved) {
    save("");
    open(writeFile("mux.qrl", "I2C ADDRESS , 60\r\n,,,\r\n"));
    save(dir.file("other.qrl"));
    save("");
    EXPECT_EQ(Fields(rig.dialogs.saveShown),
              (std::vector<Shown>{{"", kFilter, 2, 4, "", ""},
                                  {"", kFilter, 2, 4, "", "mux.qrl"},
                                  {"", kFilter, 2, 4, "", "other.qrl"}}));
    EXPECT_EQ(w.Caption.caption(), "other.qrl - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, SavingYieldsOncePerRowAndWritesRowsAsTheyStandThen) {
    fillTable();
    const long yields = rig.pump.yields;
    // A click during the save's first yield edits the last row before it is written.
    rig.pump.atYield(1, [&] { w.Reg_Desc[31].setText("edited meanwhile"); });
    save(dir.file("live.qrl"));
    EXPECT_EQ(rig.pump.yields - yields, kRegisterRows);
    EXPECT_NE(ReadBytes(dir.file("live.qrl")).find("\r\nA31,edited meanwhile,W31,R31\r\n"),
              std::string::npos);
}

}  // namespace
}  // namespace i2cbridge
