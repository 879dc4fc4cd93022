// Read All of the register table against the built-in board, on a connection the user opened
// by hand (so the timed loop holds only the 32 rows: 64 transfers).
//
// BM_ReadAll_1msPerTransfer: every transfer takes 1 ms, as a full-speed USB frame would; the
//   counter ratio_to_64ms is the time of one Read All over the 64 ms its transfers need at least.
// BM_64Sleeps: the floor that BM_ReadAll_1msPerTransfer measures against on this machine: the
//   built-in board's 64 sleeps of 1 ms alone, with nothing else. On a loaded machine a 1 ms sleep
//   overshoots, and that overshoot is not the program's.
// BM_ReadAll_NoLatency: the board answers at once; the counter per_row is the software time
//   spent per row.

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

#include "app/program.h"
#include "bench_ports.h"
#include "foundation/ports.h"
#include "main_window/frm_i2c_general.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge {
namespace {

class NoDialogs : public Dialogs {
public:
    Answer messageBox(const std::string&, const std::string&, Buttons) override {
        return Answer::Ok;
    }
    bool openFile(FileDialogState&) override { return false; }
    bool saveFile(FileDialogState&) override { return false; }
};

struct Bench {
    SimulatedBoard board;
    BoardEventsPump pump{board};
    NoDialogs dialogs;
    Workbench wb{board, pump, dialogs};
    Program program{wb};
    FrmI2CGeneral& win = program.mainWindow();

    Bench() {
        win.ChKManUsbConn.setChecked(true);
        win.ChKManUsbConn_Click();
        win.cmdUSBConnect_Click();
        board.model().setRecording(false);
    }

    // Every row must have been read for the figures to mean anything.
    bool allRowsRead() const {
        for (int r = 0; r < kRegisterRows; ++r) {
            if (win.txtRdByte[r].text() == "--" || !win.txtRdByte[r].visible()) return false;
        }
        return win.txtRdByte[2].text() == "5A";
    }
};

void BM_ReadAll_1msPerTransfer(benchmark::State& state) {
    Bench b;
    b.board.setLatency(std::chrono::milliseconds(1));
    const int transfersBefore = b.board.transferCount();
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) b.win.cmdReadRegs_Click();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    if (!b.allRowsRead()) state.SkipWithError("a row was not read");
    const double iterations = static_cast<double>(state.iterations());
    state.counters["ratio_to_64ms"] = elapsed.count() / (iterations * 0.064);
    state.counters["transfers"] = benchmark::Counter(b.board.transferCount() - transfersBefore,
                                                     benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ReadAll_1msPerTransfer)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_64Sleeps(benchmark::State& state) {
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        for (int i = 0; i < 64; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    state.counters["ratio_to_64ms"] =
        elapsed.count() / (static_cast<double>(state.iterations()) * 0.064);
}
BENCHMARK(BM_64Sleeps)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadAll_NoLatency(benchmark::State& state) {
    Bench b;
    for (auto _ : state) b.win.cmdReadRegs_Click();
    if (!b.allRowsRead()) state.SkipWithError("a row was not read");
    state.counters["per_row"] = benchmark::Counter(
        kRegisterRows, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ReadAll_NoLatency)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace i2cbridge
