#include "collectors/battery/BatteryStatCollectorItem.h"

#include "foundation/ManualMainQueue.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace corvane;
using Item = BatteryStatCollectorItem;

namespace {

Value onBattery(double percent, int toEmpty) {
    return Value::dict({{"Name", "InternalBattery-0"},
                        {"Current Capacity", percent},
                        {"Power Source State", "Battery Power"},
                        {"Time to Empty", toEmpty}});
}

Value onMains(double percent, int charging, int charged, Value toFull = Value()) {
    Value d = Value::dict({{"Current Capacity", percent},
                           {"Power Source State", "AC Power"},
                           {"Is Charging", charging},
                           {"Is Charged", charged}});
    d.set("Time to Full Charge", toFull);
    return d;
}

class BatteryItem : public ::testing::Test {
protected:
    BatteryItem() { item.setQueue(&queue); }
    ManualMainQueue queue{1795335330.0};
    Item item{3, kSettingsTierCount};
};

TEST(BatteryItemStates, PowerStatesAndTheirTimes) {
    Value held = onMains(80, 0, 0, 0);
    held.set("Optimized Battery Charging Engaged", 1);
    struct Case {
        const char* what;
        Value source;
        Item::State state;
        std::int64_t sourceState;
        std::int64_t time;
        Item::Type type = Item::InternalBattery;
    };
    const Case cases[] = {
        {"on battery", onBattery(55, 143), Item::Discharging, 0, 143},
        {"charging", onMains(40, 1, 0, 75), Item::Charging, 1, 75},
        {"charged", onMains(100, 0, 1, 0), Item::ChargedOrUnknown, 1, Item::kTimeCharged},
        {"on mains without a time to full at all", onMains(80, 0, 0), Item::OnMainsNotCharging, 1,
         Item::kTimeNoEstimate},
        {"held back", held, Item::HeldBackByOptimisedCharging, 1, Item::kTimeCalculating},
        {"estimating", onMains(40, 1, 0, -1), Item::Charging, 1, Item::kTimeCalculating},
        // Unknown, not "0:00" nor "Calculating".
        {"a source that cannot tell its time",
         Value::dict({{"Current Capacity", 50}, {"Power Source State", "Battery Power"}}),
         Item::Discharging, 0, Item::kTimeNoEstimate},
        {"a full UPS on mains that says it is charging", onMains(100, 1, 0, 5),
         Item::ChargedOrUnknown, 1, 5, Item::PowerSource},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Item item(3, 1);
        item.type = c.type;
        item.processIOPS(c.source);
        EXPECT_EQ(item.state, c.state);
        EXPECT_EQ(item.source, c.sourceState);
        EXPECT_EQ(item.time(), c.time);
    }
}

TEST_F(BatteryItem, PercentageIsCutToItsRangeAndTheConditionReadFromEitherKey) {
    item.processIOPS(onBattery(120, 10));
    EXPECT_EQ(item.percentage, 100.0F);
    item.processIOPS(onBattery(-5, 10));
    EXPECT_EQ(item.percentage, 0.0F);
    item.processIOPS(onBattery(NAN, 10));
    EXPECT_EQ(item.percentage, 0.0F);
    // The health condition, from either key.
    item.processIOPS(Value::dict({{"BatteryHealth", "Fair"}}));
    EXPECT_EQ(item.condition, 2);
    item.processIOPS(Value::dict({{"BatteryHealth", "Unknown words"}}));
    EXPECT_EQ(item.condition, 2);
    item.processIOPS(Value::dict({{"BatteryHealthCondition", "Permanent Battery Failure"}}));
    EXPECT_EQ(item.condition, 5);
    item.processIOPS(Value::dict({{"BatteryHealthCondition", "Service Recommended"}}));
    EXPECT_EQ(item.condition, 3);
}

TEST_F(BatteryItem, NamesLoseALeadingBlankAndTheInternalOneIsBattery) {
    item.type = Item::PowerSource;
    item.processIOPS(Value::dict({{"Name", " UPS"}, {"Current Capacity", 50}}));
    EXPECT_EQ(item.name, "UPS");
    EXPECT_EQ(item.source, -1); // no power-source state at all
    EXPECT_EQ(item.state, Item::ChargedOrUnknown);

    Item internal(3, 1);
    internal.processIOPS(onBattery(50, 10));
    EXPECT_EQ(internal.name, "Battery");
}

TEST_F(BatteryItem, TheFirstEstimateAfterPluggingInIsHeldBackTenSeconds) {
    item.processIOPS(onBattery(50, 120)); // the first update sets no delay
    EXPECT_FALSE(item.delay);
    const double unplugged = item.sourceTime;
    queue.advance(60);
    item.processIOPS(onMains(50, 1, 0, 90));
    EXPECT_TRUE(item.delay);
    EXPECT_EQ(item.time(), -1);
    EXPECT_DOUBLE_EQ(item.sourceTime, unplugged + 60);
    queue.advance(9.9);
    EXPECT_EQ(item.time(), -1);
    queue.advance(0.2);
    EXPECT_EQ(item.time(), 90);

    // Plugged out and in again at once: the later delay counts, not the first.
    item.processIOPS(onBattery(50, 100));
    queue.advance(5);
    item.processIOPS(onMains(50, 1, 0, 88));
    queue.advance(6);
    EXPECT_TRUE(item.delay);
    queue.advance(5);
    EXPECT_FALSE(item.delay);
}

TEST_F(BatteryItem, CancellingTheDelayShowsTheEstimateAtOnce) {
    item.processIOPS(onBattery(50, 120));
    item.processIOPS(onMains(50, 1, 0, 90));
    ASSERT_EQ(item.time(), -1);
    item.cancelDelay();
    EXPECT_FALSE(item.delay);
    EXPECT_EQ(item.time(), 90);
    queue.advance(20); // the cancelled timer does not come back
    EXPECT_EQ(item.time(), 90);
    EXPECT_EQ(queue.pendingCount(), 0u);

    // Unplugged again: a new delay of its own.
    item.processIOPS(onBattery(50, 115));
    EXPECT_EQ(item.time(), -1);
    queue.advance(10.1);
    EXPECT_EQ(item.time(), 115);
}

TEST(BatteryItemWithoutQueue, NothingWouldEndADelaySoThereIsNone) {
    Item item(3, 1);
    item.processIOPS(onBattery(50, 120));
    item.processIOPS(onMains(50, 1, 0, 90));
    EXPECT_FALSE(item.delay);
    EXPECT_EQ(item.time(), 90);
}

TEST_F(BatteryItem, ControllerFiguresGiveHealthAndAge) {
    item.processSmart(Value::dict({{"CycleCount", 187},
                                   {"DesignCapacity", 5000},
                                   {"MaxCapacity", 4500},
                                   {"AppleRawMaxCapacity", 4600},
                                   {"ManufactureDate", (42 << 9) | (3 << 5) | 14}}));
    EXPECT_EQ(item.name, "Internal Battery");
    EXPECT_EQ(item.cycles, 187);
    EXPECT_FLOAT_EQ(item.health, 92.0F);
    EXPECT_DOUBLE_EQ(item.manufactureTime, 1647216000.0); // 2022-03-14 00:00 UTC

    Item fresh(3, 1);
    fresh.processSmart(Value::dict({{"DesignCapacity", 5000}, {"MaxCapacity", 5100}}));
    EXPECT_FLOAT_EQ(fresh.health, 100.0F);

    Item unknown(3, 1);
    unknown.processSmart(Value::dict({{"DesignCapacity", 0}, {"MaxCapacity", 0}}));
    EXPECT_TRUE(std::isnan(unknown.health));
}

TEST(ManufactureDates, PackedAndText) {
    EXPECT_EQ(packedManufactureDate(0), 0.0);                      // month 0 is no date
    EXPECT_DOUBLE_EQ(textManufactureDate("210315"), 1363305600.0); // 2013-03-15
    EXPECT_EQ(textManufactureDate("21031"), 0.0);
    EXPECT_EQ(textManufactureDate("21a315"), 0.0);
}

} // namespace
