// One battery sample, as the status-item process takes it every sixth beat: on this machine,
// and on recorded laptops with a battery and adapters, read from the kernel's uevent summaries
// (as current kernels write them) and file by file (trees without them).
#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

void updateLoop(benchmark::State& state, SysRoot root) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    BatteryStatCollectorLinux battery(context, std::move(root));
    for (auto _ : state)
        battery.updateStats();
    battery.cleanup();
}

void BM_BatteryUpdateThisMachine(benchmark::State& state) {
    updateLoop(state, SysRoot());
}
BENCHMARK(BM_BatteryUpdateThisMachine);

void BM_BatteryUpdateRecordedLaptopUevent(benchmark::State& state) {
    updateLoop(state, SysRoot(CVB_FIXTURES_DIR "/sysroot/laptop-charging"));
}
BENCHMARK(BM_BatteryUpdateRecordedLaptopUevent);

void BM_BatteryUpdateRecordedLaptopFileByFile(benchmark::State& state) {
    updateLoop(state, SysRoot(CVB_FIXTURES_DIR "/sysroot/laptop-discharging"));
}
BENCHMARK(BM_BatteryUpdateRecordedLaptopFileByFile);

} // namespace

BENCHMARK_MAIN();
