// One single-register exchange (the read request on pipe 2, the two-byte reply from 0x82)
// through the program's UsbConnection, with its log and lamps live, on the connection the user
// opened by hand: once through LibusbDriver to the board emulated under umockdev, once through
// the built-in SimulatedBoard. Also the open and close around an automatic operation, with the
// libusb context kept between them and started afresh each time.
//
// The emulation needs umockdev's preload library; the program restarts itself with it when it
// is missing, so plain `build/bench/bench_libusb_exchange` works as well as
// `LD_PRELOAD=libumockdev-preload.so.0 build/bench/bench_libusb_exchange`.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "libusb_rig.h"
#include "workbench/exchange.h"

namespace i2cbridge::testing {
namespace {

constexpr const char* kPreload = "libumockdev-preload.so.0";

const std::vector<uint8_t> kIdentifierReply{1, BoardModel::kIdentifier};

void OpenByHand(Workbench& wb) {
    FrmI2CGeneral& w = wb.mainWindow();
    w.ChKManUsbConn.setChecked(true);
    w.ChKManUsbConn_Click();
    w.cmdUSBConnect_Click();
}

void Exchange(benchmark::State& state, Workbench& wb) {
    OpenByHand(wb);
    for (auto _ : state) {
        auto reply = SingleRegisterRead(wb.usb, wb.i2c, 0x61, BoardModel::kIdentifierRegister);
        if (reply.bytes() != kIdentifierReply) {
            state.SkipWithError("wrong reply");
            break;
        }
        benchmark::DoNotOptimize(reply);
    }
    wb.mainWindow().cmdUSBDisconnect_Click();
}

bool Emulated(benchmark::State& state) {
    const char* preload = std::getenv("LD_PRELOAD");
    if (preload != nullptr && std::strstr(preload, "umockdev-preload") != nullptr) return true;
    state.SkipWithError("needs LD_PRELOAD=libumockdev-preload.so.0");
    return false;
}

void BM_SingleRegisterRead_Simulated(benchmark::State& state) {
    Rig rig;
    Exchange(state, *rig.wb);
}
BENCHMARK(BM_SingleRegisterRead_Simulated)->Unit(benchmark::kMicrosecond)->UseRealTime();

// The emulated board answers "no URB finished yet" after a pause (see EmulatedBoardConfig),
// which bounds how soon a URB submitted meanwhile is seen; the argument is that pause in
// microseconds.
void BM_SingleRegisterRead_Libusb(benchmark::State& state) {
    if (!Emulated(state)) return;
    EmulatedBoardConfig config;
    config.idlePause = std::chrono::microseconds(state.range(0));
    LibusbRig rig(config);
    Exchange(state, *rig.wb);
}
BENCHMARK(BM_SingleRegisterRead_Libusb)
    ->ArgName("idlePauseUs")
    ->Arg(1000)
    ->Arg(100)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

// USB Connect then USB Disconnect: the open's 10,000 yields, the attach, the reset and the stop.
void OpenAndClose(benchmark::State& state, Workbench& wb) {
    FrmI2CGeneral& w = wb.mainWindow();
    for (auto _ : state) {
        w.cmdUSBConnect_Click();
        if (wb.usb.DriverContext.DeviceHandle == 0) {
            state.SkipWithError("the board was not attached");
            break;
        }
        w.cmdUSBDisconnect_Click();
        // The log would otherwise grow by the attach lines of every round.
        w.Txtlog.clear();
    }
}

void BM_OpenAndClose_Simulated(benchmark::State& state) {
    Rig rig;
    OpenAndClose(state, *rig.wb);
}
BENCHMARK(BM_OpenAndClose_Simulated)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_OpenAndClose_Libusb(benchmark::State& state) {
    if (!Emulated(state)) return;
    LibusbRig rig(EmulatedBoardConfig{}, LibusbDriverOptions{state.range(0) != 0});
    OpenAndClose(state, *rig.wb);
}
BENCHMARK(BM_OpenAndClose_Libusb)
    ->ArgName("keepContext")
    ->Arg(1)
    ->Arg(0)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

// Restarts the program with the preload library in front, once.
void EnsurePreload(char** argv) {
    const char* preload = std::getenv("LD_PRELOAD");
    if (preload != nullptr && std::strstr(preload, "umockdev-preload") != nullptr) return;
    if (std::getenv("I2CB_BENCH_REEXEC") != nullptr) return;
    const std::string before = preload != nullptr ? preload : "";
    std::string value = kPreload;
    if (!before.empty()) value += ":" + before;
    setenv("LD_PRELOAD", value.c_str(), 1);
    setenv("I2CB_BENCH_REEXEC", "1", 1);
    execv("/proc/self/exe", argv);
    // Could not restart: the libusb cases report that they need the preload.
    if (preload == nullptr) {
        unsetenv("LD_PRELOAD");
    } else {
        setenv("LD_PRELOAD", before.c_str(), 1);
    }
}

}  // namespace
}  // namespace i2cbridge::testing

int main(int argc, char** argv) {
    i2cbridge::testing::EnsurePreload(argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
