#include "collectors/battery/BatteryStatCollectorLinux.h"

#include "foundation/ManualMainQueue.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>

using namespace corvane;
using Item = BatteryStatCollectorItem;

namespace {

SysRoot recorded(const char* name) {
    return SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot" / name);
}

class PowerSupplies : public ::testing::Test {
protected:
    ManualMainQueue queue{1795335330.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

TEST_F(PowerSupplies, ALaptopOnBatteryWithAWirelessMouse) {
    BatteryStatCollectorLinux battery(context, recorded("laptop-discharging"));
    battery.updateStats();
    ASSERT_EQ(battery.batteries().size(), 2u);
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->key(), "123");
    EXPECT_EQ(internal->name, "Battery");
    EXPECT_FLOAT_EQ(internal->percentage, 60.0F);
    EXPECT_EQ(internal->state, Item::Discharging);
    EXPECT_EQ(internal->source, 0);
    EXPECT_EQ(internal->time(), 180); // 30.78 Wh left at 10.26 W
    EXPECT_FLOAT_EQ(internal->health, 90.0F);
    EXPECT_EQ(internal->cycles, 187);
    EXPECT_EQ(internal->condition, 3);
    EXPECT_DOUBLE_EQ(internal->manufactureTime, 1647216000.0);
    EXPECT_EQ(battery.primaryBattery(), internal);

    const auto mouse =
        battery.batteries()[1] == internal ? battery.batteries()[0] : battery.batteries()[1];
    EXPECT_EQ(mouse->type, Item::WirelessDevice);
    EXPECT_EQ(mouse->name, "Wireless Mouse MX");
    EXPECT_EQ(mouse->subtype, Mouse); // from its name: the kernel does not say
    EXPECT_EQ(internal->subtype, UnknownDevice);
    EXPECT_FLOAT_EQ(mouse->percentage, 55.0F);
    EXPECT_EQ(mouse->state, Item::Discharging);
    EXPECT_FALSE(battery.adapterWatts());

    // Each source keeps its sample, keyed by the collector's sample.
    const statsample sample = internal->sampleAtIndex(0, 0);
    EXPECT_DOUBLE_EQ(sample.values[0], 60.0);
    EXPECT_DOUBLE_EQ(sample.values[1], Item::Discharging);
}

TEST_F(PowerSupplies, ALaptopChargingFromUsbC) {
    BatteryStatCollectorLinux battery(context, recorded("laptop-charging"));
    battery.updateStats();
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->state, Item::Charging);
    EXPECT_EQ(internal->source, 1);
    EXPECT_EQ(internal->time(), 60); // 20.52 Wh to go at 20.52 W
    EXPECT_EQ(battery.adapterWatts(), 65);
}

TEST_F(PowerSupplies, ASupplyIsReadFromItsUeventSummaryWhereTheKernelWritesOne) {
    test::TemporaryDirectory dir;
    std::filesystem::copy(recorded("laptop-charging").root(), dir.path(),
                          std::filesystem::copy_options::recursive);
    const auto bat0 =
        dir.path() / "sys/devices/LNXSYSTM:00/LNXSYBUS:00/PNP0C0A:00/power_supply/BAT0";
    for (const char* attribute : {"capacity", "status", "power_now", "energy_now"})
        std::filesystem::remove(bat0 / attribute);
    BatteryStatCollectorLinux battery(context, SysRoot(dir.path()));
    battery.updateStats();
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_FLOAT_EQ(internal->percentage, 60.0F);
    EXPECT_EQ(internal->state, Item::Charging);
    EXPECT_EQ(internal->time(), 60);
}

TEST_F(PowerSupplies, AChargeLimitCountsAsOptimisedCharging) {
    BatteryStatCollectorLinux battery(context, recorded("laptop-charge-limit"));
    battery.updateStats();
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->state, Item::HeldBackByOptimisedCharging);
    EXPECT_EQ(internal->time(), Item::kTimeNoEstimate);
}

