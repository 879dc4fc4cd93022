// An overnight Loop Cont in the script window's model (no Qt) on the built-in board: ten read
// rows at 60, every pass opening and closing the board and so writing its log entries. The log
// keeps its text as the window does, which shows it.
//
// BM_OvernightLoopCont_10Rows/log_file:0|1: resident memory after the first 10,000 passes and
//   at the end (rss_at_10k_MiB, rss_at_end_MiB, growth_MiB, which must stay under 10), the log
//   entries written and those the log box still holds, and the time per pass. With log_file 1
//   every entry also goes to a log file, as --log FILE or File > Save Log... make it.
//   I2CB_OVERNIGHT_PASSES sets the passes (at least 10,000; 20,000 by default so that
//   `make bench` stays short; 1000000 for the overnight figure). Run each case in a process of
//   its own (--benchmark_filter=log_file:0): memory one case frees stays with the process.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "app/program.h"
#include "bench_ports.h"
#include "scripts/frm_script_ops.h"
#include "support/temp_dir.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge {
namespace {

double ResidentMiB() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) /
           (1024.0 * 1024.0);
}

void BM_OvernightLoopCont_10Rows(benchmark::State& state) {
    constexpr int kReads = 10;
    constexpr int kSettled = 10'000;
    const char* wanted = std::getenv("I2CB_OVERNIGHT_PASSES");
    const long passes = std::max<long>(kSettled, wanted ? std::atol(wanted) : 20'000);
    const bool logFile = state.range(0) != 0;

    for (auto _ : state) {
        testing::TempDir dir;
        const std::string script = dir.file("overnight.txt");
        std::string text;
        for (int i = 0; i < kReads; ++i) text += "02,,5A\r\n";
        testing::WriteBytes(script, text);

        SimulatedBoard board;
        board.model().setRecording(false);  // as the program builds it
        BoardEventsPump pump{board};
        ScriptDialogs dialogs{script};
        Workbench wb{board, pump, dialogs};
        Program program{wb};
        long entries = 0;
        wb.log.Txtlog.onAppend = [&entries](std::string_view) { ++entries; };
        if (logFile && wb.log.streamTo(dir.file("overnight.log"))) {
            state.SkipWithError("the log file cannot be written");
            break;
        }
        std::shared_ptr<FrmScriptOps> window = program.newScriptWindow();
        window->Form_Load();
        FrmScriptOps& w = *window;

        double rssSettled = 0;
        auto settledAt = std::chrono::steady_clock::now();
        long done = 0;
        w.txtLoopCount.onChange = [&] {
            done = std::atol(w.txtLoopCount.text().c_str());
            if (done == kSettled) {
                rssSettled = ResidentMiB();
                settledAt = std::chrono::steady_clock::now();
            }
            if (done >= passes) w.cmdAbort_Click();
        };
        const LoopOutcome loop = w.cmdRunContinuous_Click();
        const double rssEnd = ResidentMiB();
        const std::chrono::duration<double, std::micro> late =
            std::chrono::steady_clock::now() - settledAt;

        // At the end of a loop the window's boxes show the totals of every pass.
        if (done != passes || loop.passesRun != passes || loop.failed != 0 ||
            w.txtRdPass.text() != std::to_string(kReads * passes) || w.txtRdFails.text() != "0") {
            state.SkipWithError("the loop did not run its passes cleanly");
            break;
        }
        state.counters["passes"] = static_cast<double>(done);
        state.counters["rss_at_10k_MiB"] = rssSettled;
        state.counters["rss_at_end_MiB"] = rssEnd;
        state.counters["growth_MiB"] = rssEnd - rssSettled;
        state.counters["log_entries"] = static_cast<double>(entries);
        state.counters["log_kept_MiB"] =
            static_cast<double>(wb.log.Txtlog.text().size()) / (1024.0 * 1024.0);
        state.counters["us_per_pass_after_10k"] =
            late.count() / static_cast<double>(std::max<long>(1, done - kSettled));
        if (logFile) {
            state.counters["log_file_MiB"] =
                static_cast<double>(std::filesystem::file_size(dir.file("overnight.log"))) /
                (1024.0 * 1024.0);
        }
        if (rssEnd - rssSettled > 10.0) state.SkipWithError("resident memory grew by over 10 MB");
    }
}
BENCHMARK(BM_OvernightLoopCont_10Rows)
    ->ArgName("log_file")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace
}  // namespace i2cbridge
