// The Python module against the core it drives, in one process: the interpreter is embedded
// and imports the package from the build folder.
//
// BM_CoreRead / BM_PythonRead: one register read on the built-in board without latency; the
//   core's exchange (ReadRegisterBytes on an open session) against board.read(0x30, 2) called
//   through the interpreter. The difference is what the module adds per call.
// BM_CoreRun1000Rows / BM_PythonRun1000Rows: the 1000-row read script, as the command line's
//   run does it (RunScript on a session whose board each step opens and closes) against
//   board.run_script().

#include <benchmark/benchmark.h>
#include <pybind11/embed.h>

#include <string>

#include "app/script_run.h"
#include "app/session.h"
#include "support/temp_dir.h"
#include "workbench/bus_tools.h"

namespace py = pybind11;

namespace i2cbridge {
namespace {

std::string ReadScript(testing::TempDir& dir) {
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "02,,5A\r\n";
    const std::string path = dir.file("reads.txt");
    testing::WriteBytes(path, text);
    return path;
}

SessionSettings Simulated() {
    SessionSettings s;
    s.simulate = true;
    return s;
}

py::object Board() {
    static py::scoped_interpreter* interpreter = new py::scoped_interpreter();
    (void)interpreter;
    py::module_::import("sys").attr("path").attr("insert")(0, I2CB_PYTHON_DIR);
    return py::module_::import("i2cbridge").attr("open")(py::arg("simulate") = true);
}

void BM_CoreRead(benchmark::State& state) {
    Session session(Simulated());
    session.open();
    session.wb().usb.ManualUsbConnect = true;
    const uint8_t reg[] = {2};
    for (auto _ : state) {
        const Reply reply = ReadRegisterBytes(session.wb().usb, session.wb().i2c, 0x60, reg, 1);
        if (reply[1] != 0x5A) state.SkipWithError("wrong answer");
    }
}
BENCHMARK(BM_CoreRead);

void BM_PythonRead(benchmark::State& state) {
    py::object board = Board();
    py::object read = board.attr("read");
    const py::int_ address(0x30), reg(2);
    for (auto _ : state) {
        py::object data = read(address, reg);
        benchmark::DoNotOptimize(data.ptr());
    }
    if (read(address, reg).cast<std::string>() != "Z") state.SkipWithError("wrong answer");
    board.attr("close")();
}
BENCHMARK(BM_PythonRead);

void BM_CoreRun1000Rows(benchmark::State& state) {
    testing::TempDir dir;
    ScriptRunRequest request;
    request.path = ReadScript(dir);
    Session session(Simulated());
    // As the command line starts: the board opened once (is it there?) and closed again.
    session.open();
    session.close();
    for (auto _ : state) {
        const ScriptRun run = RunScript(session, request);
        if (run.suite.count(CaseStatus::Pass) != 1000) state.SkipWithError("rows failed");
    }
}
BENCHMARK(BM_CoreRun1000Rows)->Unit(benchmark::kMillisecond);

void BM_PythonRun1000Rows(benchmark::State& state) {
    testing::TempDir dir;
    const std::string path = ReadScript(dir);
    py::object board = Board();
    py::object run = board.attr("run_script");
    for (auto _ : state) {
        if (run(path).attr("passed").cast<int>() != 1000) state.SkipWithError("rows failed");
    }
    board.attr("close")();
}
BENCHMARK(BM_PythonRun1000Rows)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace i2cbridge
