// Run All Steps of a 1000-row script in a script window shown offscreen: every row reads
// register 2 of the device at 60 and compares it with 5A, so every row transfers, paints its
// address and Act_Rd cells and moves the grid's selection.
//
// BM_RunAllSteps_1000Rows_BoardEvents: every yield delivers the board's events only, as the
//   tests' pump does; what is measured is the core and the binding (cell and selection
//   updates reaching the table view), without painting.
// BM_RunAllSteps_1000Rows_QtPump: the program's own pump: every yield also runs Qt's pending
//   events, so the window repaints as the run goes, as it does on screen.
// The counter per_row is the time per script row.
// BM_ReadButton_AutomaticConnection_QtPump: the main window's READ with the connection left to
//   the program (open, one read, close) under the program's pump, while the script window is on
//   screen: the open's 10,000 yields are what it costs.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "app/program.h"
#include "bench_ports.h"
#include "qt/qt_ports.h"
#include "qt/qt_script_window.h"
#include "main_window/frm_i2c_general.h"
#include "scripts/frm_script_ops.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge {
namespace {

constexpr int kRows = 1000;

QApplication& App() {
    return BenchApp("bench_script_window");
}

class ScriptFile {
public:
    ScriptFile()
        : path_(std::filesystem::temp_directory_path() /
                ("bench_script_window_" + std::to_string(::getpid()) + ".txt")) {
        std::ofstream out(path_, std::ios::binary);
        for (int i = 0; i < kRows; ++i) out << "02,,5A\r\n";
    }
    ~ScriptFile() {
        std::error_code ec;
        std::filesystem::remove(path_, ec);
    }
    std::string path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

template <class Pump>
struct Bench {
    explicit Bench(const std::string& script) : dialogs(script) {
        view = std::make_unique<ScriptWindowView>(program, program.newScriptWindow());
        view->show();
        view->load();
        board.model().setRecording(false);
    }
    bool allRowsPassed() {
        const FrmScriptOps& m = view->model();
        return m.rowCount() == kRows && m.txtRdPass.text() == std::to_string(kRows) &&
               m.txtRdFails.text() == "0";
    }

    SimulatedBoard board;
    Pump pump{board};
    ScriptDialogs dialogs;
    Workbench wb{board, pump, dialogs};
    Program program{wb};
    std::unique_ptr<ScriptWindowView> view;  // goes before the program and its models
};

template <class Pump>
void RunAllSteps(benchmark::State& state) {
    App();
    const ScriptFile script;
    Bench<Pump> b(script.path());
    for (auto _ : state) b.view->model().cmdExecAll_Click();
    if (!b.allRowsPassed()) state.SkipWithError("a row did not pass");
    state.counters["per_row"] = benchmark::Counter(
        kRows, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_RunAllSteps_1000Rows_BoardEvents(benchmark::State& state) {
    RunAllSteps<BoardEventsPump>(state);
}
BENCHMARK(BM_RunAllSteps_1000Rows_BoardEvents)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RunAllSteps_1000Rows_QtPump(benchmark::State& state) {
    RunAllSteps<QtPump>(state);
}
BENCHMARK(BM_RunAllSteps_1000Rows_QtPump)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadButton_AutomaticConnection_QtPump(benchmark::State& state) {
    App();
    const ScriptFile script;
    Bench<QtPump> b(script.path());
    FrmI2CGeneral& main = b.program.mainWindow();
    main.txtUserRegAdr.setText("02");
    for (auto _ : state) main.cmdRead_Click();
    if (main.txtReadByte.text() != "5A") state.SkipWithError("the read did not give 5A");
}
BENCHMARK(BM_ReadButton_AutomaticConnection_QtPump)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace i2cbridge
