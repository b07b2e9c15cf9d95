#include "collectors/cpu/CPUStatCollector.h"

#include "foundation/ManualMainQueue.h"
#include "support/ScriptedProcessor.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::ScriptedProcessor;

namespace {

class CPUCollector : public ::testing::Test {
protected:
    std::unique_ptr<ScriptedProcessor> make(std::int64_t logical, std::int64_t physical,
                                            std::vector<CPUStatCollector::Ticks> first) {
        auto collector = std::make_unique<ScriptedProcessor>(context, logical, physical);
        collector->ticks = std::move(first);
        collector->setup();
        return collector;
    }
    static double slot(const StatCollector& collector, int value) {
        return collector.sampleAtIndex(0, 0).values[value];
    }

    ManualMainQueue queue{1795335330.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

TEST_F(CPUCollector, MeasuresTheChangeSinceSetupAcrossAllProcessors) {
    // user, system, idle, nice
    auto cpu = make(2, 2, {{100, 100, 100, 100}, {1000, 1000, 1000, 1000}});
    cpu->ticks = {{160, 120, 110, 110}, {1000, 1000, 1100, 1000}};
    cpu->updateStats();
    // 60 user, 20 system, 110 idle, 10 nice over 200 ticks in all.
    EXPECT_DOUBLE_EQ(slot(*cpu, 0), 30.0);
    EXPECT_DOUBLE_EQ(slot(*cpu, 1), 10.0);
    EXPECT_DOUBLE_EQ(slot(*cpu, 2), 5.0);
    EXPECT_DOUBLE_EQ(cpu->sampleAtIndex(0, 0).time, 1795335330.0);
    EXPECT_EQ(cpu->sampleAtIndex(0, 0).empty, 0);
    EXPECT_DOUBLE_EQ(cpu->runningTime(), 499.0);
    EXPECT_EQ(cpu->taskCount(), 12);
    EXPECT_EQ(cpu->threadCount(), 345);

    // A core's first sample also counts from setup, not from the machine's start.
    const auto cores = cpu->logicalCores();
    ASSERT_EQ(cores.size(), 2u);
    EXPECT_DOUBLE_EQ(cores[0]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User], 60.0);
    cpu->ticks = {{200, 120, 150, 110}, {1000, 1000, 1100, 1000}};
    cpu->updateStats();
    EXPECT_DOUBLE_EQ(cores[0]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User], 50.0);
    EXPECT_DOUBLE_EQ(cores[0]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::Nice], 0.0);
    // An idle core has no guard of its own: its share is not a number, which readers take as 0.
    EXPECT_TRUE(std::isnan(cores[1]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User]));
    EXPECT_EQ(cores[0]->idForInterval(0), 2.0);
}

// Counters of a steady load on two processors, one busy and one idle, at 100 ticks a second;
// each reading notes its time.
class SteadyLoad final : public CPUStatCollector {
public:
    explicit SteadyLoad(const EngineContext& context)
        : CPUStatCollector(context) {}
    std::vector<double> readAt;

protected:
    std::int64_t physicalCoreCount() override { return 2; }
    std::int64_t logicalCoreCount() override { return 2; }
    std::vector<Ticks> processorTicks() override {
        const double now = mainQueue().clock().now();
        readAt.push_back(now);
        const auto ticks = static_cast<std::uint64_t>(std::floor(now * 100.0));
        return {{ticks, 0, 0, 0}, {0, 0, ticks, 0}};
    }
    ProcessInfo processInfo() override { return {}; }
};

TEST_F(CPUCollector, TheFirstSampleOfTheCycleMeasuresAWholeSecond) {
    for (double offset : {0.5, 0.95, 0.02}) {
        ManualMainQueue clock{1795335330.0 + offset};
        SteadyLoad cpu(EngineContext{clock, kSettingsTierCount, nullptr});
        cpu.setup();
        cpu.startLogging();
        for (int step = 0; step < 300 && cpu.lastIDForType(0) == 0; ++step)
            clock.advance(0.01);
        const double sampled = cpu.sampleAtIndex(0, 0).time;
        ASSERT_GE(cpu.readAt.size(), 2u);
        EXPECT_DOUBLE_EQ(sampled - cpu.readAt[cpu.readAt.size() - 2], 1.0) << offset;
        EXPECT_DOUBLE_EQ(sampled, std::round(sampled)) << offset;
        cpu.cleanup();
    }
}

