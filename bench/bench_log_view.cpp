// The program log's Qt view: what appending one entry costs in time and memory.
//
// BM_LogViewAppend/logPageShown:0|1: one entry through the log box model into its view, with
//   the log page hidden (the General page current) or shown. Every 1,000 entries the event loop
//   runs, as the handlers' yields let it, so painting is counted too.
// BM_LogViewMemory: resident memory per entry after 1,000,000 entries (counter bytes_per_entry),
//   the model's copy of the text included; BM_LogModelMemory is that model part alone.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTabWidget>
#include <cstdio>
#include <memory>
#include <string>

#include "bench_ports.h"
#include "foundation/controls.h"
#include "foundation/program_log.h"
#include "qt/qt_binding.h"
#include "qt/qt_log_view.h"

namespace i2cbridge {
namespace {

QApplication& App() {
    return BenchApp("bench_log_view");
}

// The main window's tabs: a general page and the log page with its bound view.
struct LogWindow {
    explicit LogWindow(LogBox& model) {
        tabs.resize(1100, 700);
        tabs.addTab(new QWidget, QStringLiteral("General I2C Comm"));
        auto* view = new LogView(model.text());
        bind::log(model, view);
        tabs.addTab(view, QStringLiteral("Program Log"));
        tabs.show();
        QApplication::processEvents();
    }
    QApplication& app = App();  // before any widget
    QTabWidget tabs;
};

void Append(LogBox& box, long i) {
    const DateTime now{2026, 11, 18, 17, 5, static_cast<int>(i % 60)};
    AppendLogLine(box, "readPipe: Transfer failed: LIBUSB_ERROR_NO_DEVICE", kCrLf, false, now);
}

long ResidentBytes() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return resident * 4096;
}

void BM_LogViewAppend(benchmark::State& state) {
    LogBox model;
    LogWindow window(model);
    window.tabs.setCurrentIndex(state.range(0) ? 1 : 0);
    QApplication::processEvents();
    long i = 0;
    for (auto _ : state) {
        Append(model, i);
        if (++i % 1000 == 0) QApplication::processEvents();
    }
    QApplication::processEvents();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LogViewAppend)->ArgName("logPageShown")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

constexpr long kEntries = 1'000'000;

void BM_LogViewMemory(benchmark::State& state) {
    for (auto _ : state) {
        auto model = std::make_unique<LogBox>();
        auto window = std::make_unique<LogWindow>(*model);
        const long before = ResidentBytes();
        for (long i = 0; i < kEntries; ++i) {
            Append(*model, i);
            if (i % 1000 == 0) QApplication::processEvents();
        }
        QApplication::processEvents();
        state.counters["bytes_per_entry"] =
            static_cast<double>(ResidentBytes() - before) / static_cast<double>(kEntries);
    }
}
BENCHMARK(BM_LogViewMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_LogModelMemory(benchmark::State& state) {
    for (auto _ : state) {
        auto model = std::make_unique<LogBox>();
        const long before = ResidentBytes();
        for (long i = 0; i < kEntries; ++i) Append(*model, i);
        state.counters["bytes_per_entry"] =
            static_cast<double>(ResidentBytes() - before) / static_cast<double>(kEntries);
    }
}
BENCHMARK(BM_LogModelMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace i2cbridge
