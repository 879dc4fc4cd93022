// Drives the whole program on the simulated board with a sequence of user actions and board
// events read from the input: windows opened and closed, scripts and definitions files loaded,
// rows selected, runs, loops, aborts, register reads and writes, GPIO writes, the board
// unplugged and plugged back, transfers that fail. An action may also land inside a yield of a
// handler that is still running (a click while a transfer waits), on the same window or on
// another, including the click that closes the window. The sanitizers watch every step; a
// handler that never returns is caught by the step limit.
//
// Input: a sequence of actions, each one byte (the action) and the argument bytes it reads.
// File dialogs and message boxes take their answers from the input as they come.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "app/program.h"
#include "foundation/ports.h"
#include "gpio/frm_gpio.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

using namespace i2cbridge;

namespace {

// Yields per input before the fuzzer asks every run to stop, as a user's Abort would, and
// after which a handler still running counts as a hang. One open waits 10,000 yields.
constexpr long kYieldBudget = 400'000;
constexpr long kHangYields = kYieldBudget + 200'000;
// How deep actions may land inside the yields of actions that are still running.
constexpr int kMaxNesting = 4;

// The files a dialog can choose: copies of the example scripts and the example definitions
// file, one file written from the input, a file the program saves, and a path that does not
// exist. They live in a folder of their own, written afresh for every input, since runs record
// into them and beside them.
class Files {
public:
    static constexpr std::size_t kInput = 7;
    static constexpr std::size_t kSaved = 8;
    static constexpr std::size_t kCount = 10;

    static Files& instance() {
        static Files files;
        return files;
    }
    const std::string& path(std::size_t n) const { return paths_[n % kCount]; }
    void reset() {
        std::filesystem::remove_all(dir_);
        std::filesystem::create_directory(dir_);
        for (std::size_t n = 0; n < originals_.size(); ++n) {
            std::ofstream(paths_[n], std::ios::binary) << originals_[n];
        }
    }

private:
    Files() {
        char dir[] = "/tmp/i2cbridge-actions-XXXXXX";
        if (mkdtemp(dir) == nullptr) std::abort();
        dir_ = dir;
        const std::filesystem::path root(I2CB_SOURCE_DIR);
        for (const char* name : {"examples/delay_endmain.txt", "examples/gpio_walk.txt",
                                 "examples/interrupt_rearm.txt", "examples/interrupt_service.txt",
                                 "examples/memory_test.txt", "examples/register_test.txt",
                                 "docs/examples/video_mux.qrl"}) {
            std::ifstream in(root / name, std::ios::binary);
            originals_.emplace_back(std::istreambuf_iterator<char>(in),
                                    std::istreambuf_iterator<char>());
            if (originals_.back().empty()) {
                std::fprintf(stderr, "program actions fuzz: %s is missing\n", name);
                std::abort();
            }
            paths_.push_back((dir_ / std::filesystem::path(name).filename()).string());
        }
        paths_.push_back((dir_ / "input.txt").string());
        paths_.push_back((dir_ / "saved.qrl").string());
        paths_.push_back((dir_ / "missing" / "none.txt").string());
    }

    std::filesystem::path dir_;
    std::vector<std::string> originals_;
    std::vector<std::string> paths_;
};

class Actions;

// The event loop: each yield delivers the board's events and, when the input asked for it,
// runs the next action there.
class Pump : public UiPump {
public:
    Pump(BoardDriver& driver, Actions& actions) : driver_(driver), actions_(actions) {}
    void yield() override;
    void sleepMs(int) override {}
    DateTime now() override { return {}; }

