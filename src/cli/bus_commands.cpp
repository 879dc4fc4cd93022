// The bus commands: read, write, dump, scan and gpio.

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/cli.h"
#include "foundation/hex_text.h"
#include "gpio/frm_gpio.h"
#include "workbench/bus_tools.h"

namespace i2cbridge::cli {

namespace {

// ADDR is the tool's 8-bit write address; with -7 a 7-bit address, as bus tools take it. A read
// address (odd) is refused: it names the same device as the write address below it.
std::optional<uint8_t> Address(const Options& o, const std::string& text, std::string& error) {
    if (o.sevenBit) {
        if (const auto value = ParseHex(text, 0x7F)) return static_cast<uint8_t>(*value << 1);
        error = "ADDR must be a 7-bit address from 00 to 7F with -7, not \"" + text + "\"";
        return std::nullopt;
    }
    const auto value = ParseHex(text, 0xFF);
    if (!value) {
        error = "ADDR must be one hexadecimal byte, not \"" + text + "\"";
    } else if (*value % 2) {
        error = "ADDR " + text + " is a read address; give the write address " +
                HexByteText(static_cast<int>(*value - 1)) + ", or the 7-bit address " +
                HexByteText(static_cast<int>(*value >> 1)) + " with -7";
    } else {
        return static_cast<uint8_t>(*value);
    }
    return std::nullopt;
}

// After a device did not answer: the 7-bit habit is the usual cause.
void NoAnswerHint(const Options& o, const std::string& text, uint8_t address) {
    if (o.sevenBit || o.quiet || address >= 0x80) return;
    Complain("nothing answered at write address " + HexByteText(address) + "; if " + text +
             " is a 7-bit address, add -7");
}

// The usual grid of a 16 by 16 table: a header of column digits, then a row per 16; with
// text, the bytes as characters at the end of each row, as i2cdump shows them.
void PrintGrid(const std::vector<std::string>& cells, bool text = false) {
    std::printf("   ");
    for (int c = 0; c < 16; ++c) std::printf("  %X", c);
    std::printf(text ? "    0123456789ABCDEF\n" : "\n");
    for (std::size_t row = 0; row * 16 < cells.size(); ++row) {
        std::printf("%02X:", static_cast<unsigned>(row * 16));
        std::string chars;
        for (std::size_t c = 0; c < 16 && row * 16 + c < cells.size(); ++c) {
            const std::string& cell = cells[row * 16 + c];
            std::printf(" %s", cell.c_str());
            const auto value = ParseHex(cell, 0xFF);
            chars += !value                            ? 'X'
                     : *value == 0 || *value == 0xFF   ? '.'
                     : *value < 0x20 || *value >= 0x7F ? '?'
                                                       : static_cast<char>(*value);
        }
        std::printf(text ? "    %s\n" : "\n", chars.c_str());
    }
}

}  // namespace

int Read(const Options& o) {
    if (o.words.size() < 3 || o.words.size() > 4) return Usage("read takes ADDR REG [COUNT]");
    std::string error;
    const auto address = Address(o, o.words[1], error);
    const auto reg = HexBytes(o.words[2]);
    int count = 1;
    if (o.words.size() == 4) {
        try {
            std::size_t used = 0;
            count = std::stoi(o.words[3], &used);
            if (used != o.words[3].size()) count = 0;
        } catch (const std::exception&) {
            count = 0;
        }
    }
    if (!address) return Usage(error);
    if (!reg) return Usage("REG must be hexadecimal bytes, not \"" + o.words[2] + "\"");
    if (count < 1 || count > 255) return Usage("COUNT must be a number from 1 to 255");

    CliSession session(o);
    if (const int status = Start(session)) return status;
    Workbench& wb = session.wb();
    const Reply reply = ReadRegisterBytes(wb.usb, wb.i2c, *address, *reg, count);
    session.close();
    const std::vector<uint8_t> data(reply.bytes().begin() + 1, reply.bytes().end());
    const bool ok = ReadReplyOk(reply[0], count);
    if (o.json) {
        PrintJson({{"address", HexByteText(*address)},
                   {"register", HexList(*reg, "")},
                   {"count", count},
                   {"read", reply[0]},
                   {"data", ok ? HexList(data, "") : ""}});
    } else if (ok) {
        std::printf("%s\n", HexList(data).c_str());
    }
    if (!ok) {
        Complain("the device read " + std::to_string(reply[0]) + " of " + std::to_string(count) +
                 " bytes");
        if (reply[0] == 0) NoAnswerHint(o, o.words[1], *address);
        return kExitFailed;
    }
    return kExitOk;
}

int Write(const Options& o) {
    if (o.words.size() < 4) return Usage("write takes ADDR REG DATA...");
    std::string error;
    const auto address = Address(o, o.words[1], error);
    const auto reg = HexBytes(o.words[2]);
    if (!address) return Usage(error);
    if (!reg) return Usage("REG must be hexadecimal bytes, not \"" + o.words[2] + "\"");
    std::vector<uint8_t> data;
    for (std::size_t i = 3; i < o.words.size(); ++i) {
        const auto bytes = HexBytes(o.words[i]);
        if (!bytes) return Usage("DATA must be hexadecimal bytes, not \"" + o.words[i] + "\"");
        data.insert(data.end(), bytes->begin(), bytes->end());
    }
    // A frame's count byte carries register and data bytes together.
    if (reg->size() + data.size() > 255) return Usage("REG and DATA come to more than 255 bytes");

    CliSession session(o);
    if (const int status = Start(session)) return status;
    Workbench& wb = session.wb();
    uint8_t acknowledged = 0;
    const bool ok = WriteRegisterBytes(wb.usb, wb.i2c, *address, *reg, data, acknowledged);
    session.close();
    const auto expected = static_cast<int>(1 + reg->size() + data.size());
    if (o.json) {
        PrintJson({{"address", HexByteText(*address)},
                   {"register", HexList(*reg, "")},
                   {"data", HexList(data, "")},
                   {"acknowledged", acknowledged},
                   {"expected", expected}});
    }
    if (!ok) {
        Complain("the device acknowledged " + std::to_string(acknowledged) + " of " +
                 std::to_string(expected) + " bytes");
        if (acknowledged == 0) NoAnswerHint(o, o.words[1], *address);
        return kExitFailed;
    }
    return kExitOk;
}

// Every register read on its own, as the register table reads: a failed one shows XX.
int Dump(const Options& o) {
    if (o.words.size() != 2) return Usage("dump takes ADDR");
    std::string error;
    const auto address = Address(o, o.words[1], error);
    if (!address) return Usage(error);
    CliSession session(o);
    if (const int status = Start(session)) return status;
    Workbench& wb = session.wb();
    std::vector<std::string> cells;
    bool allRead = true;
    for (int r = 0; r < 256; ++r) {
        const uint8_t reg[] = {static_cast<uint8_t>(r)};
        const Reply reply = ReadRegisterBytes(wb.usb, wb.i2c, *address, reg, 1);
        const bool ok = ReadReplyOk(reply[0], 1);
        allRead = allRead && ok;
        cells.push_back(ok ? HexByteText(reply[1]) : "XX");
    }
    session.close();
    if (o.json) {
        nlohmann::ordered_json registers = nlohmann::ordered_json::array();
        for (const std::string& cell : cells) {
            registers.push_back(cell == "XX" ? nlohmann::ordered_json()
                                             : nlohmann::ordered_json(cell));
        }
        PrintJson({{"address", HexByteText(*address)}, {"registers", registers}});
    } else {
        PrintGrid(cells, true);
    }
    if (!allRead) NoAnswerHint(o, o.words[1], *address);
    return allRead ? kExitOk : kExitFailed;
}

// The grid shows 7-bit addresses, as bus scanners do; the list under it the write addresses
// the tool uses everywhere else.
int Scan(const Options& o) {
    if (o.words.size() != 1) return Usage("scan takes no arguments");
    CliSession session(o);
    if (const int status = Start(session)) return status;
    const BusScan scan = ScanBus(session.wb().usb, session.wb().i2c);
    const std::vector<uint8_t>& found = scan.found;
    session.close();
    if (o.json) {
        std::printf("{\"found\":[");
        for (std::size_t i = 0; i < found.size(); ++i)
            std::printf("%s\"%s\"", i ? "," : "", HexByteText(found[i]).c_str());
        std::printf("]}\n");
    } else {
        std::vector<std::string> cells(128, "--");
        char seven[3];
        for (uint8_t a : found) {
            std::snprintf(seven, sizeof seven, "%02X", a >> 1);
            cells[a >> 1] = seven;
        }
        PrintGrid(cells);
        std::printf("Write addresses: %s\n", found.empty() ? "none" : HexList(found).c_str());
    }
    if (o.expect && *o.expect != found) {
        std::fprintf(stderr, "i2cbridge-cli: expected %s, found %s\n", HexList(*o.expect).c_str(),
                     found.empty() ? "none" : HexList(found).c_str());
        return kExitFailed;
    }
    return kExitOk;
}

// Through the GPIO screen, as the window and the script rows do it: data only, or enables and
// data when --enables is given.
int Gpio(const Options& o) {
    if (o.words.size() > 2) return Usage("gpio takes [DATA]");
    const std::string data = o.words.size() == 2 ? o.words[1] : "FFFF";
    if (data.size() != 4 || !StrictHexValue(data, 0xFFFF))
        return Usage("DATA must be four hexadecimal digits: port B, then port C");
    CliSession session(o);
    if (const int status = Start(session)) return status;
    session.close();
    Workbench& wb = session.wb();
    const auto bytes = *HexBytes(data);
    wb.GpioState.portBData = bytes[0];
    wb.GpioState.portCLedData = bytes[1];
    if (o.enables) {
        const auto enables = *HexBytes(*o.enables);
        wb.GpioState.portBEnables = enables[0];
        wb.GpioState.portCLedEnables = enables[1];
    }
    const GpioOutcome outcome = session.program().gpioScreen().writeAndReadBack(
        o.enables ? GpioFrame::EnablesAndData : GpioFrame::DataOnly);
    const GpioBytes& back = outcome.readBack;
    const std::string portB = HexByteText(back.portBData);
    const std::string portC = HexByteText(back.portCLedData);
    const std::string enablesB = HexByteText(back.portBEnables);
    const std::string enablesC = HexByteText(back.portCLedEnables);
    if (o.json) {
        std::printf("{\"portB\":\"%s\",\"portC\":\"%s\"", portB.c_str(), portC.c_str());
        if (o.enables) {
            std::printf(",\"enablesB\":\"%s\",\"enablesC\":\"%s\"", enablesB.c_str(),
                        enablesC.c_str());
        }
        std::printf("}\n");
    } else {
        std::printf("port B %s  port C %s", portB.c_str(), portC.c_str());
        if (o.enables) std::printf("  enables B %s  C %s", enablesB.c_str(), enablesC.c_str());
        std::printf("\n");
    }
    return kExitOk;
}

}  // namespace i2cbridge::cli
