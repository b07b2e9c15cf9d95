// Each panel item formats its values every second; these must stay well under a microsecond.
#include "TemporaryPreferences.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <benchmark/benchmark.h>
#include <filesystem>

namespace {

using namespace corvane;

struct Installed {
    Installed() {
        CVBSetIntegerForKey(2, "Network_DecimalLevelKB");
        CVBSetIntegerForKey(3, "Network_MenubarUnitLevel");
    }
    bench::TemporaryPreferences preferences{"text"};
};

Installed& installed() {
    static Installed i;
    return i;
}

void BM_formattedBandwidthFormatter(benchmark::State& state) {
    installed();
    double v = 123456;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedBandwidthFormatter(false, v));
        v += 1;
    }
}
BENCHMARK(BM_formattedBandwidthFormatter);

void BM_formattedMemory(benchmark::State& state) {
    installed();
    double v = 16777216;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedMemory(v));
        v += 1;
    }
}
BENCHMARK(BM_formattedMemory);

void BM_formattedTemperature(benchmark::State& state) {
    installed();
    double v = 45.5;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedTemperature(v));
        v += 0.001;
    }
}
BENCHMARK(BM_formattedTemperature);

void BM_cachedLocalizedString(benchmark::State& state) {
    installed();
    HLVLocalizedString("KB/s", {}, "common"); // loads the table
    for (auto _ : state)
        benchmark::DoNotOptimize(HLVLocalizedString("KB/s", {}, "common"));
}
BENCHMARK(BM_cachedLocalizedString);

} // namespace

BENCHMARK_MAIN();
