#include "collectors/cpu/LoadStatCollector.h"

namespace corvane {

LoadStatCollector::LoadStatCollector(const EngineContext& context)
    : StatCollector(context, 3) {
    config() = makeConfig();
    setDbTablePrefix("loadavg");
}

Value LoadStatCollector::makeConfig() {
    const char* create = "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                         "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0, one double NOT NULL "
                         "DEFAULT 0, five double NOT NULL DEFAULT 0, fifteen double NOT NULL "
                         "DEFAULT 0)";
    const Value keys = Value::dict({{"one", 0}, {"five", 1}, {"fifteen", 2}});
    return Value::dict({
        {"addSampleMap",
         Value::dict({{"one", 0}, {"fv", 1}, {"five", 1}, {"ff", 2}, {"fifteen", 2}})},
        {"sampleKeys", keys},
        {"xmlSampleKeys", keys},
        {"emptySampleKeys", Value::array({"one", "five", "fifteen"})},
        {"updatePeaks", 1},
        {"sqlCreate", create},
        {"sqlCreateLong", create},
        {"sqlInsert", "insert into %@ (empty, sample, time, one, five, fifteen) values (?, ?, ?, "
                      "?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time", "one", "five", "fifteen"})},
    });
}

void LoadStatCollector::updateStats() {
    // An unreadable source leaves zeros, as a machine without load would show.
    const auto averages = loadAverages().value_or(std::array<double, 3>{});
    statsample* ring = storageForType(0);
    PushSamples(ring, sampleValueCount(), sampleIndex(0).maximumSamples);
    for (std::size_t i = 0; i < averages.size(); ++i)
        ring[0].values[i] = averages[i];
    ring[0].sampleID = static_cast<std::uint64_t>(sampleIndex(0).sampleID);
    ring[0].empty = 0;
    ring[0].time = mainQueue().clock().now();
    notifyUpdated();
}

} // namespace corvane
