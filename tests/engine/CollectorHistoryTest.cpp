#include "engine/CollectorHistory.h"

#include "SampleView.h"
#include "SqliteProbe.h"
#include "TestCollectors.h"
#include "engine/SleepWakeSource.h"
#include "foundation/AtomicFile.h"
#include "foundation/Log.h"
#include "support/TemporaryDirectory.h"

#include <algorithm>
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
using testing::sqliteScalar;

constexpr double kStart = 1'700'000'000.0;

struct Slot {
    std::uint64_t id;
    double time;
    std::int32_t empty;
    double user;
    bool operator==(const Slot&) const = default;
};

std::vector<Slot> written(const StatCollector& collector, int tier) {
    std::vector<Slot> slots;
    for (std::int64_t i = 0; i < kMaximumSamples; ++i) {
        const SampleView s = view(collector.sampleAtIndex(i, tier));
        if (s.sampleID == 0)
            break;
        slots.push_back({s.sampleID, s.time, s.empty, s.values[0]});
    }
    return slots;
}

class CollectorHistoryTest : public ::testing::Test {
protected:
    test::TemporaryDirectory dir;
    ManualMainQueue queue{kStart};

    template <class Collector>
    std::unique_ptr<Collector> make(SleepWakeSource* power = nullptr) {
        auto collector =
            std::make_unique<Collector>(EngineContext{queue, kLoggingTierCount, power});
        collector->setDbpath(dir / "history.sqlite");
        collector->setDbpathLong(dir / "history-long.sqlite");
        return collector;
    }
    double count(const char* table, bool longTerm = false) {
        return sqliteScalar(dir / (longTerm ? "history-long.sqlite" : "history.sqlite"),
                            std::string("select count(*) from ") + table);
    }
};

TEST_F(CollectorHistoryTest, AnHourOfSamplesComesBackAfterARestart) {
    std::vector<Slot> hour, day;
    {
        auto collector = make<ProcessorCollector>();
        collector->startLogging();
        queue.advance(3600 + 10);
        EXPECT_TRUE(collector->preparedDatabase());
        EXPECT_EQ(collector->dbTables()[1], "cpu_1");
        hour = written(*collector, 1);
        day = written(*collector, 2);
    }
    ASSERT_GE(hour.size(), 599u);
    ASSERT_GE(day.size(), 24u);
    EXPECT_EQ(count("cpu_1"), static_cast<double>(hour.size()));
    EXPECT_EQ(count("cpu_8", true), 12) << "one long-term row per 5 minutes";

    auto restarted = make<ProcessorCollector>();
    restarted->startLogging();
    queue.runUntilIdle(); // the start hop, not yet a beat
    EXPECT_EQ(written(*restarted, 1), hour);
    EXPECT_EQ(written(*restarted, 2), day);
    EXPECT_EQ(restarted->idForInterval(1), static_cast<double>(hour.front().id));
    EXPECT_EQ(restarted->sampleIndex(1).nextTime, hour.front().time + 6);
    EXPECT_TRUE(written(*restarted, 0).empty()) << "the live tier is not kept";
    EXPECT_EQ(restarted->idForInterval(kLongTermTier), 12) << "the long-term log numbers on";
}

TEST_F(CollectorHistoryTest, TimeAwayBecomesAGapAndTablesKeepWhatTheRingSpans) {
    {
        auto collector = make<ProcessorCollector>();
        collector->startLogging();
        queue.advance(600.5);
    }
    const double lastBefore = sqliteScalar(dir / "history.sqlite", "select max(sample) from cpu_1");
    queue.advance(1800); // the process is away for half an hour

    auto restarted = make<ProcessorCollector>();
    restarted->startLogging();
    queue.advance(3.0);
    // The periods of the half hour away (300 of them) are counted and empty; the rows from
    // before follow them in the ring.
    const auto slots = written(*restarted, 1);
    const auto last = static_cast<std::uint64_t>(lastBefore);
    ASSERT_GE(slots.size(), 400u);
    const std::uint64_t newest = slots.front().id;
    ASSERT_GE(newest, last + 300);
    for (std::uint64_t id = last + 1; id < last + 300; ++id)
        EXPECT_EQ(slots[newest - id].empty, 1) << "sample " << id;
    EXPECT_EQ(slots[newest - last].id, last);
    EXPECT_EQ(slots[newest - last].empty, 0);

    queue.advance(3000);
    EXPECT_EQ(count("cpu_1"), static_cast<double>(kMaximumSamples));
}