    long yields = 0;
    long inYieldAfter = -1;  // run the next action when this many more yields have passed

private:
    BoardDriver& driver_;
    Actions& actions_;
};

class Answers : public Dialogs {
public:
    explicit Answers(Actions& actions) : actions_(actions) {}
    Answer messageBox(const std::string&, const std::string&, Buttons) override;
    bool openFile(FileDialogState& state) override;
    bool saveFile(FileDialogState& state) override;

private:
    Actions& actions_;
};

class Actions {
public:
    Actions(const uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    void runAll() {
        while (!done()) runOne();
        // Nothing runs any more: a run still asked to loop was asked by an action that has
        // returned, so all that is left is the program closing.
    }

    bool done() const { return at_ >= size_ || ended_ || pump_.yields > kYieldBudget; }
    uint8_t next() { return at_ < size_ ? data_[at_++] : 0; }

    // An action inside a yield of a handler that is still running.
    void runInYield() {
        if (depth_ >= kMaxNesting || done()) return;
        runOne();
    }

    void overBudget() {
        // The user presses Abort; a run that does not stop after that hangs.
        wb_.script.AbortRequested = true;
        if (pump_.yields > kHangYields) {
            std::fprintf(stderr, "program actions fuzz: a handler ran %ld yields\n", pump_.yields);
            std::abort();
        }
    }

    Pump& pump() { return pump_; }

private:
    FrmScriptOps* script() {
        const auto& windows = program_.scriptWindows();
        if (windows.empty()) return nullptr;
        return windows[next() % windows.size()].get();
    }

    void newScriptWindow() {
        // As the Qt program does: a new window is shown, then loaded.
        FrmScriptOps& w = *program_.newScriptWindow();
        w.Form_Load();
    }

    void runOne() {
        ++depth_;
        const uint8_t action = next();
        switch (action % 48) {
            // Board events.
            case 0:
                board_.unplug();
                break;
            case 1:
                board_.plug();
                break;
            case 2: {
                SimulatedBoard::TransferFault f;
                const uint8_t kind = next();
                if (kind & 1) f.pipe = (kind & 2) ? 0x81u : 0x82u;
                switch ((kind >> 2) % 5) {
                    case 0:
                        f.status = usb_status::kIo;
                        break;
                    case 1:
                        f.status = usb_status::kTimeout;
                        break;
                    case 2:
                        f.status = usb_status::kNoDevice;
                        break;
                    default:
                        f.status = usb_status::kSuccess;
                        f.truncateTo = next() % 8;
                        break;
                }
                board_.injectTransferFault(f);
                break;
            }
            case 3: {
                const std::size_t length = next() % 8;
                std::vector<uint8_t> bytes;
                for (std::size_t i = 0; i < length; ++i) bytes.push_back(next());
                board_.injectReply((next() & 1) ? 0x81u : 0x82u, std::move(bytes));
                break;
            }
            case 4:
                board_.setNoEndpoints((next() & 1) != 0);
                break;
            // The next action lands inside a later yield.
            case 5:
                pump_.inYieldAfter = next() % 32;
                break;
            case 6: {
                // The input's own file, for the dialogs to choose.
                const std::size_t length = next() * 4u;
                std::ofstream out(Files::instance().path(Files::kInput), std::ios::binary);
                for (std::size_t i = 0; i < length && at_ < size_; ++i) {
                    out.put(static_cast<char>(next()));
                }
                break;
            }

            // The main window.
            case 7:
                main().cmdUSBConnect_Click();
                break;
            case 8:
                main().cmdUSBDisconnect_Click();
                break;
            case 9:
                main().ChKManUsbConn.setChecked(!main().ChKManUsbConn.checked());
                main().ChKManUsbConn_Click();
                break;
            case 10:
                main().cmdReadRegs_Click();
                break;
            case 11:
                main().cmdwriteAll_Click();
                break;
            case 12:
                main().cmdRead_Click();
                break;
            case 13:
                main().cmdWrite1Byte_Click(next() % 2);
                break;
            case 14:
                main().cmdTestComm_Click();
                break;
            case 15:
                main().mnuSetup_Open_Click();
                break;
            case 16:
                main().mnuSetup_Save_Click();
                break;
            case 17:
                main().mnuGPIO_Click();
                break;
            case 18:
                main().mnu_ScriptShow_Click();
                break;
            case 19:
                main().Command7_Click();
                break;
            case 20:
                main().cmdAppsSet_Click();
                break;
            case 21:
                main().cbReset_Click();
                break;
            case 22:
                main().cbSend_Click();
                break;
            case 23:
                main().cmdWrite_Click();
                break;
            case 24: {
                static const char* const kAddresses[] = {"60", "C0", "1FF", "zz", "", "0"};
                main().txtI2CAdr.setText(kAddresses[next() % 6]);
                int key = kKeyEnter;
                main().txtI2CAdr_KeyPress(key);
                break;
            }
            case 25:
                main().txtRdByte_Click(next() % kRegisterRows);
                break;
            case 26:
                main().cmdexit_Click();
                break;

            // The GPIO screen.
            case 27:
                program_.gpioScreen().cmdGPIO_Write_Click();
                break;
            case 28:
                program_.gpioScreen().cmdWrite_GPIO_Data_Click();
                break;
            case 29: {
                FrmGPIO& g = program_.gpioScreen();
                const uint8_t which = next();
                const int bit = which >> 3;
                switch (which % 5) {
                    case 0:
                        g.setChecked(g.chkOutEn[bit % 8], !g.chkOutEn[bit % 8].checked(),
                                     &FrmGPIO::chkOutEn_Click, bit % 8);
                        break;
                    case 1:
                        g.setChecked(g.chkOutEnc[bit % 4], !g.chkOutEnc[bit % 4].checked(),
                                     &FrmGPIO::chkOutEnc_Click, bit % 4);
                        break;
                    case 2:
                        g.setChecked(g.ChkBData[bit % 8], !g.ChkBData[bit % 8].checked(),
                                     &FrmGPIO::ChkBData_Click, bit % 8);
                        break;
                    case 3:
                        g.setChecked(g.ChkCData[bit % 4], !g.ChkCData[bit % 4].checked(),
                                     &FrmGPIO::ChkCData_Click, bit % 4);
                        break;
                    default:
                        g.setChecked(g.ChKLedData[bit % 2], !g.ChKLedData[bit % 2].checked(),
                                     &FrmGPIO::ChKLedData_Click, bit % 2);
                        break;
                }
                break;
            }
            case 30:
                program_.unloadGpioScreen();
                break;

            // Script windows.
            case 31:
                newScriptWindow();
                break;
            case 32:
                if (FrmScriptOps* w = script()) program_.closeScriptWindow(*w);
                break;
            case 33:
                if (FrmScriptOps* w = script()) w->mnuScript_Read_Click();
                break;
            case 34:
                if (FrmScriptOps* w = script()) w->cmdReload2_Click();
                break;
            case 35:
                if (FrmScriptOps* w = script()) w->cmdExecAll_Click();
                break;
            case 36:
                if (FrmScriptOps* w = script()) w->cmdRunContinuous_Click();
                break;
            case 37:
                if (FrmScriptOps* w = script()) w->cmdAbort_Click();
                break;
            case 38:
                if (FrmScriptOps* w = script()) {
                    const int row = next() % (w->rowCount() + 2);
                    w->vbalGrid1_SelectionChange(row, next() % 12);
                }
                break;
            case 39:
                if (FrmScriptOps* w = script()) w->chkAOF.setChecked(!w->chkAOF.checked());
                break;
            case 40:
                if (FrmScriptOps* w = script()) {
                    w->chkISample.setChecked(!w->chkISample.checked());
                    w->chkISample_MouseUp();
                }
                break;
            case 41:
                if (FrmScriptOps* w = script()) w->cmdISample_Click();
                break;
            case 42:
                if (FrmScriptOps* w = script()) w->cmdStartRec_Click();
                break;
            case 43:
                if (FrmScriptOps* w = script()) w->cmdBrowse_Click();
                break;
            case 44:
                if (FrmScriptOps* w = script()) w->Form_GotFocus();
                break;
            case 45:
                if (FrmScriptOps* w = script()) w->Dupform_Click();
                break;
            case 46:
                if (FrmScriptOps* w = script()) {
                    static const char* const kAddresses[] = {"60", "c0", "FF", "zz", ""};
                    w->txtI2CAdr.setText(kAddresses[next() % 5]);
                    int key = kKeyEnter;
                    w->txtI2CAdr_KeyPress(key);
                }
                break;
            default:
                main().Form_GotFocus();
                break;
        }
        --depth_;
    }

    FrmI2CGeneral& main() { return program_.mainWindow(); }

    const uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool ended_ = false;

    SimulatedBoard board_;
    Pump pump_{board_, *this};
    Answers answers_{*this};
    Workbench wb_{board_, pump_, answers_};
    Program program_{wb_};

public:
    void setUp() {
        board_.model().setRecording(false);
        wb_.windows.showScriptWindow = [this] {
            if (program_.scriptWindows().empty()) newScriptWindow();
        };
        wb_.windows.openAnotherScriptWindow = [this] { newScriptWindow(); };
        wb_.windows.endProgram = [this] { ended_ = true; };
    }
};

void Pump::yield() {
    ++yields;
    driver_.deliverEvents();
    if (yields > kYieldBudget) actions_.overBudget();
    if (inYieldAfter < 0) return;
    if (inYieldAfter-- > 0) return;
    actions_.runInYield();
}

Dialogs::Answer Answers::messageBox(const std::string&, const std::string&, Buttons) {
    return (actions_.next() & 1) ? Answer::Cancel : Answer::Ok;
}

bool Answers::openFile(FileDialogState& state) {
    const uint8_t choice = actions_.next();
    if (choice % (Files::kCount + 1) == Files::kCount) return false;
    state.setFileName(Files::instance().path(choice % (Files::kCount + 1)));
    return true;
}

bool Answers::saveFile(FileDialogState& state) {
    if (actions_.next() & 1) return false;
    state.setFileName(Files::instance().path(Files::kSaved));
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Files::instance().reset();
    auto actions = std::make_unique<Actions>(data, size);
    actions->setUp();
    actions->runAll();
    return 0;
}
