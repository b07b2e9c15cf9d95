// One memory sample on this machine, as the status-item process takes it every second.
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>

namespace {

using namespace corvane;

void BM_MemoryUpdate(benchmark::State& state) {
    ManualMainQueue queue;
    const EngineContext context{queue, kSettingsTierCount, nullptr};
    MemoryStatCollectorLinux memory(context, SysRoot());
    for (auto _ : state)
        memory.updateStats();
}
BENCHMARK(BM_MemoryUpdate);

} // namespace

BENCHMARK_MAIN();