TEST_F(CollectorHistoryTest, HistoryFromAClockThatRanAheadDoesNotFreezeTheTiers) {
    {
        auto collector = make<ProcessorCollector>();
        collector->startLogging();
        queue.advance(120.5);
    }
    queue.setTime(kStart - 7200);
    auto restarted = make<ProcessorCollector>();
    restarted->startLogging();
    queue.runUntilIdle();
    const std::uint64_t loaded = written(*restarted, 1).front().id;
    queue.advance(30.0);
    EXPECT_GT(written(*restarted, 1).front().id, loaded);
    EXPECT_LT(view(restarted->sampleAtIndex(0, 1)).time, kStart);
}

TEST_F(CollectorHistoryTest, ItemsReadTheirRowsBackWhenTheyReappear) {
    std::vector<double> downloads;
    {
        auto collector = make<NetworkCollector>();
        collector->newItemWithKey("en0");
        collector->newItemWithKey("wlan0");
        collector->startLogging();
        queue.advance(600.5);
        EXPECT_EQ(collector->dbTablesItems()[1], "network_items_1");
        const auto wlan = collector->itemWithKey(Value("wlan0"));
        for (std::int64_t i = 0; i < 5; ++i)
            downloads.push_back(wlan->sampleAtIndex(i, 1).values[0]);
    }
    EXPECT_EQ(downloads, std::vector<double>(5, 11.0));
    EXPECT_GE(count("network_items_1"), 2 * 98.0);

    auto restarted = make<NetworkCollector>();
    RecordingDelegate delegate;
    restarted->addDelegate(&delegate);
    restarted->startLogging();
    queue.runUntilIdle();
    auto wlan = restarted->newItemWithKey("wlan0");
    EXPECT_EQ(wlan->sampleAtIndex(0, 1).values[0], 11.0);
    EXPECT_TRUE(wlan->loadedHistory());
    EXPECT_EQ(wlan->lowestSampleForStorageType(1), restarted->lastIDForType(1));
    queue.runUntilIdle();
    EXPECT_EQ(delegate.loaded, 1);
    restarted->removeDelegate(&delegate);
}

TEST_F(CollectorHistoryTest, NothingIsWrittenInTheMinuteAfterAWake) {
    SleepWakeSource power;
    auto collector = make<ProcessorCollector>(&power);
    collector->startLogging();
    queue.advance(60.5);
    power.postWillSleep();
    queue.setTime(queue.now() + 3600);
    power.postDidWake();
    const auto newestRow = [&] {
        return sqliteScalar(dir / "history.sqlite", "select max(sample) from cpu_1");
    };
    const double before = newestRow();
    queue.advance(59.0);
    EXPECT_EQ(newestRow(), before);
    const auto slots = written(*collector, 1);
    EXPECT_GE(std::count_if(slots.begin(), slots.end(), [](const Slot& s) { return s.empty; }), 590)
        << "the rings still fill the gap";
    queue.advance(30.0);
    EXPECT_GT(newestRow(), before + 600);

    power.postWillSleep();
    power.postDidWake();
    queue.advance(30.0);
    power.postWillSleep(); // asleep again before the minute is up
    queue.advance(60.0);
    EXPECT_FALSE(collector->databaseEnabled());
}

TEST_F(CollectorHistoryTest, CorruptDatabaseMeansNoHistoryAndNoLoss) {
    const std::string garbage(4096, '\x7f');
    ASSERT_TRUE(writeFileAtomically(dir / "history.sqlite", garbage));
    LogCapture log;
    auto collector = make<ProcessorCollector>();
    collector->startLogging();
    queue.advance(30.5);
    EXPECT_TRUE(log.contains("is unreadable"));
    EXPECT_FALSE(collector->preparedDatabase());
    EXPECT_EQ(collector->samplesTaken, 30) << "the cycle goes on without history";
    EXPECT_GE(written(*collector, 1).size(), 4u);
    EXPECT_EQ(readFileContents(dir / "history.sqlite"), garbage);
}

TEST_F(CollectorHistoryTest, SettingsBuildNeverTouchesTheDisk) {
    ProcessorCollector collector{EngineContext{queue}};
    collector.setDbpath(dir / "history.sqlite");
    collector.startLogging();
    queue.advance(20.5);
    EXPECT_EQ(collector.samplesTaken, 20);
    EXPECT_FALSE(std::filesystem::exists(dir / "history.sqlite"));
}

} // namespace
} // namespace corvane
