#include "engine/StatCollector.h"

#include "SampleView.h"
#include "TestCollectors.h"

#include <gtest/gtest.h>
#include <vector>

namespace corvane {
namespace {

using testing::SampleView;
using testing::view;

using testing::NetworkCollector;
using testing::ProcessorCollector;

class StatCollectorStorage : public ::testing::Test {
protected:
    ManualMainQueue queue;
    ProcessorCollector collector{EngineContext{queue}};

    void add(Value sample) { collector.addSample(sample, 0); }
    SampleView slot(std::int64_t i) const { return view(collector.sampleAtIndex(i, 0)); }
};

TEST_F(StatCollectorStorage, IdentifierRules) {
    add(Value::dict({{"sample", 0}, {"user", 1.0}}));
    EXPECT_EQ(slot(0).sampleID, 1u) << "0 and no id: the next identifier";

    add(Value::dict({{"sample", 0.5}, {"user", 2.0}}));
    EXPECT_EQ(slot(0).values[0], 1.0) << "0.5 is below 1 and refused";

    add(Value::dict({{"sample", 10}, {"user", 3.0}}));
    add(Value::dict({{"sample", 10}, {"user", 4.0}}));
    add(Value::dict({{"sample", 7}, {"user", 5.0}}));
    EXPECT_EQ(slot(0).sampleID, 10u);
    EXPECT_EQ(slot(0).values[0], 3.0) << "equal or lower identifiers cannot rewrite history";
    EXPECT_EQ(slot(1).sampleID, 1u);

    add(Value::dict({{"sample", 50}, {"id", 12}, {"user", 6.0}}));
    EXPECT_EQ(slot(0).sampleID, 12u) << "with both names, \"id\" decides";
}

TEST_F(StatCollectorStorage, WritesThroughTheMapOnly) {
    add(Value::dict({{"sample", 1},
                     {"time", 99.5},
                     {"user", 1.0},
                     {"system", 2.0},
                     {"io", 7.0},
                     {"other", 8.0}}));
    EXPECT_EQ(slot(0).time, 99.5);
    EXPECT_EQ(slot(0).empty, 0);
    EXPECT_EQ(slot(0).values[1], 2.0);
    EXPECT_EQ(slot(0).values[2], 0.0);
    // "io" maps to slot 3 of a three-value sample: it must not land in the next record.
    EXPECT_EQ(slot(1).values[0], 0.0);

    add(Value::dict({{"sample", 2}, {"empty", 1}}));
    EXPECT_EQ(slot(0).empty, 1);
}

TEST(StatCollectorItemsStorage, CollectorRingOnlyNumbersAndTimes) {
    ManualMainQueue queue;
    NetworkCollector collector{EngineContext{queue}};
    collector.addSample(Value::dict({{"sample", 9}, {"time", 50.0}}), 0);
    collector.addSample(Value::dict({{"sample", 3}, {"time", 60.0}, {"download", 5.0}}), 0);
    const SampleView newest = view(collector.sampleAtIndex(0, 0));
    EXPECT_EQ(newest.sampleID, 3u) << "no identifier check for storage type 2";
    EXPECT_EQ(newest.time, 60.0);
    EXPECT_EQ(newest.values[0], 0.0);
    EXPECT_EQ(newest.empty, 1) << "the flag stays where it was";
    EXPECT_EQ(view(collector.sampleAtIndex(1, 0)).sampleID, 9u);
}

TEST_F(StatCollectorStorage, AveragesWithoutATierTimeTakeEveryNonEmptySample) {
    Value averages = collector.averagesForIndex(0);
    EXPECT_TRUE(averages["empty"].boolValue());
    EXPECT_EQ(averages["user"].doubleValue(), 0.0);
    EXPECT_EQ(averages["time"].doubleValue(), queue.now());

    add(Value::dict({{"sample", 1}, {"time", 10.0}, {"user", 2.0}, {"system", 4.0}}));
    add(Value::dict({{"sample", 2}, {"time", 500.0}, {"user", 4.0}, {"system", 8.0}}));
    add(Value::dict({{"sample", 3}, {"time", 900.0}, {"user", 100.0}, {"empty", 1}}));
    averages = collector.averagesForIndex(0);
    EXPECT_FALSE(averages["empty"].boolValue());
    EXPECT_DOUBLE_EQ(averages["user"].doubleValue(), 3.0);
    EXPECT_DOUBLE_EQ(averages["system"].doubleValue(), 6.0);
    EXPECT_FALSE(averages.contains("io"));
}

class StatCollectorThresholds : public StatCollectorStorage {
protected:
    const std::vector<int> userAndSystem{0, 1};
    void fill(std::int64_t count, double user) {
        for (std::int64_t i = 0; i < count; ++i)
            add(Value::dict({{"time", queue.now() - static_cast<double>(count - 1 - i)},
                             {"user", user},
                             {"system", 1.0}}));
    }
};

TEST_F(StatCollectorThresholds, SpansOverTheRingAndItsUnwrittenSlots) {
    fill(100, 50.0);
    EXPECT_TRUE(collector.indexesAboveValue(userAndSystem, 51.0, 50.0));
    EXPECT_FALSE(collector.indexesAboveValue(userAndSystem, 52.0, 50.0));
    EXPECT_FALSE(collector.indexesAboveValue(userAndSystem, 51.0, 200.0))
        << "never-written slots: the ring does not reach back that far";
    fill(kMaximumSamples, 50.0);
    EXPECT_TRUE(collector.indexesAboveValue(userAndSystem, 51.0, 10'000.0));
    EXPECT_FALSE(collector.indexesBelowValue(userAndSystem, 51.0, 10'000.0));

    add(Value::dict({{"time", queue.now()}, {"user", 1.0}}));
    EXPECT_TRUE(collector.indexesBelowValue(userAndSystem, 5.0, -1.0)) << "the newest decides";
    EXPECT_FALSE(collector.indexesBelowValue(userAndSystem, 5.0, 5.0));
}

TEST(StatCollectorLookups, GapsNotErrors) {
    ManualMainQueue queue;
    ProcessorCollector collector{EngineContext{queue, kLoggingTierCount}};
    EXPECT_NE(collector.storageForType(1), nullptr);
    EXPECT_EQ(collector.storageForType(2), nullptr);
    EXPECT_EQ(collector.lastTimeForType(0), 0.0);

    collector.addSample(Value::dict({{"sample", 4}, {"time", 44.0}, {"user", 3.0}}), 0);
    EXPECT_EQ(collector.sampleWithIdentifier(4, 0).values[0], 3.0);
    const SampleView missing = view(collector.sampleWithIdentifier(123, 0));
    EXPECT_EQ(missing.empty, 1);
    EXPECT_EQ(missing.sampleID, 123u);
    EXPECT_EQ(collector.lastTimeForType(0), 44.0);
    EXPECT_EQ(collector.lastIDForType(0), 4u);
    EXPECT_EQ(collector.lowestSampleForStorageType(0), 4u);

    collector.clearStorageForType(0);
    EXPECT_EQ(collector.lastIDForType(0), 0u);
    EXPECT_EQ(collector.sampleAtIndex(0, 0).values[0], 0.0);
}

class StatCollectorItems : public ::testing::Test {
protected:
    ManualMainQueue queue;
    NetworkCollector collector{EngineContext{queue}};
};

TEST_F(StatCollectorItems, TemporaryItemsAreFoundOnlyWhenAskedFor) {
    auto temporary = collector.itemWithKey("en0", true);
    ASSERT_TRUE(temporary);
    EXPECT_TRUE(temporary->temporary());
    EXPECT_EQ(collector.itemWithKey("en0", false), nullptr);
    EXPECT_EQ(collector.itemWithKey(Value("en0")), nullptr);
    EXPECT_EQ(collector.itemWithKey("en0", true), temporary);

    auto promoted = collector.newItemWithKey("en0");
    EXPECT_EQ(promoted, temporary);
    EXPECT_FALSE(promoted->temporary());
    EXPECT_EQ(collector.itemWithKey("en0", false), promoted);
    EXPECT_EQ(collector.items().size(), 1u);
    const auto numbered = collector.newItemWithKey("12");
    EXPECT_EQ(collector.itemWithKey(Value(12)), numbered) << "a number key is looked up as text";
}

TEST_F(StatCollectorItems, HistoryLeavesOutTemporaryAndUnloggedItems) {
    collector.newItemWithKey2("kept");
    collector.newItemWithKey2("quiet")->setNohistory(true);
    collector.itemWithKey("passing", true);
    const Value history = collector.historySampleForIndex(0);
    ASSERT_EQ(history["items"].size(), 1u);
    EXPECT_EQ(history["items"][0]["uuid"].stringValue(), "kept");
    EXPECT_EQ(history["empty"].integerValue(), 0);
}

TEST_F(StatCollectorItems, RemovesItemsThatAreGone) {
    auto a = collector.newItemWithKey2("a");
    auto b = collector.newItemWithKey2("b");
    auto c = collector.newItemWithKey2("c");
    collector.sort();
    EXPECT_FALSE(collector.removeOldItems());
    b->setExists(false);
    EXPECT_TRUE(collector.removeOldItems());
    EXPECT_EQ(collector.items(), (std::vector<StatCollector::ItemPointer>{a, c}));
}

TEST(StatCollectorSelection, KeysJoinAndVanish) {
    ManualMainQueue queue;
    StatCollector collector{EngineContext{queue}, 0};
    collector.addSelectionKeyItem("a");
    collector.addSelectionKeyItem("b");
    collector.addSelectionKeyItem("a");
    EXPECT_EQ(collector.selectionKey(), "a|b");
    collector.removeSelectionKeyItem("a");
    EXPECT_EQ(collector.selectionKey(), "b");
    collector.removeSelectionKeyItem("b");
    EXPECT_EQ(collector.selectionKey(), std::nullopt) << "nil, not an empty string";
    collector.setSelectionKey(std::string());
    collector.addSelectionKeyItem("c");
    EXPECT_EQ(collector.selectionKey(), "c");
}

class ThreadedCollector : public StatCollector {
public:
    using StatCollector::StatCollector;
    bool threadedUpdating() const override { return true; }
};

TEST(StatCollectorDelegates, UpdatesReachEachListenerOnceAndOnTheMainQueue) {
    ManualMainQueue queue;
    StatCollector direct{EngineContext{queue}, 0};
    testing::RecordingDelegate first, second;
    direct.addDelegate(&first);
    direct.addDelegate(&first);
    direct.addDelegate(&second);
    direct.notifyUpdated();
    EXPECT_EQ(first.updates, 1);
    direct.removeDelegate(&second);
    direct.notifyUpdated();
    EXPECT_EQ(second.updates, 1);

    ThreadedCollector threaded{EngineContext{queue}, 0};
    testing::RecordingDelegate listener;
    threaded.addDelegate(&listener);
    threaded.notifyUpdated();
    EXPECT_EQ(listener.updates, 0);
    queue.runUntilIdle();
    EXPECT_EQ(listener.updates, 1);
}

} // namespace
} // namespace corvane
