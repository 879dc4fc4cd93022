// The 1000-row read script through the command-line program as a whole process, beside its
// start-up alone (--version, and a run of an empty script on the built-in board): what the
// program adds to the core's run is its start-up. The core's own figure is bench_script_run.

#include <benchmark/benchmark.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "support/temp_dir.h"

namespace {

using i2cbridge::testing::TempDir;
using i2cbridge::testing::WriteBytes;

int Run(const std::string& args) {
    const std::string command = std::string(I2CB_CLI_PATH) + " " + args + " >/dev/null 2>&1";
    const int raw = std::system(command.c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

void Process(benchmark::State& state, const std::string& args) {
    for (auto _ : state) {
        if (Run(args) != 0) {
            state.SkipWithError(("failed: " + args).c_str());
            break;
        }
    }
}

void BM_CliVersion(benchmark::State& state) {
    Process(state, "--version");
}
BENCHMARK(BM_CliVersion)->Unit(benchmark::kMillisecond)->UseRealTime();

// The start-up cost of a run: one read and its compare (a script with nothing to run is a
// failed run, so it would measure the error path).
void BM_CliRunOneRead(benchmark::State& state) {
    TempDir dir;
    WriteBytes(dir.file("one.txt"), "02,,5A\r\n");
    Process(state, "run " + dir.file("one.txt") + " --simulate");
}
BENCHMARK(BM_CliRunOneRead)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CliRun1000Reads(benchmark::State& state) {
    TempDir dir;
    std::string script;
    for (int i = 0; i < 1000; ++i) script += "02,,5A\r\n";
    WriteBytes(dir.file("reads.txt"), script);
    Process(state, "run " + dir.file("reads.txt") + " --simulate");
}
BENCHMARK(BM_CliRun1000Reads)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
