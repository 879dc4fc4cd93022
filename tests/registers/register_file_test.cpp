#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "foundation/colors.h"
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

class RegisterFileTest : public ::testing::Test {
protected:
    Rig rig;
    TempDir dir;
    FrmI2CGeneral& w = rig.main();

    Row row(int k) {
        return {w.Reg_Adr[k].text(), w.Reg_Desc[k].text(), w.txtBWrite[k].text(),
                w.txtRdByte[k].text()};
    }
    void setRow(int k, const Row& r) {
        w.Reg_Adr[k].setText(r.adr);
        w.Reg_Desc[k].setText(r.desc);
        w.txtBWrite[k].setText(r.write);
        w.txtRdByte[k].setText(r.read);
    }
    // A distinct, easily recognised text in every box.
    void fillTable() {
        for (int k = 0; k < kRegisterRows; ++k) setRow(k, sample(k));
    }
    static Row sample(int k) {
        const std::string n = std::to_string(k);
        return {"A" + n, "Desc " + n, "W" + n, "R" + n};
    }
    void open(const std::string& path) {
        rig.dialogs.openChoices.push_back(path);
        w.mnuSetup_Open_Click();
    }
    void save(const std::string& path) {
        rig.dialogs.saveChoices.push_back(path);
        w.mnuSetup_Save_Click();
    }
    // A file of the address line and the given row lines, as a person might type it.
    std::string writeFile(const std::string& name, const std::string& text) {
        const std::string path = dir.file(name);
        WriteBytes(path, text);
        return path;
    }
};

TEST_F(RegisterFileTest, SaveThenLoadBringsBackTheAddressAndAll32Rows) {
    w.txtI2CAdr.setText("3C");
    fillTable();
    const std::string path = dir.file("mux.qrl");
    save(path);

    w.txtI2CAdr.setText("60");
    for (int k = 0; k < kRegisterRows; ++k) setRow(k, {"x", "x", "x", "x"});
    open(path);

    EXPECT_EQ(w.txtI2CAdr.text(), "3C");
    EXPECT_EQ(w.txtActualWrtAddress.text(), "3C");
    EXPECT_EQ(w.txtActualReadAddress.text(), "3D");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x3C);
    EXPECT_EQ(rig.wb->i2c.I2CReadAddress, 0x3D);
    for (int k = 0; k < kRegisterRows; ++k) EXPECT_EQ(row(k), sample(k)) << "row " << k;
}

TEST_F(RegisterFileTest, ASavedFileIs33CrLfLinesOfTheBoxesAsTheyStand) {
    // After load the table holds addresses 00 to 1F and nothing else.
    w.txtI2CAdr.setText("c0");
    setRow(1, {"01", "Control", "8F", "--"});
    const std::string path = dir.file("fresh.qrl");
    save(path);

    std::string expected = "I2C ADDRESS , c0\r\n00,,,\r\n01,Control,8F,--\r\n";
    for (int k = 2; k < kRegisterRows; ++k) {
        char adr[3];
        std::snprintf(adr, sizeof adr, "%02X", k);
        expected += std::string(adr) + ",,,\r\n";
    }
    EXPECT_EQ(ReadBytes(path), expected);
    EXPECT_EQ(dir.entries(), 1);
}

TEST_F(RegisterFileTest, AnEmptyRowIsThreeCommasAndLoadsAsFourEmptyBoxes) {
    fillTable();
    setRow(7, {"", "", "", ""});
    const std::string path = dir.file("gap.qrl");
    save(path);
    EXPECT_NE(ReadBytes(path).find("\r\nA6,Desc 6,W6,R6\r\n,,,\r\nA8,"), std::string::npos);

    fillTable();
    open(path);
    EXPECT_EQ(row(7), (Row{"", "", "", ""}));
    EXPECT_EQ(row(6), sample(6));
    EXPECT_EQ(row(8), sample(8));
}

