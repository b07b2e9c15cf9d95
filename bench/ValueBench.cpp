// Costs of the sample and settings dictionaries that every process hands around each second.
#include "foundation/PropertyList.h"
#include "foundation/Value.h"

#include <benchmark/benchmark.h>
#include <string>
#include <vector>

using corvane::Value;

namespace {

std::vector<std::string> keys() {
    std::vector<std::string> k;
    for (int i = 0; i < 50; ++i)
        k.push_back("Sensors_MenubarKey_" + std::to_string(i));
    return k;
}

Value fiftyEntries() {
    Value dict = Value::dict();
    int i = 0;
    for (const auto& key : keys()) {
        if (i % 3 == 0)
            dict.set(key, i * 1.5);
        else if (i % 3 == 1)
            dict.set(key, "value " + std::to_string(i));
        else
            dict.set(key, Value::array({i, i + 1}));
        ++i;
    }
    return dict;
}

void BM_DictionaryLookup(benchmark::State& state) {
    const Value dict = fiftyEntries();
    const auto names = keys();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&dict[names[i]]);
        i = (i + 1) % names.size();
    }
}
BENCHMARK(BM_DictionaryLookup);

void BM_DictionaryLookupMissing(benchmark::State& state) {
    const Value dict = fiftyEntries();
    for (auto _ : state)
        benchmark::DoNotOptimize(&dict["Sensors_MenubarKey_missing"]);
}
BENCHMARK(BM_DictionaryLookupMissing);

// A copy shares the entries; this is what passing a dictionary along costs.
void BM_DictionaryCopy(benchmark::State& state) {
    const Value dict = fiftyEntries();
    for (auto _ : state) {
        Value copy = dict;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_DictionaryCopy);

// A copy that is then changed pays for one deep copy of the 50 entries.
void BM_DictionaryCopyAndChange(benchmark::State& state) {
    const Value dict = fiftyEntries();
    for (auto _ : state) {
        Value copy = dict;
        copy.set("Sensors_MenubarKey_0", 1);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_DictionaryCopyAndChange);

void BM_DictionaryBuild(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(fiftyEntries());
}
BENCHMARK(BM_DictionaryBuild);

void BM_XmlPropertyListRead(benchmark::State& state) {
    const std::string xml =
        corvane::writePropertyList(fiftyEntries(), corvane::PropertyListFormat::XML);
    for (auto _ : state)
        benchmark::DoNotOptimize(corvane::readPropertyList(xml));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * xml.size()));
}
BENCHMARK(BM_XmlPropertyListRead);

void BM_XmlPropertyListWrite(benchmark::State& state) {
    const Value dict = fiftyEntries();
    for (auto _ : state)
        benchmark::DoNotOptimize(
            corvane::writePropertyList(dict, corvane::PropertyListFormat::XML));
}
BENCHMARK(BM_XmlPropertyListWrite);

} // namespace

BENCHMARK_MAIN();