TEST_F(PowerSupplies, AFullBatteryOnMainsIsCharged) {
    BatteryStatCollectorLinux battery(context, recorded("laptop-full"));
    battery.updateStats();
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->state, Item::ChargedOrUnknown);
    EXPECT_EQ(internal->source, 1);
    EXPECT_FLOAT_EQ(internal->percentage, 100.0F);
    EXPECT_EQ(internal->time(), Item::kTimeCharged);
}

TEST_F(PowerSupplies, AFullUpsIsAPowerSourceNotABattery) {
    BatteryStatCollectorLinux battery(context, recorded("desktop-ups"));
    battery.updateStats();
    ASSERT_EQ(battery.batteries().size(), 1u);
    EXPECT_FALSE(battery.hasInteralBattery());
    const auto ups = battery.primaryBattery();
    EXPECT_EQ(ups->type, Item::PowerSource);
    EXPECT_EQ(ups->state, Item::ChargedOrUnknown);
    EXPECT_EQ(ups->name, "CP1500PFCLCD");
    // It reports neither a rate nor a time: no estimate, rather than one forever pending.
    EXPECT_EQ(ups->time(), Item::kTimeNoEstimate);
}

TEST_F(PowerSupplies, ABatteryWithoutARateHasNoEstimate) {
    test::TemporaryDirectory dir;
    std::filesystem::copy(recorded("laptop-discharging").root(), dir.path(),
                          std::filesystem::copy_options::recursive);
    std::filesystem::remove(dir.path() / "sys/class/power_supply/BAT0/power_now");
    BatteryStatCollectorLinux battery(context, SysRoot(dir.path()));
    battery.updateStats();
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->state, Item::Discharging);
    EXPECT_EQ(internal->time(), Item::kTimeNoEstimate);
}

// The driver gives the current negative while discharging; others give it positive.
TEST_F(PowerSupplies, ACurrentIsNegativeWhileDischargingWhicheverSignTheDriverUses) {
    test::TemporaryDirectory dir;
    std::filesystem::copy(recorded("laptop-charge-counter").root(), dir.path(),
                          std::filesystem::copy_options::recursive);
    for (const char* current : {"-950000", "950000"}) {
        std::ofstream(dir.path() / "sys/class/power_supply/BAT1/current_now") << current << "\n";
        BatteryStatCollectorLinux battery(context, SysRoot(dir.path()));
        battery.updateStats();
        const auto internal = battery.internalBattery();
        ASSERT_TRUE(internal);
        EXPECT_EQ(internal->state, Item::Discharging);
        EXPECT_FLOAT_EQ(internal->amperage, -950.0F) << current;
        EXPECT_EQ(internal->time(), 120) << current; // 1.9 Ah left at 0.95 A
        EXPECT_FLOAT_EQ(internal->health, 95.0F);
    }
}

TEST_F(PowerSupplies, ALevelInWordsGivesAnApproximatePercentage) {
    BatteryStatCollectorLinux battery(context, recorded("laptop-charge-counter"));
    battery.updateStats();
    std::map<std::string, float> levels;
    for (const auto& source : battery.batteries())
        levels[source->key()] = source->percentage;
    EXPECT_FLOAT_EQ(levels["hid-0005:054c:0ce6.0001-battery"], 80.0F); // "High"
    EXPECT_FLOAT_EQ(levels["hid-0005:045e:0b13.0002-battery"], 5.0F);  // "Critical"
    EXPECT_FLOAT_EQ(levels["BAT1"], 50.0F);
}

TEST_F(PowerSupplies, AMachineWithoutSuppliesHasNoItems) {
    BatteryStatCollectorLinux battery(context, SysRoot("/nonexistent"));
    battery.updateStats();
    EXPECT_TRUE(battery.batteries().empty());
    EXPECT_EQ(battery.primaryBattery(), nullptr);
}

TEST_F(PowerSupplies, SamplesOnEverySixthBeat) {
    BatteryStatCollectorLinux battery(context, SysRoot("/nonexistent"));
    EXPECT_TRUE(battery.shouldUpdateStateForSequence(0));
    EXPECT_FALSE(battery.shouldUpdateStateForSequence(5));
    EXPECT_TRUE(battery.shouldUpdateStateForSequence(12));
}

} // namespace