TEST_F(RegisterFileTest, ACommaInADescriptionShiftsEveryLaterField) {
    fillTable();
    setRow(30, {"1E", "Gain, low", "0F", "0E"});
    const std::string path = dir.file("comma.qrl");
    save(path);
    open(path);

    for (int k = 0; k < 30; ++k) EXPECT_EQ(row(k), sample(k));
    // The blank after the comma is dropped as a leading blank.
    EXPECT_EQ(row(30), (Row{"1E", "Gain", "low", "0F"}));
    EXPECT_EQ(row(31), (Row{"0E", "A31", "Desc 31", "W31"}));  // "R31" is never read
}

TEST_F(RegisterFileTest, LeadingBlanksAreDroppedTrailingBlanksAndQuotesKept) {
    const std::string path =
        writeFile("blanks.qrl", "I2C ADDRESS ,    60  \r\n  00,   Status  ,\"AA\", \"x, y\"\r\n");
    open(path);
    EXPECT_EQ(w.txtI2CAdr.text(), "60  ");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
    EXPECT_EQ(row(0), (Row{"00", "Status  ", "\"AA\"", "\"x"}));
    EXPECT_EQ(w.Reg_Adr[1].text(), "y\"");
}

TEST_F(RegisterFileTest, ExtraLinesAndExtraFieldsAreIgnored) {
    std::string text = "I2C ADDRESS , 60\r\n";
    for (int k = 0; k < kRegisterRows; ++k) {
        const Row r = sample(k);
        text += r.adr + "," + r.desc + "," + r.write + "," + r.read + "\r\n";
    }
    text += "40,Beyond,11,22\r\n41,More,33,44\r\n";
    open(writeFile("long.qrl", text));
    for (int k = 0; k < kRegisterRows; ++k) EXPECT_EQ(row(k), sample(k));

    rig.markLog();
    // The fields on the second row line spill into row 1 and on from there.
    open(writeFile("wide.qrl", "I2C ADDRESS , 60, 61\r\n00,a,b,c,d,e\r\n"));
    EXPECT_EQ(w.txtI2CAdr.text(), "60");
    EXPECT_EQ(row(0), (Row{"61", "00", "a", "b"}));
    EXPECT_EQ(row(1), (Row{"c", "d", "e", sample(1).read}));
    EXPECT_EQ(rig.logSinceMark(), Entry("Register definitions file " + dir.file("wide.qrl") +
                                        " ended after 9 of 130 fields"));
}

TEST_F(RegisterFileTest, TheAddressIsUpperCasedAndTakenWithoutRangeTest) {
    struct Case {
        const char* field;
        const char* box;
        int write;
        const char* shownWrite;
        const char* shownRead;
    };
    for (const Case& c : {Case{"c0", "C0", 0xC0, "C0", "C1"}, Case{"1C0", "1C0", 0xC0, "C0", "C1"},
                          Case{"FF", "FF", 0xFF, "FF", "0"}, Case{"08", "08", 0x08, "8", "9"},
                          Case{"zz", "ZZ", 0x00, "0", "1"}}) {
        open(writeFile("adr.qrl", std::string("I2C ADDRESS , ") + c.field + "\r\n"));
        EXPECT_EQ(w.txtI2CAdr.text(), c.box) << c.field;
        EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, c.write) << c.field;
        EXPECT_EQ(rig.wb->i2c.I2CReadAddress, (c.write + 1) % 256) << c.field;
        EXPECT_EQ(w.txtActualWrtAddress.text(), c.shownWrite) << c.field;
        EXPECT_EQ(w.txtActualReadAddress.text(), c.shownRead) << c.field;
    }
    EXPECT_TRUE(rig.dialogs.messages.empty()) << "loading must not complain about an address";
}

TEST_F(RegisterFileTest, LoadedTextsAreNotValidatedAndLampsAreNotTouched) {
    w.shpBwrite[0].setColor(rig.wb->colors.lightRed());
    w.Shape1[0].setColor(rig.wb->colors.green());
    open(writeFile("raw.qrl", "I2C ADDRESS , 60\r\n1FF,x,g5,--\r\n"));
    EXPECT_EQ(row(0), (Row{"1FF", "x", "g5", "--"}));
    EXPECT_EQ(w.shpBwrite[0].color(), rig.wb->colors.lightRed());
    EXPECT_EQ(w.Shape1[0].color(), rig.wb->colors.green());
}

