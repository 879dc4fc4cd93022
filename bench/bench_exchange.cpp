// One single-register read exchange against the simulated board (no latency), and the cost of
// appending to the program log.

#include <benchmark/benchmark.h>

#include "support/fakes.h"
#include "workbench/exchange.h"

namespace i2cbridge {
namespace {

// A main window in manual mode with the connection held open, as an engineer working at the
// bench would have it.
struct OpenRig {
    testing::Rig rig;
    FrmI2CGeneral& w = rig.main();
    OpenRig() {
        rig.board.model().setRecording(false);
        w.ChKManUsbConn.setChecked(true);
        w.ChKManUsbConn_Click();
        w.cmdUSBConnect_Click();
    }
};

// The frame exchange alone: request on pipe 2, reply from 0x82, with the transfer's checks.
void BM_RegisterReadExchange(benchmark::State& state) {
    OpenRig r;
    for (auto _ : state) {
        auto reply = SingleRegisterRead(r.rig.wb->usb, r.rig.wb->i2c, 0x61, 0x02);
        benchmark::DoNotOptimize(reply);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RegisterReadExchange);

// What a READ click does: the exchange, the result box, the count label and the lamps.
void BM_ReadButton(benchmark::State& state) {
    OpenRig r;
    r.w.txtUserRegAdr.setText("02");
    for (auto _ : state) r.w.cmdRead_Click();
    if (r.w.txtReadByte.text() != "5A") state.SkipWithError("READ did not read the identifier");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadButton);

// Appending N entries to the log: linear in N, because each append only adds at the end.
void BM_LogAppend(benchmark::State& state) {
    const auto n = state.range(0);
    for (auto _ : state) {
        testing::FakePump clock;
        ColorSet colors;
        ProgramLog log{clock, colors};
        for (int64_t i = 0; i < n; ++i) log.LogMessage("ReadPipe .. USB Not opened");
        benchmark::DoNotOptimize(log.Txtlog.text().size());
    }
    state.SetComplexityN(n);
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_LogAppend)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Complexity()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace i2cbridge
