// One beat of the processor and load collectors on this machine, as the status-item process
// runs it every second.
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

void BM_CpuAndLoadUpdate(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    CPUStatCollectorLinux cpu(context, SysRoot());
    LoadStatCollectorLinux load(context, SysRoot());
    cpu.setup();
    for (auto _ : state) {
        cpu.updateStats();
        load.updateStats();
    }
    state.counters["processors"] = static_cast<double>(cpu.logicalCores().size());
    state.counters["tasks"] = cpu.taskCount();
}
BENCHMARK(BM_CpuAndLoadUpdate);

// The parts of a beat, to see where its time goes.
void BM_CpuUpdate(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    CPUStatCollectorLinux cpu(context, SysRoot());
    cpu.setup();
    for (auto _ : state)
        cpu.updateStats();
}
BENCHMARK(BM_CpuUpdate);

void BM_LoadUpdate(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    LoadStatCollectorLinux load(context, SysRoot());
    for (auto _ : state)
        load.updateStats();
}
BENCHMARK(BM_LoadUpdate);

} // namespace

BENCHMARK_MAIN();
