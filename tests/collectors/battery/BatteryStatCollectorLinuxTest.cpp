#include "collectors/battery/BatteryStatCollectorLinux.h"

#include "collectors/battery/BatteryStatus.h"
#include "foundation/ManualMainQueue.h"
#include "support/RecordedMachine.h"
#include "support/TemporaryDirectory.h"

#include <cctype>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

using namespace corvane;
using Item = BatteryStatCollectorItem;

namespace {

// "BAT0/status=Full": the attribute's file and its line in uevent, where the tree has them.
void setAttribute(const std::filesystem::path& root, const std::string& change) {
    const auto slash = change.find('/');
    const auto equals = change.find('=');
    const auto dir = root / "sys/class/power_supply" / change.substr(0, slash);
    const std::string name = change.substr(slash + 1, equals - slash - 1);
    const std::string value = change.substr(equals + 1);
    if (std::filesystem::exists(dir / name))
        std::ofstream(dir / name) << value << "\n";
    std::ifstream in(dir / "uevent");
    std::string upper = name, text, line;
    for (char& ch : upper)
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    const std::string key = "POWER_SUPPLY_" + upper + "=";
    while (std::getline(in, line))
        text += (line.rfind(key, 0) == 0 ? key + value : line) + "\n";
    if (!text.empty())
        std::ofstream(dir / "uevent") << text;
}

class PowerSupplies : public ::testing::Test {
protected:
    ManualMainQueue queue{1795335330.0};
    EngineContext context{queue, kSettingsTierCount, nullptr};
};

// Its charge, state, time (30.78 Wh left at 10.26 W), health, cycles and the mouse's name and
// charge are in the status program's dropdown, whose tests read this recording.
TEST_F(PowerSupplies, ALaptopOnBatteryWithAWirelessMouse) {
    BatteryStatCollectorLinux battery(context, test::recordedRoot("laptop-discharging"));
    battery.updateStats();
    ASSERT_EQ(battery.batteries().size(), 2u);
    const auto internal = battery.internalBattery();
    ASSERT_TRUE(internal);
    EXPECT_EQ(internal->key(), "123");
    EXPECT_EQ(internal->name, "Battery");
    EXPECT_EQ(internal->condition, 3);
    EXPECT_DOUBLE_EQ(internal->manufactureTime, 1647216000.0);
    EXPECT_EQ(battery.primaryBattery(), internal);

    const auto mouse =
        battery.batteries()[1] == internal ? battery.batteries()[0] : battery.batteries()[1];
    EXPECT_EQ(mouse->type, Item::WirelessDevice);
    EXPECT_EQ(mouse->subtype, Mouse); // from its name: the kernel does not say
    EXPECT_EQ(internal->subtype, UnknownDevice);
    EXPECT_FALSE(battery.adapterWatts());

    // Each source keeps its sample, keyed by the collector's sample.
    const statsample sample = internal->sampleAtIndex(0, 0);
    EXPECT_DOUBLE_EQ(sample.values[0], 60.0);
    EXPECT_DOUBLE_EQ(sample.values[1], Item::Discharging);
}

// Recorded machines, some with attributes of BAT0 taken away, as their internal battery reads.
// (The copy holds the supply's folder itself where the recording has a link to it.)
TEST_F(PowerSupplies, TheInternalBatteryOfRecordedMachines) {
    struct Case {
        const char* what;
        const char* tree;
        Item::State state;
        std::int64_t source;
        float percentage;
        std::int64_t time;
        const char* removed = "";
        const char* changed = ""; // supply/attribute=value, as the kernel would write them
        std::int64_t condition = 3;
    };
    const Case cases[] = {
        {"charging from USB-C: 20.52 Wh to go at 20.52 W", "laptop-charging", Item::Charging, 1, 60,
         60},
        {"the same from the uevent summary, where the kernel writes one", "laptop-charging",
         Item::Charging, 1, 60, 60, "capacity status power_now energy_now"},
        {"a charge limit counts as optimised charging", "laptop-charge-limit",
         Item::HeldBackByOptimisedCharging, 1, 80, Item::kTimeNoEstimate},
        {"full on mains", "laptop-full", Item::ChargedOrUnknown, 1, 100, Item::kTimeCharged},
        {"no rate, so no estimate", "laptop-discharging", Item::Discharging, 0, 60,
         Item::kTimeNoEstimate, "power_now"},
        {"still \"Full\" just after the adapter went: on battery", "laptop-full", Item::Discharging,
         0, 100, Item::kTimeNoEstimate, "", "AC/online=0"},
        {"a battery the kernel gave up on", "laptop-discharging", Item::Discharging, 0, 60, 180, "",
         "BAT0/health=Dead", 5},
        {"an overheating battery asks for a check", "laptop-discharging", Item::Discharging, 0, 60,
         180, "", "BAT0/health=Overheat", 4},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TemporaryDirectory copy;
        std::filesystem::copy(test::recordedRoot(c.tree).root(), copy.path(),
                              std::filesystem::copy_options::recursive);
        std::istringstream removed(c.removed);
        for (std::string name; removed >> name;)
            ASSERT_TRUE(
                std::filesystem::remove(copy.path() / "sys/class/power_supply/BAT0" / name));
        std::istringstream changed(c.changed);
        for (std::string change; changed >> change;)
            setAttribute(copy.path(), change);

        BatteryStatCollectorLinux battery(context, SysRoot(copy.path()));
        battery.updateStats();
        const auto internal = battery.internalBattery();
        ASSERT_TRUE(internal);
        EXPECT_EQ(internal->state, c.state);
        EXPECT_EQ(internal->source, c.source);
        EXPECT_FLOAT_EQ(internal->percentage, c.percentage);
        EXPECT_EQ(internal->time(), c.time);
        EXPECT_EQ(internal->condition, c.condition);
    }
}

TEST_F(PowerSupplies, AnEmptyBayIsNoSource) {
    test::TemporaryDirectory copy;
    std::filesystem::copy(test::recordedRoot("laptop-discharging").root(), copy.path(),
                          std::filesystem::copy_options::recursive);
    setAttribute(copy.path(), "BAT0/present=0");
    BatteryStatCollectorLinux battery(context, SysRoot(copy.path()));
    battery.updateStats();
    EXPECT_FALSE(battery.hasInteralBattery());
    EXPECT_EQ(battery.batteries().size(), 1u) << "the mouse stays";
}

TEST_F(PowerSupplies, AUsbCAdapterGivesItsWatts) {
    BatteryStatCollectorLinux battery(context, test::recordedRoot("laptop-charging"));
    battery.updateStats();
    EXPECT_EQ(battery.adapterWatts(), 65); // 20 V at 3.25 A
}

TEST_F(PowerSupplies, AFullUpsIsAPowerSourceNotABattery) {
    BatteryStatCollectorLinux battery(context, test::recordedRoot("desktop-ups"));
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

// The driver gives the current negative while discharging; others give it positive.
TEST_F(PowerSupplies, ACurrentIsNegativeWhileDischargingWhicheverSignTheDriverUses) {
    test::TemporaryDirectory dir;
    std::filesystem::copy(test::recordedRoot("laptop-charge-counter").root(), dir.path(),
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

// Three game pads: a level in words gives an approximate percentage, and "Unknown" gives none.
TEST_F(PowerSupplies, ALevelInWordsGivesAnApproximatePercentageAndUnknownGivesNone) {
    BatteryStatCollectorLinux battery(context, test::recordedRoot("laptop-charge-counter"));
    battery.updateStats();
    std::map<std::string, BatteryStatCollector::BatteryItem> sources;
    for (const auto& source : battery.batteries())
        sources[source->key()] = source;
    EXPECT_FLOAT_EQ(sources["hid-0005:054c:0ce6.0001-battery"]->percentage, 80.0F); // "High"
    EXPECT_FLOAT_EQ(sources["hid-0005:045e:0b13.0002-battery"]->percentage, 5.0F);  // "Critical"
    EXPECT_FLOAT_EQ(sources["BAT1"]->percentage, 50.0F);
    EXPECT_TRUE(sources["BAT1"]->hasPercentage);

    const auto unknown = sources["hid-0005:057e:2009.0003-battery"];
    ASSERT_TRUE(unknown);
    EXPECT_FALSE(unknown->hasPercentage);
    EXPECT_EQ(unknown->sampleAtIndex(0, 0).empty, 1) << "a gap in the graph, not 0 %";
    EXPECT_EQ(unknown->subtype, GameController);
}

TEST_F(PowerSupplies, AMachineWithoutSuppliesHasNoItemsAndSamplesOnEverySixthBeat) {
    BatteryStatCollectorLinux battery(context, SysRoot("/nonexistent"));
    battery.updateStats();
    EXPECT_TRUE(battery.batteries().empty());
    EXPECT_EQ(battery.primaryBattery(), nullptr);
    EXPECT_EQ(BatteryStatus(battery).text().rfind("Battery   none", 0), 0u);
    EXPECT_TRUE(battery.shouldUpdateStateForSequence(0));
    EXPECT_FALSE(battery.shouldUpdateStateForSequence(5));
    EXPECT_TRUE(battery.shouldUpdateStateForSequence(12));
}

} // namespace
