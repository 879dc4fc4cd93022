// Feeds arbitrary bytes to the register definitions file reader, then saves what it read and
// reads that back: the second reading must give the same table, and saving it again the same
// bytes.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "main_window/register_file_format.h"

using namespace i2cbridge;

namespace {

void Check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "register file fuzz: %s\n", what);
    std::abort();
}

int CountOf(const std::string& text, std::string_view part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    const RegisterFileFields first = ReadRegisterFields(in);

    const auto count = first.fields.size();
    Check(count <= static_cast<std::size_t>(kRegisterFileFields), "more than 130 fields");
    Check(first.stop != RegisterFileFields::Stop::ReadError, "a text in memory failed to read");
    Check((first.stop == RegisterFileFields::Stop::Complete) ==
              (count == static_cast<std::size_t>(kRegisterFileFields)),
          "stop reason disagrees with the field count");
    for (const std::string& field : first.fields) {
        Check(field.find_first_of(",\r\n") == std::string::npos, "a field holds a separator");
        Check(field.empty() || field.front() != ' ', "a field starts with a blank");
    }

    const RegisterDefinitions table = DefinitionsFromFields(first.fields);
    const std::string saved = FormatRegisterFile(table);
    Check(CountOf(saved, "\r\n") == 1 + kRegisterFileRows, "a saved file is not 33 lines");
    Check(CountOf(saved, "\r") == 1 + kRegisterFileRows &&
              CountOf(saved, "\n") == 1 + kRegisterFileRows,
          "a saved file has a stray line end");
    Check(saved.size() >= 2 && saved.compare(saved.size() - 2, 2, "\r\n") == 0,
          "the last line of a saved file is not ended");

    std::istringstream again(saved);
    const RegisterFileFields second = ReadRegisterFields(again);
    Check(second.stop == RegisterFileFields::Stop::Complete, "a saved file reads short");
    Check(second.fields.front() == "I2C ADDRESS ", "the address line's label changed");
    const RegisterDefinitions reread = DefinitionsFromFields(second.fields);
    Check(reread == table, "a saved table reads back different");
    Check(FormatRegisterFile(reread) == saved, "saving a reloaded table changes the file");
    return 0;
}
