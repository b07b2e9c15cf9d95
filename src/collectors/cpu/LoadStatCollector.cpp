#include "collectors/cpu/LoadStatCollector.h"

namespace corvane {

LoadStatCollector::LoadStatCollector(const EngineContext& context)
    : StatCollector(context, kSlotCount) {
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
        {"addSampleIDKeys", Value::array({"sample", "id"})},
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
    const auto averages = loadAverages();
    statsample* ring = storageForType(0);
    PushSamples(ring, sampleValueCount(), sampleIndex(0).maximumSamples);
    for (std::size_t i = 0; i < 3; ++i)
        ring[0].values[i] = averages ? (*averages)[i] : 0.0;
    ring[0].sampleID = static_cast<std::uint64_t>(sampleIndex(0).sampleID);
    // An unreadable source is no measurement, not a machine without load.
    ring[0].empty = averages ? 0 : 1;
    ring[0].time = mainQueue().clock().now();
    notifyUpdated();
}

} // namespace corvane
