// Reading a full-size script (1000 lines, the most a script may have): what a load or a
// Reload costs before the grid is filled.

#include <benchmark/benchmark.h>

#include <string>

#include "scripts/script_reader.h"

namespace i2cbridge {
namespace {

// A script like the ones engineers write: mostly register writes and reads, some with
// comments, a comment block now and then, and the commands in between.
std::string MixedScript() {
    static const char* const kPattern[] = {
        "# ---- block: power-up and identification ----",
        "`A88",
        "00, 5A",
        "01,,3c  # identifier",
        "02,A5",
        "1234,ABCDEF,0102  # two register bytes, three write bytes",
        "`w250",
        "03,\t,FF",
        "`G12345678  # all GPIO outputs",
        ",AA",
        "04,11,22",
        "`IE",
        "05,0,0  # status",
        "",
        "`ID   # interrupts off",
        "06,7,9",
    };
    std::string text;
    for (int n = 0; n < kMaxScriptLines - 3; ++n) {
        text += kPattern[n % std::size(kPattern)];
        text += "\r\n";
    }
    text += "`ENDM\r\n`EISTART\r\n`EIEND\r\n";
    return text;
}

void BM_ReadScript1000Lines(benchmark::State& state) {
    const std::string text = MixedScript();
    for (auto _ : state) {
        ScriptLoad load = ReadScript(text, 0x60);
        benchmark::DoNotOptimize(load);
    }
    if (ReadScript(text, 0x60).rows.size() != static_cast<std::size_t>(kMaxScriptLines)) {
        state.SkipWithError("the script did not read as 1000 rows");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ReadScript1000Lines)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace i2cbridge
