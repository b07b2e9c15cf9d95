// Each panel item formats its values every second; these must stay well under a microsecond.
#include "TemporaryPreferences.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"
#include "text/CVBTranslations.h"
#include "text/TextContext.h"
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
    TextCaches caches;
    TextContext text = caches.with(CVBPreferences::sharedPreferences());
};

const TextContext& installed() {
    static Installed i;
    return i.text;
}

void BM_formattedBandwidthFormatter(benchmark::State& state) {
    const TextContext& text = installed();
    double v = 123456;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedBandwidthFormatter(text, false, v));
        v += 1;
    }
}
BENCHMARK(BM_formattedBandwidthFormatter);

void BM_formattedMemory(benchmark::State& state) {
    const TextContext& text = installed();
    double v = 16777216;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedMemory(text, v));
        v += 1;
    }
}
BENCHMARK(BM_formattedMemory);

void BM_formattedTemperature(benchmark::State& state) {
    const TextContext& text = installed();
    double v = 45.5;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formattedTemperature(text, v));
        v += 0.001;
    }
}
BENCHMARK(BM_formattedTemperature);

void BM_cachedLocalizedString(benchmark::State& state) {
    const TextContext& text = installed();
    HLVLocalizedString(text, "KB/s", {}, "common"); // loads the table
    for (auto _ : state)
        benchmark::DoNotOptimize(HLVLocalizedString(text, "KB/s", {}, "common"));
}
BENCHMARK(BM_cachedLocalizedString);

} // namespace

BENCHMARK_MAIN();