TEST_F(RegisterFileTest, LoadingNeverContactsTheBoardNorYields) {
    fillTable();
    const std::string path = dir.file("quiet.qrl");
    save(path);
    const auto sent = rig.sent().size();
    const long yields = rig.pump.yields;
    const bool wasOpen = rig.wb->usb.UsbOpen;
    open(path);
    EXPECT_EQ(rig.sent().size(), sent);
    EXPECT_EQ(rig.pump.yields, yields);
    EXPECT_EQ(rig.wb->usb.UsbOpen, wasOpen);
}

TEST_F(RegisterFileTest, AShortFileFillsWhatItHasLogsAndKeepsTheNewCaption) {
    fillTable();
    const std::string path =
        writeFile("short.qrl", "I2C ADDRESS , 50\r\n00,Status,00,--\r\n01,Control,8F\r\n");
    rig.markLog();
    open(path);

    EXPECT_EQ(w.txtI2CAdr.text(), "50");
    EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x50);
    EXPECT_EQ(row(0), (Row{"00", "Status", "00", "--"}));
    EXPECT_EQ(row(1), (Row{"01", "Control", "8F", sample(1).read}));
    for (int k = 2; k < kRegisterRows; ++k) EXPECT_EQ(row(k), sample(k));
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Register definitions file " + path + " ended after 9 of 130 fields"));
    EXPECT_EQ(w.Caption.caption(), "short.qrl - Quantrel I2CUSB");
    EXPECT_EQ(w.CommonDialog1.fileTitle, "short.qrl");
}

// A file that cannot be read whole is logged with how far it got; nothing it could not
// deliver changes a box, and a file that never opened does not name the window.
TEST_F(RegisterFileTest, UnreadableFilesAreLoggedAndChangeNoBox) {
    const struct {
        const char* name;
        std::string path;
        std::string why;
        bool opened;
    } cases[] = {
        {"missing", dir.file("gone.qrl"), "could not be opened: No such file or directory", false},
        {"folder", dir.path().string(), "could not be opened: it is a folder", false},
        {"empty", writeFile("empty.qrl", ""), "ended after 0 of 130 fields", true},
        // This file opens, but every read of it fails.
        {"read error", "/proc/self/mem", "could not be read after 0 of 130 fields", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fillTable();
        rig.markLog();
        open(c.path);
        EXPECT_EQ(rig.logSinceMark(), Entry("Register definitions file " + c.path + " " + c.why));
        EXPECT_EQ(w.txtI2CAdr.text(), "60");
        EXPECT_EQ(rig.wb->i2c.I2CWriteAddress, 0x60);
        for (int k = 0; k < kRegisterRows; ++k) EXPECT_EQ(row(k), sample(k));
        if (c.opened) continue;
        EXPECT_EQ(w.Caption.caption(), kStartCaption);
        EXPECT_EQ(w.CommonDialog1.fileTitle, "");
    }
}

TEST_F(RegisterFileTest, AFailedSaveKeepsTheOldFileAndTheCaptionAndSaysWhy) {
    fillTable();
    const std::string good = dir.file("good.qrl");
    save(good);
    ASSERT_EQ(w.Caption.caption(), "good.qrl - Quantrel I2CUSB");
    const std::string before = ReadBytes(good);

    setRow(0, {"changed", "", "", ""});
    rig.markLog();
    const std::string lost = dir.file("no-such-folder/new.qrl");
    save(lost);
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Register definitions file " + lost + " was not saved: the folder " +
                    dir.file("no-such-folder") + " does not exist"));
    EXPECT_EQ(w.Caption.caption(), "good.qrl - Quantrel I2CUSB");
    EXPECT_FALSE(std::filesystem::exists(dir.file("no-such-folder")));
    EXPECT_EQ(ReadBytes(good), before);
    EXPECT_TRUE(rig.dialogs.messages.empty());

    ASSERT_EQ(::chmod(good.c_str(), 0444), 0);
    rig.markLog();
    save(good);
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Register definitions file " + good + " was not saved: the file is read-only"));
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
    rig.markLog();
    save(path);
    ::chmod(dir.path().c_str(), 0755);

    std::string expected = "I2C ADDRESS , 60\r\nA0,Desc 0,W0,R0\r\n";
    for (int k = 1; k < kRegisterRows; ++k) expected += ",,,\r\n";
    EXPECT_EQ(ReadBytes(path), expected);
    EXPECT_EQ(rig.logSinceMark(),
              Entry("Register definitions file " + path +
                    " was written over in place: its folder allows no new file, so the save "
                    "was not whole-or-nothing"));
    EXPECT_EQ(dir.entries(), 1);
}

