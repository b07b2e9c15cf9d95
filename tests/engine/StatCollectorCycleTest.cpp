#include "SampleView.h"
#include "TestCollectors.h"
#include "engine/StatCollector.h"

#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace corvane {
namespace {

using testing::SampleView;
using testing::view;

using testing::NetworkCollector;
using testing::ProcessorCollector;
using testing::RecordingDelegate;

constexpr double kStart = 1'700'000'000.0; // a whole second, 200 s past a 5-minute boundary

// Records the wall-clock time of every sampling beat.
class TimedCollector : public ProcessorCollector {
public:
    using ProcessorCollector::ProcessorCollector;
    void updateStatsForSequence(std::int64_t sequence) override {
        beats.push_back(mainQueue().clock().now());
        ProcessorCollector::updateStatsForSequence(sequence);
    }
    std::vector<double> beats;
};

TEST(UpdateCycle, FirstBeatFallsOnAWholeSecondAtLeastATenthAway) {
    ManualMainQueue queue(kStart + 0.95);
    TimedCollector collector{EngineContext{queue}};
    collector.startLogging();
    queue.advance(1.04);
    EXPECT_TRUE(collector.beats.empty());
    queue.advance(0.02);
    ASSERT_EQ(collector.beats.size(), 1u);
    EXPECT_DOUBLE_EQ(collector.beats[0], kStart + 2.0);

    ManualMainQueue exact(kStart);
    TimedCollector onTheSecond{EngineContext{exact}};
    onTheSecond.startLogging();
    exact.advance(3.5);
    EXPECT_EQ(onTheSecond.beats, (std::vector<double>{kStart + 1, kStart + 2, kStart + 3}));
}

TEST(UpdateCycle, ListenersDecideWhetherABeatSamples) {
    ManualMainQueue queue(kStart);
    ProcessorCollector collector{EngineContext{queue}};
    collector.startLogging();
    queue.advance(3.5);
    EXPECT_EQ(collector.samplesTaken, 3) << "without listeners every beat samples";
    EXPECT_EQ(collector.lastIDForType(0), 4u) << "tier 0 starts at identifier 1";
    EXPECT_EQ(collector.lastTimeForType(0), kStart + 3);
    EXPECT_EQ(collector.sampleAtIndex(0, 0).values[0], 2.0);

    RecordingDelegate silent, unwilling, willing;
    unwilling.answer = false;
    collector.addDelegate(&silent);
    collector.addDelegate(&unwilling);
    queue.advance(5.0);
    EXPECT_EQ(collector.samplesTaken, 3);
    EXPECT_EQ(collector.idForInterval(0), 4.0) << "identifiers grow only on sampling beats";
    EXPECT_EQ(collector.updateSequence(), 8) << "the beat count and the clock still advance";
    EXPECT_EQ(collector.sampleIndex(0).nextTime, kStart + 9);

    willing.answer = true;
    collector.addDelegate(&willing);
    queue.advance(2.0);
    EXPECT_EQ(collector.samplesTaken, 5);
    EXPECT_EQ(willing.updates, 2);
}

TEST(UpdateCycle, ResynchronisesAfterAClockJumpWithoutCatchingUp) {
    ManualMainQueue queue(kStart);
    TimedCollector collector{EngineContext{queue}};
    collector.startLogging();
    queue.advance(3.5);
    ASSERT_EQ(collector.beats.size(), 3u);

    queue.setTime(queue.now() + 100.25); // forward, as after sleep
    queue.advance(3.0);
    ASSERT_EQ(collector.beats.size(), 5u) << "one late beat, then the new grid; no burst";
    EXPECT_DOUBLE_EQ(collector.beats[3], kStart + 104.25);
    EXPECT_DOUBLE_EQ(collector.beats[4], kStart + 106.0);

    queue.setTime(queue.now() - 50.5); // backwards
    queue.advance(4.0);
    for (std::size_t i = 6; i < collector.beats.size(); ++i)
        EXPECT_EQ(collector.beats[i], std::floor(collector.beats[i])) << "beat " << i;
    for (std::size_t i = 7; i < collector.beats.size(); ++i)
        EXPECT_DOUBLE_EQ(collector.beats[i] - collector.beats[i - 1], 1.0);
}

TEST(UpdateCycle, CleanupOrDestructionLeavesNothingToRun) {
    ManualMainQueue queue(kStart);
    ProcessorCollector collector{EngineContext{queue}};
    RecordingDelegate delegate;
    collector.addDelegate(&delegate);
    delegate.answer = true;
    collector.startLogging();
    queue.advance(2.5);
    collector.cleanup();
    EXPECT_TRUE(collector.delegates().empty());
    queue.advance(5.0);
    EXPECT_EQ(collector.samplesTaken, 2);
    EXPECT_EQ(queue.pendingCount(), 0u) << "the cycle is not re-armed";

    // A destroyed collector leaves no beat behind to touch freed memory.
    auto destroyed = std::make_unique<ProcessorCollector>(EngineContext{queue});
    destroyed->startLogging();
    queue.advance(1.5);
    destroyed.reset();
    EXPECT_EQ(queue.pendingCount(), 0u);
    queue.advance(5.0);
}

TEST(TierClock, LongTermPeriodsAreNeverStubs) {
    const double boundary = 1'700'000'100.0; // a multiple of 300
    ManualMainQueue nearly(boundary - 17);
    ProcessorCollector late{EngineContext{nearly, kLoggingTierCount}};
    late.checkNextTimeAtIndex(kLongTermTier);
    EXPECT_EQ(late.sampleIndex(kLongTermTier).nextTime, boundary + 300);
    EXPECT_EQ(late.sampleIndex(kLongTermTier).time, boundary);

    ManualMainQueue early(boundary - 61);
    ProcessorCollector inTime{EngineContext{early, kLoggingTierCount}};
    inTime.checkNextTimeAtIndex(kLongTermTier);
    EXPECT_EQ(inTime.sampleIndex(kLongTermTier).nextTime, boundary);

    inTime.checkNextTimeAtIndex(2);
    EXPECT_EQ(inTime.sampleIndex(2).nextTime, std::ceil(boundary - 61) + 144);
    early.advance(1000);
    inTime.checkNextTimeAtIndex(2);
    EXPECT_EQ(inTime.sampleIndex(2).nextTime, std::ceil(boundary - 61) + 144)
        << "a scheduled tier keeps its clock";
}

class GapFilling : public ::testing::Test {
protected:
    ManualMainQueue queue{kStart};
    ProcessorCollector collector{EngineContext{queue, kLoggingTierCount}};

