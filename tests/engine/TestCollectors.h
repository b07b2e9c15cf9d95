#pragma once

// Collectors with the layouts of a processor collector (values in the collector) and a network
// collector (values in the items), as the collector areas will set them up.

#include "engine/StatCollector.h"
#include "foundation/ManualMainQueue.h"

#include <functional>
#include <optional>

namespace corvane::testing {

inline Value processorConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        // "io" names a slot past the sample's three values and must be ignored.
        {"addSampleMap", Value::dict({{"user", 0}, {"system", 1}, {"nice", 2}, {"io", 3}})},
        {"sampleKeys", Value::dict({{"user", 0}, {"system", 1}, {"nice", 2}})},
        {"sqlCreate", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT NULL "
                      "DEFAULT 0, empty integer NOT NULL DEFAULT 0, user double NOT NULL DEFAULT "
                      "0, system double NOT NULL DEFAULT 0, nice double NOT NULL DEFAULT 0)"},
        {"sqlCreateLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double, "
                          "empty integer, user double, system double, nice double)"},
        {"sqlInsert", "insert into %@ (empty, sample, time, user, system, nice) values (?, ?, ?, "
                      "?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time", "user", "system", "nice"})},
    });
}

inline Value networkConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"download", 0}, {"upload", 1}})},
        {"sampleKeys", Value::dict({{"download", 0}, {"upload", 1}})},
        {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, "
                      "uuid varchar(100) NOT NULL, download double NOT NULL DEFAULT 0, upload "
                      "double NOT NULL DEFAULT 0)"},
        {"sqlCreateLong", "create table %@ (sample double, time double NOT NULL DEFAULT 0, empty "
                          "integer NOT NULL DEFAULT 0, uuid varchar(100), download double NOT "
                          "NULL DEFAULT 0, upload double NOT NULL DEFAULT 0)"},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateIDLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double "
                            "NOT NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem",
         "insert into %@ (sample, time, download, upload, uuid) values (?, ?, ?, ?, ?)"},
        {"sqlInsertItemKeys", Value::array({"sample", "time", "download", "upload", "uuid"})},
    });
}

// Values in the collector. Each sampling beat stores user = the beat's sequence number.
class ProcessorCollector : public StatCollector {
public:
    explicit ProcessorCollector(const EngineContext& context)
        : StatCollector(context, 3) {
        config() = processorConfig();
        setDbTablePrefix("cpu");
    }
    void updateStatsForSequence(std::int64_t sequence) override {
        ++samplesTaken;
        addSample(Value::dict({{"sample", idForInterval(0)},
                               {"time", sampleIndex(0).time},
                               {"user", static_cast<double>(sequence)},
                               {"system", 1.0},
                               {"nice", 0.0}}),
                  0);
        notifyUpdated();
    }
    int samplesTaken = 0;
};

// Values in the items: each beat every item gets download = 10 * its position + 1.
class NetworkCollector : public StatCollector {
public:
    explicit NetworkCollector(const EngineContext& context)
        : StatCollector(context, 4) {
        config() = networkConfig();
        setDbTablePrefix("network");
        setStorageType(kStorageItems);
    }
    void updateStatsForSequence(std::int64_t) override {
        const double id = idForInterval(0);
        const double time = sampleIndex(0).time;
        addSample(Value::dict({{"sample", id}, {"time", time}}), 0);
        double position = 0;
        for (const auto& item : immutableItems()) {
            item->addSample(Value::dict({{"sample", id},
                                         {"time", time},
                                         {"download", 10.0 * position + 1.0},
                                         {"upload", 2.0}}),
                            0);
            position += 1;
        }
    }
};

// A delegate whose answers the test sets.
class RecordingDelegate : public StatCollectorDelegate {
public:
    std::optional<bool> answer;
    int updates = 0;
    int loaded = 0;
    std::optional<bool> collectorShouldUpdateStateForSequence(StatCollector&,
                                                              std::int64_t) override {
        return answer;
    }
    void collectorUpdatedForMode(StatCollector&, int) override { ++updates; }
    void collectorLoadedValueForItem(StatCollector&, StatCollectorItem&) override { ++loaded; }
};

} // namespace corvane::testing