TEST_F(RegisterFileTest, ANameWithoutExtensionIsUsedAsTyped) {
    const std::string path = dir.file("setup");
    save(path);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(dir.entries(), 1);
    EXPECT_EQ(w.Caption.caption(), "setup - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, CancellingEitherDialogChangesNothing) {
    fillTable();
    rig.markLog();
    open("");
    save("");
    EXPECT_EQ(rig.dialogs.openShown.size(), 1u);
    EXPECT_EQ(rig.dialogs.saveShown.size(), 1u);
    EXPECT_EQ(dir.entries(), 0);
    EXPECT_EQ(w.Caption.caption(), kStartCaption);
    EXPECT_EQ(rig.logSinceMark(), "");
    for (int k = 0; k < kRegisterRows; ++k) EXPECT_EQ(row(k), sample(k));
}

TEST_F(RegisterFileTest, TheOpenDialogAsksForASetupFileWithNoProposedName) {
    const std::string path = dir.file("mux.qrl");
    save(path);
    open(path);
    open("");
    ASSERT_EQ(rig.dialogs.openShown.size(), 2u);
    for (const FileDialogState& shown : rig.dialogs.openShown) {
        EXPECT_EQ(shown.title, "Select Setup File to Open");
        EXPECT_EQ(shown.filter, kFilter);
        EXPECT_EQ(shown.filterIndex, 2);
        EXPECT_EQ(shown.defaultExt, "*.QRL");
        EXPECT_EQ(shown.fileName, "");
    }
    EXPECT_EQ(w.Caption.caption(), "mux.qrl - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, TheSaveDialogProposesTheLastFileLoadedOrSaved) {
    save("");
    const std::string loaded = writeFile("mux.qrl", "I2C ADDRESS , 60\r\n");
    open(loaded);
    save(dir.file("other.qrl"));
    save("");
    ASSERT_EQ(rig.dialogs.saveShown.size(), 3u);
    EXPECT_EQ(rig.dialogs.saveShown[0].fileName, "");
    EXPECT_EQ(rig.dialogs.saveShown[1].fileName, "mux.qrl");
    EXPECT_EQ(rig.dialogs.saveShown[2].fileName, "other.qrl");
    for (const FileDialogState& shown : rig.dialogs.saveShown) {
        EXPECT_EQ(shown.title, "");
        EXPECT_EQ(shown.filter, kFilter);
        EXPECT_EQ(shown.filterIndex, 2);
        EXPECT_EQ(shown.flags, 4);
        EXPECT_EQ(shown.defaultExt, "");
    }
    EXPECT_EQ(w.Caption.caption(), "other.qrl - Quantrel I2CUSB");
}

TEST_F(RegisterFileTest, SavingYieldsOncePerRowAndWritesRowsAsTheyStandThen) {
    fillTable();
    const long yields = rig.pump.yields;
    // A click during the save's first yield edits the last row before it is written.
    rig.pump.atYield(1, [&] { w.Reg_Desc[31].setText("edited meanwhile"); });
    const std::string path = dir.file("live.qrl");
    save(path);
    EXPECT_EQ(rig.pump.yields - yields, kRegisterRows);
    EXPECT_NE(ReadBytes(path).find("\r\nA31,edited meanwhile,W31,R31\r\n"), std::string::npos);
}

}  // namespace
}  // namespace i2cbridge
