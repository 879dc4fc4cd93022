#include "main_window/register_file_format.h"

namespace i2cbridge {

namespace {
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kAddressLabel = "I2C ADDRESS ,";
}  // namespace

std::optional<std::string> RegisterFieldReader::next() {
    using Traits = std::istream::traits_type;
    auto c = in_.peek();
    while (c == ' ') {
        in_.get();
        c = in_.peek();
    }
    if (Traits::eq_int_type(c, Traits::eof())) return std::nullopt;

    std::string field;
    while (true) {
        c = in_.get();
        if (Traits::eq_int_type(c, Traits::eof())) {
            // A stream that fails inside a field has lost the rest of it: no field.
            if (in_.bad()) return std::nullopt;
            break;
        }
        const char ch = Traits::to_char_type(c);
        if (ch == ',' || ch == '\n') break;
        if (ch == '\r') {
            if (Traits::eq_int_type(in_.peek(), Traits::to_int_type('\n'))) in_.get();
            break;
        }
        field.push_back(ch);
    }
    return field;
}

RegisterFileFields ReadRegisterFields(std::istream& in) {
    RegisterFileFields result;
    result.fields.reserve(kRegisterFileFields);
    RegisterFieldReader reader(in);
    while (static_cast<int>(result.fields.size()) < kRegisterFileFields) {
        auto field = reader.next();
        if (!field) {
            result.stop = in.bad() ? RegisterFileFields::Stop::ReadError
                                   : RegisterFileFields::Stop::EndOfFile;
            return result;
        }
        result.fields.push_back(std::move(*field));
    }
    result.stop = RegisterFileFields::Stop::Complete;
    return result;
}

std::optional<RegisterFieldSlot> SlotOfRegisterField(int index) {
    if (index < 0 || index >= kRegisterFileFields) return std::nullopt;
    if (index < 2) return RegisterFieldSlot{-1, index};
    return RegisterFieldSlot{(index - 2) / kFieldsPerRegisterRow,
                             (index - 2) % kFieldsPerRegisterRow};
}

std::string* FieldTarget(RegisterDefinitions& definitions, int index) {
    const auto slot = SlotOfRegisterField(index);
    if (!slot || (slot->row < 0 && slot->column == 0)) return nullptr;
    if (slot->row < 0) return &definitions.address;
    RegisterFileRow& row = definitions.rows[slot->row];
    std::string* columns[kFieldsPerRegisterRow] = {&row.address, &row.description, &row.writeValue,
                                                   &row.readValue};
    return columns[slot->column];
}

RegisterDefinitions DefinitionsFromFields(const std::vector<std::string>& fields) {
    RegisterDefinitions definitions;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (std::string* target = FieldTarget(definitions, static_cast<int>(i))) {
            *target = fields[i];
        }
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
    line.reserve(row.address.size() + row.description.size() + row.writeValue.size() +
                 row.readValue.size() + 3 + kLineEnd.size());
    line.append(row.address).append(",");
    line.append(row.description).append(",");
    line.append(row.writeValue).append(",");
    line.append(row.readValue).append(kLineEnd);
    return line;
}

std::string FormatRegisterFile(const RegisterDefinitions& definitions) {
    std::string text = RegisterFileAddressLine(definitions.address);
    for (const RegisterFileRow& row : definitions.rows) text += RegisterFileRowLine(row);
    return text;
}

}  // namespace i2cbridge
