#pragma once

// The register definitions file (.qrl): 33 lines of 8-bit text, each ending in CR LF.
//
//   I2C ADDRESS , 60
//   00,Status,00,--
//   01,Control,8F,8F
//   ... (32 row lines in all: address, description, write value, read value)
//
// The writer puts every box's text in as it stands, with no quoting. The reader takes the
// file line by line, the way a person's hand-edited file is most forgiving to read:
//
// - a line ends at CR LF, a lone LF or a lone CR; only the first 33 lines are read;
// - a line's fields are split at every comma; blanks (spaces only, not tabs) at the start of a
//   field are skipped; the rest is kept exactly (trailing blanks stay, a double quote is an
//   ordinary character);
// - line 1 is the address line when it has two fields (the label, whatever it says, and the
//   address); line k + 2 is row k when it has exactly four fields (three commas; ",,," is a
//   row of empty boxes);
// - any other line is a bad line: it is named, and its row (or the address) is not loaded.
//   A file none of whose lines is a row line is not a register definitions file at all.
//
// So a saved table comes back unchanged unless a box holds a comma, a line break or leading
// blanks; a box with a comma makes its line bad instead of moving every later field on.

#include <array>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace i2cbridge {

inline constexpr int kRegisterFileRows = 32;
inline constexpr int kFieldsPerRegisterRow = 4;
inline constexpr int kRegisterFileLines = 1 + kRegisterFileRows;

// One row of the register table as the file holds it.
struct RegisterFileRow {
    std::string address;
    std::string description;
    std::string writeValue;
    std::string readValue;
    bool operator==(const RegisterFileRow&) const = default;
};

// The one mapping between a row and the fields of its line, in file order: address,
// description, write value, read value. The reader, the writer and the main window's boxes
// all go through this order.
std::array<std::string*, kFieldsPerRegisterRow> RegisterRowFields(RegisterFileRow& row);
std::array<const std::string*, kFieldsPerRegisterRow> RegisterRowFields(const RegisterFileRow& row);

// The whole content of a file: the I2C address text and the 32 rows.
struct RegisterDefinitions {
    std::string address;
    std::array<RegisterFileRow, kRegisterFileRows> rows;
    bool operator==(const RegisterDefinitions&) const = default;
};

// A line's fields: split at every comma, leading blanks of each dropped.
std::vector<std::string> SplitRegisterLine(std::string_view line);

// What reading a file gave, line by line.
struct RegisterFileRead {
    enum class Stop {
        Complete,   // all 33 lines were read; whatever follows was not looked at
        EndOfFile,  // the file ended before its 33rd line
        ReadError,  // the stream failed before the 33rd line
    };
    std::optional<std::string> address;  // line 1's address, when line 1 is an address line
    std::array<std::optional<RegisterFileRow>, kRegisterFileRows> rows;  // from good lines
    std::vector<int> badLines;  // numbers (from 1) of the lines that were not loaded
    int lines = 0;              // lines read, at most 33
    Stop stop = Stop::EndOfFile;

    int rowsRead() const;
    // At least one line is a row line.
    bool isDefinitionsFile() const { return rowsRead() > 0; }
};

// Reads the first 33 lines of the stream.
RegisterFileRead ReadRegisterFile(std::istream& in);

// The table a file describes; what the file did not have (or had as bad lines) stays empty.
RegisterDefinitions DefinitionsFrom(const RegisterFileRead& read);

// "I2C ADDRESS , " + the address + CR LF. The blank comes from the address being printed at
// the next 14-column zone, so the address always starts in column 15.
std::string RegisterFileAddressLine(std::string_view i2cAddress);

// The four texts joined by single commas + CR LF.
std::string RegisterFileRowLine(const RegisterFileRow& row);

// The whole file: the address line and the 32 row lines.
std::string FormatRegisterFile(const RegisterDefinitions& definitions);

}  // namespace i2cbridge