TEST_F(CPUCollector, PhysicalCoresAverageTheirTwoThreads) {
    auto cpu = make(4, 2, {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}});
    ASSERT_TRUE(cpu->hyperThreading());
    ASSERT_EQ(cpu->physicalCores().size(), 2u);
    cpu->ticks = {{100, 0, 0, 0}, {0, 50, 50, 0}, {0, 0, 100, 0}, {0, 0, 0, 0}};
    cpu->updateStats();
    const statsample first = cpu->physicalCores()[0]->sampleAtIndex(0, 0);
    EXPECT_FLOAT_EQ(first.values[CPUStatCollectorItem::User], 50.0F);   // (100 + 0) / 2
    EXPECT_FLOAT_EQ(first.values[CPUStatCollectorItem::System], 25.0F); // (0 + 50) / 2
    EXPECT_FLOAT_EQ(first.values[CPUStatCollectorItem::Nice], 0.0F);
    // The last thread did not tick: its not-a-number counts as 0.
    const statsample second = cpu->physicalCores()[1]->sampleAtIndex(0, 0);
    EXPECT_FLOAT_EQ(second.values[CPUStatCollectorItem::User], 0.0F);
    EXPECT_FLOAT_EQ(second.values[CPUStatCollectorItem::System], 0.0F);

    // An odd thread count leaves the last physical core at zero.
    cpu = make(6, 3, std::vector<CPUStatCollector::Ticks>(5, {0, 0, 0, 0}));
    cpu->ticks.assign(5, {80, 20, 0, 0});
    cpu->updateStats();
    ASSERT_EQ(cpu->physicalCores().size(), 3u);
    EXPECT_FLOAT_EQ(cpu->physicalCores()[1]->sampleAtIndex(0, 0).values[CPUStatCollectorItem::User],
                    80.0F);
    const statsample last = cpu->physicalCores()[2]->sampleAtIndex(0, 0);
    EXPECT_EQ(last.values[CPUStatCollectorItem::User], 0.0);
    EXPECT_EQ(last.values[CPUStatCollectorItem::System], 0.0);
    EXPECT_EQ(last.values[CPUStatCollectorItem::Nice], 0.0);
}

TEST_F(CPUCollector, OnlyTwoThreadsACoreCountAsHyperThreadingAndNoneGiveNoReading) {
    EXPECT_FALSE(make(4, 4, {})->hyperThreading());
    EXPECT_TRUE(make(4, 4, {})->physicalCores().empty());
    EXPECT_FALSE(make(6, 4, {})->hyperThreading());
    auto huge = make(256, 128, {});
    EXPECT_EQ(huge->coreCount(), 0);
    EXPECT_FALSE(huge->hyperThreading());
    // No processors: an empty sample and no running time.
    auto cpu = make(0, 0, {});
    cpu->updateStats();
    EXPECT_EQ(slot(*cpu, 0), 0.0);
    EXPECT_EQ(slot(*cpu, 1), 0.0);
    EXPECT_EQ(cpu->sampleAtIndex(0, 0).empty, 1);
    EXPECT_FALSE(cpu->hasReading());
    EXPECT_EQ(cpu->runningTime(), -1.0);
}

TEST_F(CPUCollector, AnIdleIntervalOrACounterGoingBackwardsCountsAsNoTime) {
    auto cpu = make(1, 1, {{1000, 1000, 1000, 1000}});
    cpu->updateStats(); // nothing ticked: zeros, not numbers that are not
    EXPECT_EQ(slot(*cpu, 0), 0.0);
    cpu->ticks = {{10, 1010, 1090, 1000}};
    cpu->updateStats();
    EXPECT_DOUBLE_EQ(slot(*cpu, 0), 0.0);
    EXPECT_DOUBLE_EQ(slot(*cpu, 1), 10.0);
}

TEST_F(CPUCollector, CoreRingsKeepTheirOwnIdentifiers) {
    auto cpu = make(1, 1, {{0, 0, 0, 0}});
    for (std::uint64_t i = 1; i <= 3; ++i) {
        cpu->ticks = {{i * 10, 0, i * 10, 0}};
        cpu->updateStats();
    }
    const auto core = cpu->logicalCores()[0];
    EXPECT_EQ(core->idForInterval(5), 3.0); // whatever the tier
    EXPECT_EQ(core->sampleWithIdentifier(2, 0).sampleID, 2u);
    EXPECT_EQ(core->sampleWithIdentifier(2, 0).empty, 0);
    EXPECT_EQ(core->sampleWithIdentifier(99, 0).empty, 1);
    EXPECT_EQ(core->sampleWithIdentifier(99, 0).sampleID, 99u);
}

} // namespace
