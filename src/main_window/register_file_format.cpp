#include "main_window/register_file_format.h"

#include <algorithm>

namespace i2cbridge {

namespace {
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kAddressLabel = "I2C ADDRESS ,";
// A longer line is no line of a definitions file (a binary file, say); the rest of it is
// skipped without being kept.
constexpr std::size_t kLongestLine = 64 * 1024;

enum class LineRead { Line, End, Failed };

// One line without its end (CR LF, LF or CR). `tooLong` tells a line cut at kLongestLine.
LineRead NextLine(std::istream& in, std::string& line, bool& tooLong) {
    using Traits = std::istream::traits_type;
    line.clear();
    tooLong = false;
    bool any = false;
    while (true) {
        const auto c = in.get();
        if (Traits::eq_int_type(c, Traits::eof())) {
            if (in.bad()) return LineRead::Failed;
            return any ? LineRead::Line : LineRead::End;
        }
        any = true;
        const char ch = Traits::to_char_type(c);
        if (ch == '\n') return LineRead::Line;
        if (ch == '\r') {
            if (Traits::eq_int_type(in.peek(), Traits::to_int_type('\n'))) in.get();
            return LineRead::Line;
        }
        if (line.size() < kLongestLine) {
            line.push_back(ch);
        } else {
            tooLong = true;
        }
    }
}
}  // namespace

std::array<std::string*, kFieldsPerRegisterRow> RegisterRowFields(RegisterFileRow& row) {
    return {&row.address, &row.description, &row.writeValue, &row.readValue};
}

std::array<const std::string*, kFieldsPerRegisterRow> RegisterRowFields(
    const RegisterFileRow& row) {
    return {&row.address, &row.description, &row.writeValue, &row.readValue};
}

std::vector<std::string> SplitRegisterLine(std::string_view line) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = line.find(',', start);
        std::string_view field = line.substr(
            start, comma == std::string_view::npos ? std::string_view::npos : comma - start);
        field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
        fields.emplace_back(field);
        if (comma == std::string_view::npos) return fields;
        start = comma + 1;
    }
}

int RegisterFileRead::rowsRead() const {
    int n = 0;
    for (const auto& row : rows) n += row.has_value() ? 1 : 0;
    return n;
}

RegisterFileRead ReadRegisterFile(std::istream& in) {
    RegisterFileRead read;
    std::string line;
    bool tooLong = false;
    while (read.lines < kRegisterFileLines) {
        const LineRead got = NextLine(in, line, tooLong);
        if (got == LineRead::Failed) {
            read.stop = RegisterFileRead::Stop::ReadError;
            return read;
        }
        if (got == LineRead::End) {
            read.stop = RegisterFileRead::Stop::EndOfFile;
            return read;
        }
        const int number = ++read.lines;
        const std::vector<std::string> fields =
            tooLong ? std::vector<std::string>{} : SplitRegisterLine(line);
        if (number == 1 && fields.size() == 2) {
            read.address = fields[1];
        } else if (number > 1 && fields.size() == kFieldsPerRegisterRow) {
            RegisterFileRow row;
            const auto targets = RegisterRowFields(row);
            for (int f = 0; f < kFieldsPerRegisterRow; ++f) *targets[f] = fields[f];
            read.rows[number - 2] = std::move(row);
        } else {
            read.badLines.push_back(number);
        }
    }
    read.stop = RegisterFileRead::Stop::Complete;
    return read;
}

RegisterDefinitions DefinitionsFrom(const RegisterFileRead& read) {
    RegisterDefinitions definitions;
    definitions.address = read.address.value_or("");
    for (int k = 0; k < kRegisterFileRows; ++k) {
        if (read.rows[k]) definitions.rows[k] = *read.rows[k];
    }
    return definitions;
}

std::string RegisterFileAddressLine(std::string_view i2cAddress) {
    std::string line;
    line.reserve(kAddressLabel.size() + 1 + i2cAddress.size() + kLineEnd.size());
    line.append(kAddressLabel).append(" ").append(i2cAddress).append(kLineEnd);
    return line;
}

std::string RegisterFileRowLine(const RegisterFileRow& row) {
    std::string line;
    std::string_view separator;
    for (const std::string* field : RegisterRowFields(row)) {
        line.append(separator).append(*field);
        separator = ",";
    }
    return line.append(kLineEnd);
}

std::string FormatRegisterFile(const RegisterDefinitions& definitions) {
    std::string text = RegisterFileAddressLine(definitions.address);
    for (const RegisterFileRow& row : definitions.rows) text += RegisterFileRowLine(row);
    return text;
}

}  // namespace i2cbridge
