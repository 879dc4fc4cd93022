// Runs a script through a script window against the simulated board while the board answers
// with bytes and counts taken from the input: replies replaced by arbitrary bytes, cut short,
// or lost to transfer errors. Whatever the board says, the run must end with the connection
// closed, the counters consistent and every read inside its buffer (the sanitizers watch), and
// it must end: a run that goes past the step limit is a finding.
//
// Input: one byte of switches (abort on fail, interrupt sampling), the script text up to a
// zero byte, then records of [kind, length, bytes...] that become the board's next answers.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <string_view>

#include "app/program.h"
#include "foundation/ports.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

using namespace i2cbridge;

namespace {

void Check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "script engine fuzz: %s\n", what);
    std::abort();
}

// A pass opens the connection (10,000 yields) and yields a few times per row: a run of this
// many yields is a pass that does not end.
constexpr long kMaxYields = 2'000'000;

// Yields deliver the board's events; sleeps take no time; the clock stands still.
class Pump : public UiPump {
public:
    explicit Pump(BoardDriver& driver) : driver_(driver) {}
    void yield() override {
        driver_.deliverEvents();
        Check(++yields_ <= kMaxYields, "the run did not end within the step limit");
    }
    void sleepMs(int) override {}
    DateTime now() override { return {}; }

private:
    BoardDriver& driver_;
    long yields_ = 0;
};

// Keypress pauses answered by the input; files are never chosen but the script's own.
class ScriptedDialogs : public Dialogs {
public:
    std::string path;
    bool cancelPauses = false;
    Answer messageBox(const std::string&, const std::string&, Buttons buttons) override {
        return buttons == Buttons::OkCancel && cancelPauses ? Answer::Cancel : Answer::Ok;
    }
    bool openFile(FileDialogState& state) override {
        state.setFileName(path);
        return true;
    }
    bool saveFile(FileDialogState&) override { return false; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t switches = data[0];
    std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const auto end = rest.find('\0');
    const std::string script(rest.substr(0, end));
    std::string_view faults =
        end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);

    // The script goes through the file system, as the window reads it.
    char path[] = "/tmp/i2cbridge-fuzz-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) return 0;
    Check(write(fd, script.data(), script.size()) == static_cast<ssize_t>(script.size()),
          "the script could not be written");
    close(fd);

    SimulatedBoard board;
    board.model().setRecording(false);
    Pump pump(board);
    ScriptedDialogs dialogs;
    dialogs.path = path;
    dialogs.cancelPauses = (switches & 4) != 0;
    Workbench wb(board, pump, dialogs);
    Program program(wb);
    program.mainWindow();

    while (faults.size() >= 2) {
        const uint8_t kind = static_cast<uint8_t>(faults[0]);
        const std::size_t length =
            std::min<std::size_t>(static_cast<uint8_t>(faults[1]), faults.size() - 2);
        SimulatedBoard::TransferFault f;
        f.pipe = (kind & 8) ? 0x81u : 0x82u;
        switch (kind & 3) {
            case 0:
                f.status = usb_status::kSuccess;
                board.injectReply(
                    *f.pipe, std::vector<uint8_t>(faults.begin() + 2,
                                                  faults.begin() + 2 + static_cast<long>(length)));
                break;
            case 1:
                f.status = usb_status::kSuccess;
                f.truncateTo = static_cast<uint32_t>(length);
                break;
            case 2:
                f.status = (length % 3 == 0)   ? usb_status::kTimeout
                           : (length % 3 == 1) ? usb_status::kIo
                                               : usb_status::kNoDevice;
                break;
            default:
                f.status = usb_status::kSuccess;
                break;
        }
        board.injectTransferFault(f);
        faults.remove_prefix(2 + ((kind & 3) == 0 ? length : 0));
    }

    auto window = program.newScriptWindow();
    FrmScriptOps& w = *window;
    w.Form_Load();
    w.chkAOF.setChecked((switches & 1) != 0);
    w.chkISample.setChecked((switches & 2) != 0);
    w.cmdExecAll_Click();

    Check(!wb.usb.UsbOpen, "the run left the connection open");
    Check(!wb.usb.ManualUsbConnect, "the run left the connection held");
    Check(w.txtRunning.text() == "Done", "the run did not end");
    const int passes = std::atoi(w.txtRdPass.text().c_str());
    const int fails = std::atoi(w.txtRdFails.text().c_str());
    Check(passes >= 0 && fails >= 0 && passes + fails <= w.rowCount() * 2 + 2,
          "more compares than rows could make");
    for (int n = 1; n <= w.rowCount(); ++n) {
        Check(w.cellText(n, kColActRd).size() <= 2 * 255 + 20, "Act_Rd longer than any reply");
    }
    program.closeScriptWindow(w);
    unlink(path);
    return 0;
}
