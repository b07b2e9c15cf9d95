// The per-second cost of the sample engine: what every collector and item pays on each beat,
// what a graph pays to read, and what the history pays per finished period.
#include "engine/StatCollector.h"
#include "foundation/Log.h"
#include "foundation/ManualMainQueue.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>

using namespace corvane;

namespace {

// The widest layout: nineteen named values.
Value wideConfig() {
    Value map = Value::Dictionary{};
    for (int slot = 0; slot < 19; ++slot)
        map.set("v" + std::to_string(slot), slot);
    return Value::dict({{"addSampleIDKeys", Value::array({"sample", "id"})},
                        {"addSampleMap", map},
                        {"sampleKeys", map}});
}

Value wideSample() {
    Value sample = Value::dict({{"time", 1.7e9}});
    for (int slot = 0; slot < 19; ++slot)
        sample.set("v" + std::to_string(slot), slot * 1.5);
    return sample;
}

void BM_CollectorAddSample19Slots(benchmark::State& state) {
    ManualMainQueue queue;
    StatCollector collector(EngineContext{queue, kLoggingTierCount}, 19);
    collector.config() = wideConfig();
    const Value sample = wideSample();
    for (auto _ : state)
        collector.addSample(sample, 0);
    benchmark::DoNotOptimize(collector.lastIDForType(0));
}
BENCHMARK(BM_CollectorAddSample19Slots);

void BM_ItemAddSample1Slot(benchmark::State& state) {
    StatCollectorItem item(1, kLoggingTierCount);
    item.config() = Value::dict({{"addSampleIDKeys", Value::array({"sample", "id"})},
                                 {"addSampleMap", Value::dict({{"value", 0}})}});
    const Value sample = Value::dict({{"time", 1.7e9}, {"value", 42.5}});
    for (auto _ : state)
        item.addSample(sample, 0);
    benchmark::DoNotOptimize(item.idForInterval(0));
}
BENCHMARK(BM_ItemAddSample1Slot);

void BM_AveragesOverFullRing(benchmark::State& state) {
    ManualMainQueue queue;
    StatCollector collector(EngineContext{queue, kLoggingTierCount}, 19);
    collector.config() = wideConfig();
    const Value sample = wideSample();
    for (std::int64_t i = 0; i < kMaximumSamples; ++i)
        collector.addSample(sample, 0);
    // Tier 0's time stays 0, so the whole ring is averaged.
    for (auto _ : state)
        benchmark::DoNotOptimize(collector.averagesForIndex(0));
}
BENCHMARK(BM_AveragesOverFullRing);

// A collector that samples three values each beat, as the processor collector does.
class ThreeValueCollector : public StatCollector {
public:
    explicit ThreeValueCollector(const EngineContext& context)
        : StatCollector(context, 3) {
        config() = Value::dict({{"addSampleIDKeys", Value::array({"sample", "id"})},
                                {"addSampleMap", Value::dict({{"user", 0}, {"system", 1}})},
                                {"sampleKeys", Value::dict({{"user", 0}, {"system", 1}})}});
    }
    void updateStats() override {
        sample_.set("sample", idForInterval(0));
        sample_.set("time", sampleIndex(0).time);
        addSample(sample_, 0);
    }

private:
    Value sample_ = Value::dict({{"user", 12.5}, {"system", 3.0}});
};

// One whole beat of a logging build without a database: a live sample, the tier clocks, and
// the averaged periods of the tiers above as they come due.
void BM_LoggingBeatNineTiers(benchmark::State& state) {
    ManualMainQueue queue(1.7e9);
    ThreeValueCollector collector(EngineContext{queue, kLoggingTierCount});
    collector.startLogging();
    queue.advance(2.0);
    for (auto _ : state)
        queue.advance(1.0);
    benchmark::DoNotOptimize(collector.lastIDForType(1));
}
BENCHMARK(BM_LoggingBeatNineTiers);

// A network-like collector whose items hold the values.
class ItemsCollector : public StatCollector {
public:
    explicit ItemsCollector(const EngineContext& context)
        : StatCollector(context, 4) {
        config() = Value::dict({
            {"addSampleIDKeys", Value::array({"sample", "id"})},
            {"addSampleMap", Value::dict({{"download", 0}, {"upload", 1}})},
            {"sampleKeys", Value::dict({{"download", 0}, {"upload", 1}})},
            {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT "
                          "0, uuid varchar(100) NOT NULL, download double NOT NULL DEFAULT 0, "
                          "upload double NOT NULL DEFAULT 0)"},
            {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double "
                            "NOT NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
            {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
            {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
            {"sqlInsertItem",
             "insert into %@ (sample, time, download, upload, uuid) values (?, ?, ?, ?, ?)"},
            {"sqlInsertItemKeys", Value::array({"sample", "time", "download", "upload", "uuid"})},
        });
        setDbTablePrefix("network");
        setStorageType(kStorageItems);
    }
};

// One finished 6-second period of a collector with 50 items: averaging each item, adding to
// every ring, and writing the identifier row and 50 item rows.
void BM_HistoryWriteStorageType2With50Items(benchmark::State& state) {
    std::string pattern = (std::filesystem::temp_directory_path() / "cvb-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        state.SkipWithError("no temporary directory");
        return;
    }
    const std::filesystem::path dir = pattern;
    {
        ManualMainQueue queue(1.7e9);
        ItemsCollector collector(EngineContext{queue, 2});
        collector.setDbpath(dir / "history.sqlite");
        for (int i = 0; i < 50; ++i) {
            auto item = collector.newItemWithKey2("interface" + std::to_string(i));
            for (int s = 1; s <= 6; ++s)
                item->addSample(Value::dict({{"sample", s},
                                             {"time", 1.7e9 - 6 + s},
                                             {"download", 1.0 * i},
                                             {"upload", 2.0}}),
                                0);
        }
        collector.startLogging();
        queue.runUntilIdle();
        if (!collector.preparedDatabase()) {
            state.SkipWithError("history database not prepared");
            return;
        }
        collector.checkNextTimeAtIndex(1);
        double id = 0;
        for (auto _ : state) {
            collector.setID(++id, 1);
            collector.insertSampleWithIndex(1);
        }
        collector.cleanup();
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_HistoryWriteStorageType2With50Items);

} // namespace

BENCHMARK_MAIN();