    std::int64_t writtenSlots(int tier) const {
        std::int64_t count = 0;
        for (std::int64_t i = 0; i < kMaximumSamples; ++i)
            count += view(collector.sampleAtIndex(i, tier)).sampleID != 0 ? 1 : 0;
        return count;
    }
};

TEST_F(GapFilling, ShortGapInsertsNothingLongGapCountsEveryPeriodButInsertsOneRing) {
    collector.checkNextTimeAtIndex(1);
    queue.setTime(kStart + 5.5);
    collector.fillGapsAtIndex(1);
    EXPECT_EQ(writtenSlots(1), 0);
    EXPECT_EQ(collector.idForInterval(1), 0.0);
    EXPECT_TRUE(collector.sampleIndex(1).fillingGap);

    queue.setTime(kStart + 6 * 1000 + 0.5);
    collector.fillGapsAtIndex(1);
    EXPECT_EQ(collector.idForInterval(1), 1000.0);
    EXPECT_EQ(writtenSlots(1), kMaximumSamples);
    EXPECT_EQ(view(collector.sampleAtIndex(0, 1)).sampleID, 1000u);
    EXPECT_EQ(view(collector.sampleAtIndex(kMaximumSamples - 1, 1)).sampleID, 399u);
    EXPECT_EQ(view(collector.sampleAtIndex(0, 1)).empty, 1) << "nothing was measured in the gap";
    EXPECT_EQ(collector.sampleIndex(1).nextTime, kStart + 6 * 1001);
}

TEST_F(GapFilling, ItemsGetTheirShareAndUnknownItemsNothing) {
    NetworkCollector network{EngineContext{queue, kLoggingTierCount}};
    auto en0 = network.newItemWithKey2("en0");
    network.checkNextTimeAtIndex(1);
    queue.setTime(kStart + 6 * 3 + 0.5);
    network.fillGapsAtIndex(1);
    EXPECT_EQ(en0->idForInterval(1), 3.0);
    EXPECT_EQ(view(en0->sampleAtIndex(0, 1)).sampleID, 3u);
    EXPECT_EQ(view(en0->sampleAtIndex(0, 1)).time, kStart + 18) << "labelled with the period's end";
    EXPECT_EQ(view(network.sampleAtIndex(0, 1)).sampleID, 3u);
}

TEST(TierCascade, EachTierAveragesTheOneBelowOverItsPeriod) {
    ManualMainQueue queue(kStart);
    ProcessorCollector collector{EngineContext{queue, kLoggingTierCount}};
    collector.setDbTablePrefix(""); // rings only
    collector.startLogging();
    queue.advance(2 * 144 + 30);

    // Live sample n carries user = n - 1 at time kStart + n, so a 6-second period ending at t
    // averages to t - kStart - 3.5.
    std::int64_t checked = 0;
    for (std::int64_t i = 0; i < kMaximumSamples; ++i) {
        const SampleView s = view(collector.sampleAtIndex(i, 1));
        if (s.sampleID == 0)
            break;
        ASSERT_EQ(s.empty, 0);
        EXPECT_DOUBLE_EQ(s.values[0], s.time - kStart - 3.5) << "slot " << i;
        ++checked;
    }
    EXPECT_GE(checked, 49);

    // Tier 2 holds whole 144-second periods of tier 1.
    const SampleView day = view(collector.sampleAtIndex(0, 2));
    ASSERT_NE(day.sampleID, 0u);
    EXPECT_DOUBLE_EQ(day.values[0], day.time - kStart - 3.5 - 69.0);
}

} // namespace
} // namespace corvane
