// Feeds arbitrary bytes to the register definitions file reader, then saves what it read and
// reads that back: every line read is either loaded or named as bad, the second reading must
// give the same table with no bad line, and saving it again the same bytes.

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
    const RegisterFileRead first = ReadRegisterFile(in);

    Check(first.lines <= kRegisterFileLines, "more than 33 lines read");
    Check(first.stop != RegisterFileRead::Stop::ReadError, "a text in memory failed to read");
    Check((first.stop == RegisterFileRead::Stop::Complete) == (first.lines == kRegisterFileLines),
          "stop reason disagrees with the line count");
    const auto good = static_cast<int>(first.address.has_value()) + first.rowsRead();
    Check(good + static_cast<int>(first.badLines.size()) == first.lines,
          "a line is neither loaded nor named as bad");
    for (const auto& row : first.rows) {
        if (!row) continue;
        for (const std::string* field : RegisterRowFields(*row)) {
            Check(field->find_first_of(",\r\n") == std::string::npos, "a field holds a separator");
            Check(field->empty() || field->front() != ' ', "a field starts with a blank");
        }
    }

    const RegisterDefinitions table = DefinitionsFrom(first);
    const std::string saved = FormatRegisterFile(table);
    Check(CountOf(saved, "\r\n") == kRegisterFileLines, "a saved file is not 33 lines");
    Check(CountOf(saved, "\r") == kRegisterFileLines && CountOf(saved, "\n") == kRegisterFileLines,
          "a saved file has a stray line end");
    Check(saved.size() >= 2 && saved.compare(saved.size() - 2, 2, "\r\n") == 0,
          "the last line of a saved file is not ended");

    std::istringstream again(saved);
    const RegisterFileRead second = ReadRegisterFile(again);
    Check(second.stop == RegisterFileRead::Stop::Complete, "a saved file reads short");
    Check(second.badLines.empty() && second.rowsRead() == kRegisterFileRows,
          "a saved file has bad lines");
    const RegisterDefinitions reread = DefinitionsFrom(second);
    Check(reread == table, "a saved table reads back different");
    Check(FormatRegisterFile(reread) == saved, "saving a reloaded table changes the file");
    return 0;
}
