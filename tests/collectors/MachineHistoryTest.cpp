// The processor, load and memory collectors in a logging build: their samples reach the history
// tables, and a sample keeps its identifier in the rings, in the rows and across a restart.
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "engine/SqliteProbe.h"
#include "foundation/ManualMainQueue.h"
#include "support/ScriptedMemory.h"
#include "support/ScriptedProcessor.h"
#include "support/TemporaryDirectory.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

using namespace corvane;

namespace {

using Maker = std::function<std::unique_ptr<StatCollector>(const EngineContext&)>;

struct Machine {
    const char* prefix;
    Maker make;
};

std::unique_ptr<StatCollector> processor(const EngineContext& context) {
    auto cpu = std::make_unique<test::ScriptedProcessor>(context, 1, 1);
    cpu->ticks = {{10, 10, 10, 10}};
    cpu->setup();
    return cpu;
}

std::unique_ptr<StatCollector> load(const EngineContext& context) {
    return std::make_unique<LoadStatCollectorLinux>(
        context, SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/ht-4c8t"));
}

std::unique_ptr<StatCollector> memory(const EngineContext& context) {
    auto memory = std::make_unique<test::ScriptedMemory>(context);
    memory->reading.freePages = 1000;
    memory->reading.installedMemory = 1 << 30;
    return memory;
}

class MachineHistory : public ::testing::TestWithParam<Machine> {
protected:
    std::unique_ptr<StatCollector> start() {
        auto collector = GetParam().make(EngineContext{queue, kLoggingTierCount, nullptr});
        collector->setDbpath(dir / "history.sqlite");
        collector->setDbpathLong(dir / "history-long.sqlite");
        collector->startLogging();
        return collector;
    }
    double query(const std::string& sql) {
        return corvane::testing::sqliteScalar(dir / "history.sqlite", sql);
    }
    std::string table() const { return std::string(GetParam().prefix) + "_1"; }

    test::TemporaryDirectory dir;
    ManualMainQueue queue{1'795'335'330.25};
};

// Identifier and time of the newest samples of the hour tier.
std::vector<std::pair<std::uint64_t, double>> newest(const StatCollector& collector) {
    std::vector<std::pair<std::uint64_t, double>> slots;
    for (std::int64_t i = 0; i < 20; ++i) {
        const statsample s = collector.sampleAtIndex(i, 1);
        slots.emplace_back(s.sampleID, s.time);
    }
    return slots;
}

TEST_P(MachineHistory, SamplesKeepTheirIdentifiersAcrossAGapAndARestart) {
    std::vector<std::pair<std::uint64_t, double>> before;
    {
        auto collector = start();
        queue.advance(600.5);
        EXPECT_GE(query("select count(*) from " + table()), 99.0);
        // Two hours away: the older half of the hour tier's periods are only counted.
        queue.setTime(queue.now() + 7200);
        queue.advance(30);
        before = newest(*collector);
        for (const auto& [id, time] : before) {
            ASSERT_GT(id, 0u);
            EXPECT_EQ(
                query("select time from " + table() + " where sample = " + std::to_string(id)),
                time)
                << "sample " << id;
        }
        collector->cleanup();
    }
    auto restarted = start();
    queue.runUntilIdle();
    EXPECT_EQ(newest(*restarted), before);
    restarted->cleanup();
}

INSTANTIATE_TEST_SUITE_P(Collectors, MachineHistory,
                         ::testing::Values(Machine{"cpu", processor}, Machine{"loadavg", load},
                                           Machine{"memory", memory}),
                         [](const auto& row) { return std::string(row.param.prefix); });

} // namespace
