// Script runs in the core, without a window: the model's Run All Steps and Loop Cont against
// the built-in board. Every read row is "02,,5A" at 60 (the identifier register), so every row
// sends a request, reads a reply and passes.
//
// BM_RunAllSteps_1000Rows: the board answers at once; one run of 1000 rows, including the open
//   (with its 10,000 yields) and the close. The counter per_row is the software time per row.
// BM_RunAllSteps_100Rows_1msFrames: every transfer ends at the next boundary of a 1 ms frame
//   clock, as on a full-speed bus. A read row is two transfers, so 100 rows cannot take less
//   than 200 ms; ratio_to_200ms is one run over that floor, transfers the transfers per run.
// BM_Soak_LoopCont_50Rows_SaveFile: Loop Cont over a comment, 48 read rows and a Save File
//   step, stopped by Abort after 10,000 passes. Every pass opens the board, runs the rows and
//   appends the script to its "_DL" file. Reported: the time per pass over the first and the last
//   100 passes, the resident size after the first 100 passes and at the end, and the program log's
//   size at both points (the log keeps every entry, three per open). The "_DL" file must grow
//   by exactly one script per pass. record_frames 1 keeps every frame sent (as tests have the
//   board), 0 as the program builds it; keep_log 1 keeps the log's text (as the window does,
//   which shows it), 0 streams it only (as the command line does). The wall-clock times
//   include the data log's sync to disk; the cpu_us counters leave it out. Run each case in a
//   process of its own (--benchmark_filter='record_frames:0/keep_log:0'): memory freed by one
//   soak stays with the process and hides the next one's growth.

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "app/program.h"
#include "bench_ports.h"
#include "scripts/frm_script_ops.h"
#include "support/temp_dir.h"
#include "usb/simulated_board.h"
#include "workbench/workbench.h"

namespace i2cbridge {
namespace {

using Clock = std::chrono::steady_clock;

// A script holds at most kMaxScriptLines rows, so the 1000-row run has no room for a comment.
std::string ReadRows(int rows) {
    std::string text;
    for (int i = 0; i < rows; ++i) text += "02,,5A\r\n";
    return text;
}

struct Bench {
    Bench(const std::string& scriptText, bool recordFrames, bool keepLog)
        : script(dir.file("soak.txt")), dialogs(script) {
        testing::WriteBytes(script, scriptText);
        board.model().setRecording(recordFrames);
        wb.log.Txtlog.setRetain(keepLog);
        window = program.newScriptWindow();
        window->Form_Load();
    }
    bool allRowsPassed(int reads) const {
        return window->txtRdPass.text() == std::to_string(reads) &&
               window->txtRdFails.text() == "0";
    }

