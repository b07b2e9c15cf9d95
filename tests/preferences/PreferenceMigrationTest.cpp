#include "preferences/PreferenceMigration.h"

#include "PreferencesFixture.h"
#include "foundation/Log.h"

#include <gtest/gtest.h>

namespace corvane::test {
namespace {

class PreferenceMigrationTest : public PreferencesFixture {
protected:
    // The steps are run by hand here.
    PreferenceMigrationTest() { migrateOnStart = false; }

    PreferenceMigration migration(CVBPreferences& preferences) {
        return PreferenceMigration(preferences, {dir.path() / "status5.plist",
                                                 std::make_shared<PreferenceDomain>(
                                                     kStatusDomain, dir.path() / "status.plist")});
    }
};

TEST_F(PreferenceMigrationTest, FirstStartWithoutPreviousVersionOnlySetsMarkers) {
    auto& preferences = install();
    migration(preferences).migrateIfNeeded();
    EXPECT_FALSE(preferences.didMigratePreferences);
    EXPECT_EQ(onDisk("Migrated_6.0"), Value(true));
    EXPECT_EQ(onDisk("FilteringDisks"), Value::array());
    EXPECT_TRUE(onDisk("TimerFrequency").isNull());
    EXPECT_TRUE(onDisk("Time_MenubarFormat").isNull()) << "a default must not be written";
}

TEST_F(PreferenceMigrationTest, TakesOverA5xDomain) {
    storeInVersion5(Value::dict({
        {"TimerFrequency", 1},
        {"Battery_Notifications",
         Value::array({Value::dict({{"style", 0}, {"type", 0}, {"level", 15}}),
                       Value::dict({{"style", 1}, {"type", 1}, {"level", 80}})})},
        {"Time_Cities", Value::array({"2643743"})},
        {"Time_MenubarFormat", Value::array({"HH", ":", "mm"})},
        {"MenubarGraphOpacity-DarkMode", 0.7},
        {"Battery_MebubarModeCharged", "2,1"},
        {"DropdownTheme", 1},
        {"Sensors_MenubarItems", Value::array({"TC0P"})},
        {"Disks_DropdownShowNetwork", false},
        {"Disks_DropdownDisplayMode", 3},
        {"FanControl_DefaultSet", "left behind"},
        {"updateCheckerEnabled", true},
        {"CPU_ProcessCount", 8},
    }));
    auto& preferences = install();
    // The 6.60 step drops sensor items of the old machine, so look at migrateToV6 alone first.
    migration(preferences).migrateToV6();
    EXPECT_TRUE(preferences.didMigratePreferences);
    EXPECT_EQ(onDisk("Sensors_MenubarItems"), Value::array({Value::dict({{"key", "TC0P"}})}));

    preferences.setObject(Value(true), "Migrated_6.0");
    migration(preferences).migrateIfNeeded();
    EXPECT_EQ(onDisk("TimerFrequency"), Value(2));
    EXPECT_EQ(onDisk("CPU_ProcessCount"), Value(8));
    EXPECT_EQ(onDisk("MenubarGraphOpacity-Dark"), Value(0.7));
    EXPECT_TRUE(onDisk("MenubarGraphOpacity-DarkMode").isNull());
    EXPECT_EQ(onDisk("DropdownTheme"), Value("3"));
    EXPECT_EQ(onDisk("Disks_DropdownActivityDisplayMode"), Value(2));
    EXPECT_EQ(onDisk("Disks_DropdownOrderDisabled"), Value("unmounted,removable,network"));
    for (const char* key : {"FanControl_DefaultSet", "updateCheckerEnabled",
                            "Battery_Notifications", "Disks_DropdownShowNetwork"})
        EXPECT_TRUE(onDisk(key).isNull()) << key;

    const Value rules = onDisk("Notifications-Items");
    ASSERT_EQ(rules.size(), 2u);
    EXPECT_EQ(rules[0]["notification-type"], Value("1"));
    EXPECT_EQ(rules[0]["rule-type"], Value("20"));
    EXPECT_EQ(rules[0]["value"], Value(15));
    EXPECT_EQ(rules[1]["notification-type"], Value("0"));
    EXPECT_EQ(rules[1]["rule-type"], Value("12"));
    EXPECT_EQ(rules[0]["enabled"], Value(true));
    EXPECT_FALSE(rules[0]["uuid"] == rules[1]["uuid"]);

    const Value cities = onDisk("Time_Cities");
    ASSERT_EQ(cities.size(), 3u);
    EXPECT_EQ(cities[0]["city"], Value("Moon"));
    EXPECT_EQ(cities[1]["identifier"], Value("-7"));
    EXPECT_EQ(cities[2], Value("2643743"));

    EXPECT_EQ(
        onDisk("Time_MenubarFormat"),
        Value::array({Value::dict({{"format", Value::array({Value::array({"HH", ":", "mm"})})}})}));
    // Renamed, then converted from the comma-joined form on the next start only under the
    // misspelt key; the renamed key keeps the string as the old version wrote it.
    EXPECT_EQ(onDisk("Battery_MenubarModeCharged"), Value("2,1"));
}

TEST_F(PreferenceMigrationTest, CommaJoinedModesBecomeListsInEveryListedKey) {
    auto& preferences = install();
    const auto keys = wordsOf(
        "CPU_MenubarMode Weather_MenubarMode Memory_MenubarMode Disks_MenubarMode "
        "Network_MenubarMode Sensors_MenubarMode Battery_MenubarModeBluetooth "
        "Battery_MenubarModeAirpods Battery_MenubarMode Battery_MebubarModeCharged "
        "Battery_MenubarModeCharging Battery_MenubarModeNotCharging Battery_MenubarModeDraining "
        "CombinedMenubarDisplayMode CombinedDropdownDisplayMode");
    for (const auto& key : keys)
        preferences.setObject(Value("100,6"), key);
    preferences.setObject(Value("2,1"), "Battery_MenubarModeCharged");
    migration(preferences).migrateIfNeeded();
    for (const auto& key : keys) {
        const Value modes = preferences.objectForKey(key);
        ASSERT_EQ(modes.size(), 2u) << key;
        EXPECT_EQ(modes[0]["key"], Value("100")) << key;
        EXPECT_EQ(modes[1]["key"], Value("6")) << key;
        EXPECT_TRUE(modes[0]["uuid"].isString()) << key;
        EXPECT_FALSE(modes[0]["uuid"] == modes[1]["uuid"]) << key;
    }
    EXPECT_EQ(onDisk("Battery_MenubarModeCharged"), Value("2,1"));
}

TEST_F(PreferenceMigrationTest, RunningAgainChangesNothing) {
    auto& preferences = install();
    preferences.setObject(Value("100,0"), "Disks_MenubarMode");
    preferences.setObject(Value(1), "Weather_Provider");
    preferences.setObject(Value(true), "Network_TextBold");
    preferences.setObject(Value::array({"EE", "HH"}), "Time_MenubarFormat");
    LogCapture log;
    migration(preferences).migrateIfNeeded();
    EXPECT_TRUE(log.contains("migrating weather provider to willyweather")) << log.lines();
    EXPECT_EQ(onDisk("Weather_ProviderKey"), Value("willyweather"));
    EXPECT_EQ(onDisk("Network_MenubarFontStyle"), Value(2));

    const Value first = onDisk();
    preferences.setObject(Value("accuweather"), "Weather_ProviderKey");
    preferences.setObject(Value(0), "Network_MenubarFontStyle");
    migration(preferences).migrateIfNeeded();
    migration(preferences).migrateIfNeeded();
    Value expected = first;
    expected.set("Weather_ProviderKey", "accuweather");
    expected.set("Network_MenubarFontStyle", 0);
    EXPECT_EQ(onDisk(), expected);
}

// Kept in the application's own defaults, they escaped a reset and an export.
TEST_F(PreferenceMigrationTest, UpdateTogglesMoveToTheSharedSettingsOnce) {
    store(kApplicationDomain, "app.plist",
          Value::dict({{"UpdateCheckerDisabled", true},
                       {"UpdateCheckerAutomaticDisabled", true},
                       {"ShownSetupScreen", true}}));
    auto& preferences = install();
    preferences.setObject(Value(false), "UpdateCheckerAutomaticDisabled"); // newer: it stays
    migration(preferences).migrateIfNeeded();
    EXPECT_EQ(onDisk("UpdateCheckerDisabled"), Value(true));
    EXPECT_EQ(onDisk("UpdateCheckerAutomaticDisabled"), Value(false));
    EXPECT_EQ(PreferenceDomain(kApplicationDomain, dir.path() / "app.plist").copyAll(),
              Value::dict({{"ShownSetupScreen", true}}));

    preferences.removeObjectForKey("UpdateCheckerDisabled");
    migration(preferences).migrateIfNeeded();
    EXPECT_TRUE(onDisk("UpdateCheckerDisabled").isNull()) << "moved once, not again";
}

TEST_F(PreferenceMigrationTest, MarkedStepsOfLaterVersions) {
    auto& preferences = install();
    preferences.setObject(Value::array({Value::dict({{"key", "5"}})}),
                          "Battery_MenubarModeCharging");
    preferences.setObject(Value::array({"a"}), "FanControl_Sets");
    preferences.setObject(Value(7), "Time_MenubarFormat");
    migration(preferences).migrateIfNeeded();
    EXPECT_EQ(onDisk("Battery_MenubarModeNotCharging"), onDisk("Battery_MenubarModeCharging"));
    EXPECT_TRUE(onDisk("FanControl_Sets").isNull());
    EXPECT_EQ(onDisk("Time_MenubarFormat"),
              Value::array(
                  {Value::dict({{"format", Value::array({preferences.menubarClockFormat()})}})}));

    preferences.setObject(Value::array({"AS_SOCDIE_AVERAGE"}), "Sensors_MenubarItems");
    migration(preferences).migrateIfNeeded();
    EXPECT_TRUE(onDisk("Sensors_MenubarItems").isNull());
    preferences.setObject(Value::array({"AS_SOCDIE_AVERAGE"}), "Sensors_MenubarItems");
    migration(preferences).migrateIfNeeded();
    EXPECT_FALSE(onDisk("Sensors_MenubarItems").isNull()) << "the 6.61 step runs once";
}

TEST_F(PreferenceMigrationTest, CitiesStoredAsIdentifiersAreLookedUp) {
    struct Lookup final : CityLookup {
        Value cityWithIdentifier(std::int64_t identifier) const override {
            if (identifier == 2643743)
                return Value::dict({{"identifier", "2643743"}, {"city", "London"}});
            return {};
        }
    };
    EXPECT_EQ(PreferenceMigration::migratedCities(Value::array()).size(), 2u);

    auto& preferences = install();
    auto steps = migration(preferences);
    EXPECT_FALSE(steps.doesNeedToMigrateCities());
    const Value moon = Value::dict({{"identifier", "-6"}, {"city", "Moon"}});
    preferences.setObject(Value::array({moon, "2643743", 12, Value::data("x")}), "Time_Cities");
    EXPECT_TRUE(steps.doesNeedToMigrateCities());
    steps.migrateCities(Lookup());
    // What the database does not know stays, for a later database to find.
    EXPECT_EQ(onDisk("Time_Cities"),
              Value::array({moon, Value::dict({{"identifier", "2643743"}, {"city", "London"}}), 12,
                            Value::data("x")}));
}

using StartupMigration = PreferencesFixture;

// Every process brings stored values to their current form before its first read.
TEST_F(StartupMigration, OldModeStringsAreListsAtTheFirstRead) {
    storeElsewhere(Value::dict({{"CPU_MenubarMode", "100,6"}}));
    install();
    EXPECT_EQ(CVBObjectForKey("CPU_MenubarMode")[1]["key"], Value("6"));
    EXPECT_EQ(CVBObjectForKeyWithoutCache("Migrated_6.0"), Value(true));
}

} // namespace
} // namespace corvane::test
