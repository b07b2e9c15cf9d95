#include "engine/StatCollectorItem.h"

#include "SampleView.h"
#include "TestCollectors.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using testing::SampleView;
using testing::view;

class StatCollectorItemTest : public ::testing::Test {
protected:
    StatCollectorItem item{2, kLoggingTierCount};
    void SetUp() override {
        item.config() =
            Value::dict({{"addSampleIDKeys", Value::array({"sample", "id"})},
                         {"addSampleMap", Value::dict({{"download", 0}, {"upload", 1}})},
                         {"sampleKeys", Value::dict({{"download", 0}, {"upload", 1}})}});
        item.setKey("en0");
    }
};

TEST_F(StatCollectorItemTest, SlotZeroWritesCarryTheHeader) {
    item.addSample(Value::dict({{"sample", 4}, {"time", 40.0}, {"empty", 2}}), 1);
    EXPECT_EQ(item.idForInterval(1), 4.0);
    EXPECT_EQ(item.sampleIndex(1).time, 40.0);
    EXPECT_EQ(view(item.sampleAtIndex(0, 1)).empty, 0)
        << "only an exact 1 marks an item sample empty";

    item.addSampleAtIndex(Value::dict({{"sample", 9}, {"time", 90.0}, {"empty", true}}), 1, 5);
    EXPECT_EQ(view(item.sampleAtIndex(5, 1)).empty, 1);
    EXPECT_EQ(item.idForInterval(1), 4.0) << "a write past slot 0 leaves the header";

    item.addSample(Value::dict({{"sample", 3}}), 1);
    EXPECT_EQ(item.idForInterval(1), 4.0) << "refused";
}

TEST_F(StatCollectorItemTest, AveragesAreStampedWithThePeriodStart) {
    for (int t = 1; t <= 12; ++t)
        item.addSample(Value::dict({{"time", 100.0 + t}, {"download", 1.0 * t}}), 0);
    item.setTime(112.0, 1);
    const Value averages = item.averagesForIndex(1);
    EXPECT_EQ(averages["time"].doubleValue(), 106.0);
    EXPECT_DOUBLE_EQ(averages["download"].doubleValue(), (7 + 12) / 2.0);

    const Value history = item.historyItemForIndex(1);
    EXPECT_EQ(history["uuid"].stringValue(), "en0");
    EXPECT_EQ(history["time"].doubleValue(), 106.0);

    StatCollectorItem unnamed{2, 1};
    EXPECT_TRUE(unnamed.historyItemForIndex(0).isNull());
}

TEST_F(StatCollectorItemTest, FullStorageExistsOnlyOnceLoaded) {
    const Value sample = Value::dict({{"sample", 6}, {"download", 3.0}});
    item.addSampleToFullStorage(sample, 0);
    EXPECT_EQ(item.fullStorageForType(0), nullptr);
    EXPECT_EQ(view(item.sampleWithIdentifierFull(6, 0)).empty, 1);

    item.loadFullStorageAtIndex(0);
    ASSERT_NE(item.fullStorageForType(0), nullptr);
    item.addSampleToFullStorage(sample, 0);
    EXPECT_EQ(item.idForIntervalFull(0), 6.0);
    EXPECT_EQ(item.sampleWithIdentifierFull(6, 0).values[0], 3.0);
    EXPECT_EQ(item.idForInterval(0), 0.0) << "the live ring is a different one";

    item.freeFullStorage();
    EXPECT_EQ(item.fullStorageForType(0), nullptr);
}

TEST_F(StatCollectorItemTest, CleanupReleasesOnceAndLeavesAnInertItem) {
    item.cleanup();
    item.cleanup();
    EXPECT_TRUE(item.cleanedUp());
    EXPECT_EQ(item.sampleValueCount(), 0);
    EXPECT_FALSE(item.loadedValuesAtIndex(0));
    item.addSample(Value::dict({{"sample", 1}, {"download", 1.0}}), 0);
    EXPECT_EQ(item.lowestSampleForStorageType(0), 0u);
    EXPECT_TRUE(item.averagesForIndex(0)["empty"].boolValue());
}

} // namespace
} // namespace corvane