    testing::TempDir dir;
    std::string script;
    SimulatedBoard board;
    BoardEventsPump pump{board};
    ScriptDialogs dialogs;
    Workbench wb{board, pump, dialogs};
    Program program{wb};
    std::shared_ptr<FrmScriptOps> window;
};

void BM_RunAllSteps_1000Rows(benchmark::State& state) {
    constexpr int kRows = 1000;
    Bench b(ReadRows(kRows), false, true);
    for (auto _ : state) b.window->cmdExecAll_Click();
    if (!b.allRowsPassed(kRows)) state.SkipWithError("a row did not pass");
    state.counters["per_row"] = benchmark::Counter(
        kRows, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_RunAllSteps_1000Rows)->Unit(benchmark::kMillisecond);

void BM_RunAllSteps_100Rows_1msFrames(benchmark::State& state) {
    constexpr int kRows = 100;
    Bench b(ReadRows(kRows), false, true);
    b.board.setLatency(std::chrono::milliseconds(1));
    const int transfersBefore = b.board.transferCount();
    const auto start = Clock::now();
    for (auto _ : state) b.window->cmdExecAll_Click();
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    if (!b.allRowsPassed(kRows)) state.SkipWithError("a row did not pass");
    const double runs = static_cast<double>(state.iterations());
    state.counters["ratio_to_200ms"] = elapsed.count() / (runs * 0.200);
    state.counters["transfers"] = benchmark::Counter(b.board.transferCount() - transfersBefore,
                                                     benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_RunAllSteps_100Rows_1msFrames)->Unit(benchmark::kMillisecond)->UseRealTime();

std::uintmax_t ResidentBytes() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return static_cast<std::uintmax_t>(resident) *
           static_cast<std::uintmax_t>(::sysconf(_SC_PAGESIZE));
}

// The process's CPU time: the data log's sync waits on the disk, which the wall clock counts
// and the CPU time does not.
double CpuSeconds() {
    timespec t{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

std::uintmax_t FileSize(const std::string& path) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    return ec ? 0 : size;
}

int Digits(int n) {
    return static_cast<int>(std::to_string(n).size());
}

void BM_Soak_LoopCont_50Rows_SaveFile(benchmark::State& state) {
    constexpr int kReads = 48;  // with the comment and the Save File step, 50 rows
    // 10,000 passes in `make bench`; I2CB_SOAK_PASSES=100000 for an overnight-sized soak.
    const char* passesWanted = std::getenv("I2CB_SOAK_PASSES");
    const int kPasses = passesWanted ? std::max(200, std::atoi(passesWanted)) : 10000;
    constexpr int kWindow = 100;  // passes averaged at the start and at the end
    constexpr double kMiB = 1024.0 * 1024.0;
    const bool recordFrames = state.range(0) != 0;
    const bool keepLog = state.range(1) != 0;

    for (auto _ : state) {
        const std::string text = "# soak\r\n" + ReadRows(kReads) +
                                 "`S            # append this pass to the data log\r\n";
        Bench b(text, recordFrames, keepLog);
        // The first pass writes the script back as it was loaded, with the stamp on line 1.
        const std::uintmax_t firstPass =
            text.size() + std::string("# AutoUpdated: 11-18-2026 17:05:09 Looping: 0").size();
        FrmScriptOps& w = *b.window;
        const std::string log = b.dir.file("soak_DL.txt");

        std::vector<Clock::time_point> passEnds;
        std::vector<double> passCpuEnds;
        passEnds.reserve(kPasses + 1);
        passCpuEnds.reserve(kPasses + 1);
        std::uintmax_t rssStart = 0, logStart = 0, logCapacityStart = 0;
        std::uintmax_t onePass = 0, grownBefore = 0;
        std::string fault;

        // The loop count changes once per pass, right after the pass; the stamp on the script's
        // first line carries the count of passes done before it ("Looping: 0" in the first), so a
        // pass is the first pass's size with that count's digits in place of one.
        w.txtLoopCount.onChange = [&] {
            const int done = std::stoi(w.txtLoopCount.text());
            if (done == 0) return;
            passEnds.push_back(Clock::now());
            passCpuEnds.push_back(CpuSeconds());
            const std::uintmax_t grown = FileSize(log);
            if (done == 1) {
                onePass = grown;
                if (grown != firstPass) fault = "the first pass is not one copy of the script";
            }
            const std::uintmax_t expected =
                onePass - 1 + static_cast<std::uintmax_t>(Digits(done - 1));
            if (fault.empty() && grown - grownBefore != expected) {
                fault = "pass " + std::to_string(done) + " appended " +
                        std::to_string(grown - grownBefore) + " bytes, not " +
                        std::to_string(expected);
            }
            grownBefore = grown;
            if (done == kWindow) {
                rssStart = ResidentBytes();
                logStart = b.wb.log.Txtlog.text().size();
                logCapacityStart = b.wb.log.Txtlog.text().capacity();
            }
            if (done == kPasses) w.cmdAbort_Click();
        };
        const std::uintmax_t rssBefore = ResidentBytes();
        passEnds.push_back(Clock::now());
        passCpuEnds.push_back(CpuSeconds());
        const LoopOutcome loop = w.cmdRunContinuous_Click();
        const std::uintmax_t rssEnd = ResidentBytes();

        if (!fault.empty()) {
            state.SkipWithError(fault.c_str());
            break;
        }
        // At the end the boxes show the totals of every pass, so the loop's outcome judges.
        if (static_cast<int>(passEnds.size()) != kPasses + 1 || loop.passesRun != kPasses ||
            loop.comparesFailed != 0 || loop.comparesPassed != kPasses * kReads) {
            state.SkipWithError("the loop did not run 10,000 clean passes");
            break;
        }
        std::uintmax_t expectedTotal = 0;
        for (int done = 1; done <= kPasses; ++done) {
            expectedTotal += onePass - 1 + static_cast<std::uintmax_t>(Digits(done - 1));
        }
        if (FileSize(log) != expectedTotal) {
            state.SkipWithError("the data log is not one script per pass");
            break;
        }

        const auto perPass = [&](int from) {
            const std::chrono::duration<double, std::micro> span =
                passEnds[static_cast<std::size_t>(from + kWindow)] -
                passEnds[static_cast<std::size_t>(from)];
            return span.count() / kWindow;
        };
        const auto cpuPerPass = [&](int from) {
            return (passCpuEnds[static_cast<std::size_t>(from + kWindow)] -
                    passCpuEnds[static_cast<std::size_t>(from)]) *
                   1e6 / kWindow;
        };
        state.counters["first100_us_per_pass"] = perPass(0);
        state.counters["last100_us_per_pass"] = perPass(kPasses - kWindow);
        state.counters["first100_cpu_us_per_pass"] = cpuPerPass(0);
        state.counters["last100_cpu_us_per_pass"] = cpuPerPass(kPasses - kWindow);
        state.counters["rss_before_MiB"] = static_cast<double>(rssBefore) / kMiB;
        state.counters["rss_at_100_MiB"] = static_cast<double>(rssStart) / kMiB;
        state.counters["rss_at_end_MiB"] = static_cast<double>(rssEnd) / kMiB;
        state.counters["log_at_100_MiB"] = static_cast<double>(logStart) / kMiB;
        state.counters["log_at_end_MiB"] =
            static_cast<double>(b.wb.log.Txtlog.text().size()) / kMiB;
        state.counters["log_capacity_at_100_MiB"] = static_cast<double>(logCapacityStart) / kMiB;
        state.counters["log_capacity_at_end_MiB"] =
            static_cast<double>(b.wb.log.Txtlog.text().capacity()) / kMiB;
        state.counters["frames_recorded"] = static_cast<double>(b.board.model().sent().size());
        state.counters["dl_file_MiB"] = static_cast<double>(FileSize(log)) / kMiB;
    }
}
BENCHMARK(BM_Soak_LoopCont_50Rows_SaveFile)
    ->ArgNames({"record_frames", "keep_log"})
    ->Args({1, 1})
    ->Args({0, 1})
    ->Args({0, 0})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace
}  // namespace i2cbridge
