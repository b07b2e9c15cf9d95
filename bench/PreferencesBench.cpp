// The reads every panel item makes while drawing, each second: they must be cheap cache hits.
#include "TemporaryPreferences.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};

} // namespace

// Counts heap allocations, so that the benchmark can show a hit allocates nothing. GCC cannot
// see that this replaced new and the deletes below belong together.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

using namespace corvane;

struct Installed {
    Installed() { CVBSetObjectForKey("0.50 0.25 0.75 1.00", "CPU_MenubarTextColor"); }
    bench::TemporaryPreferences preferences{"prefs"};
};

Installed& installed() {
    static Installed i;
    return i;
}

void reportAllocations(benchmark::State& state, std::size_t before) {
    state.counters["allocs_per_hit"] = benchmark::Counter(
        static_cast<double>(allocations.load() - before) / static_cast<double>(state.iterations()));
}

void BM_ObjectForKeyHit(benchmark::State& state) {
    installed();
    (void)CVBObjectForKey("CPU_MenubarSingleHistoryGraph");
    const std::size_t before = allocations.load();
    for (auto _ : state)
        benchmark::DoNotOptimize(&CVBObjectForKey("CPU_MenubarSingleHistoryGraph"));
    reportAllocations(state, before);
}
BENCHMARK(BM_ObjectForKeyHit);

void BM_IntegerForKeyHitOnACachedMiss(benchmark::State& state) {
    installed();
    (void)CVBObjectForKey("Weather_TemperatureUnits");
    const std::size_t before = allocations.load();
    for (auto _ : state)
        benchmark::DoNotOptimize(CVBIntegerForKey("Weather_TemperatureUnits"));
    reportAllocations(state, before);
}
BENCHMARK(BM_IntegerForKeyHitOnACachedMiss);

void BM_ColorForKeyHit(benchmark::State& state) {
    installed();
    (void)CVBColorForKey("CPU_MenubarTextColor");
    const std::size_t before = allocations.load();
    for (auto _ : state)
        benchmark::DoNotOptimize(CVBColorForKey("CPU_MenubarTextColor"));
    reportAllocations(state, before);
}
BENCHMARK(BM_ColorForKeyHit);

// What a miss costs: a read of the domain held in memory and a cache entry.
void BM_ObjectForKeyMiss(benchmark::State& state) {
    installed();
    for (auto _ : state) {
        CVBRefreshKey("CPU_MenubarMode");
        benchmark::DoNotOptimize(&CVBObjectForKey("CPU_MenubarMode"));
    }
}
BENCHMARK(BM_ObjectForKeyMiss);

} // namespace

BENCHMARK_MAIN();
