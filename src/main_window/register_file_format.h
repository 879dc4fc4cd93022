#pragma once

// The register definitions file (.qrl): 33 lines of 8-bit text, each ending in CR LF.
//
//   I2C ADDRESS , 60
//   00,Status,00,--
//   01,Control,8F,8F
//   ... (32 row lines in all: address, description, write value, read value)
//
// The writer puts every box's text in as it stands, with no quoting. The reader takes the
// file as a stream of fields, the way a person's hand-edited file is most forgiving to read:
//
// - blanks (spaces only, not tabs) at the start of a field are skipped;
// - a field runs to the next comma or the end of its line, and that comma or line end is
//   consumed; a line may end in CR LF, a lone LF or a lone CR;
// - an empty line is one empty field, and so are two commas side by side and a comma at the
//   end of a line;
// - line breaks have no other meaning: fields are taken in order wherever the lines break;
// - the field text is kept exactly as it stands after the leading blanks: trailing blanks
//   stay, and a double quote is an ordinary character (no quote processing);
// - only the first 130 fields (2 for the address line, 4 for each of 32 rows) are read.
//
// So a saved table comes back unchanged unless a box holds a comma, a line break or leading
// blanks.

#include <array>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace i2cbridge {

inline constexpr int kRegisterFileRows = 32;
inline constexpr int kFieldsPerRegisterRow = 4;
// The address line's label and address, then four fields for each row.
inline constexpr int kRegisterFileFields = 2 + kFieldsPerRegisterRow * kRegisterFileRows;

// One row of the register table as the file holds it.
struct RegisterFileRow {
    std::string address;
    std::string description;
    std::string writeValue;
    std::string readValue;
    bool operator==(const RegisterFileRow&) const = default;
};

// The whole content of a file: the I2C address text and the 32 rows.
struct RegisterDefinitions {
    std::string address;
    std::array<RegisterFileRow, kRegisterFileRows> rows;
    bool operator==(const RegisterDefinitions&) const = default;
};

// Pulls fields one by one from a stream.
class RegisterFieldReader {
public:
    explicit RegisterFieldReader(std::istream& in) : in_(in) {}

    // The next field, or nothing when the input ended (or failed) before another field
    // began. Blanks alone before the end of the input are no field.
    std::optional<std::string> next();

private:
    std::istream& in_;
};

// What reading a file gave.
struct RegisterFileFields {
    enum class Stop {
        Complete,   // all 130 fields were read; whatever follows was not looked at
        EndOfFile,  // the file ended before the 130th field
        ReadError,  // the stream failed before the 130th field
    };
    std::vector<std::string> fields;  // in file order: label, address, then 4 per row
    Stop stop = Stop::EndOfFile;
};

// Reads up to 130 fields from the stream.
RegisterFileFields ReadRegisterFields(std::istream& in);

// Where the field at position `index` (0-based, in file order) belongs: row -1 is the address
// line (column 0 its label, column 1 the address), rows 0..31 the table with columns 0
// address, 1 description, 2 write value, 3 read value. Nothing past the last field.
struct RegisterFieldSlot {
    int row = -1;
    int column = 0;
};
std::optional<RegisterFieldSlot> SlotOfRegisterField(int index);

// The field at position `index` (0-based, in file order) of a definitions table: 0 is the
// label "I2C ADDRESS", 1 the address, then the rows. Returns nullptr for the label and for
// positions past the last field.
std::string* FieldTarget(RegisterDefinitions& definitions, int index);

// Places fields read from a file into a table; fields the file did not have stay empty.
RegisterDefinitions DefinitionsFromFields(const std::vector<std::string>& fields);

// "I2C ADDRESS , " + the address + CR LF. The blank comes from the address being printed at
// the next 14-column zone, so the address always starts in column 15.
std::string RegisterFileAddressLine(std::string_view i2cAddress);

// The four texts joined by single commas + CR LF.
std::string RegisterFileRowLine(const RegisterFileRow& row);

// The whole file: the address line and the 32 row lines.
std::string FormatRegisterFile(const RegisterDefinitions& definitions);

}  // namespace i2cbridge
