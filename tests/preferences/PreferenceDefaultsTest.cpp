#include "preferences/PreferenceDefaults.h"

#include "PreferencesFixture.h"
#include "preferences/CVBPreferences.h"

#include <gtest/gtest.h>
#include <unicode/locid.h>

using namespace corvane;

namespace {

// Stored files and the other processes use these names as they are spelt, and the readers
// expect the kind of each number: an integer read as a real draws a graph of another width.
TEST(Defaults, MisspelledNamesAndNumberKindsStand) {
    const Value d = builtInDefaults({});
    for (const char* key :
         {"Theme-SeperateStyles", "Disks_MenubarRWReadShadwColor", "Disks_HidePurgable",
          "Disks_SeperateFusion", "Battery_ColorGraphBluetoothhLow", "Time_CLockFaceSide",
          "Time_CLockSortMode", "Time_MenubarFlashSeperators"})
        EXPECT_TRUE(d.contains(key)) << key;
    EXPECT_EQ(d["Disks_MenubarGraphActivityWidth"], Value(50.0));
    EXPECT_EQ(d["Network_GraphWidth"], Value(30.0));
    EXPECT_EQ(d["CPU_MenubarGraphWidth"], Value(30));
    // No language by default: its absence means the desktop's.
    EXPECT_FALSE(d.contains("language"));
}

TEST(Defaults, DependOnPanelMachineAndLocale) {
    DefaultsContext desktop;
    desktop.shortTimePattern = "h:mm a";
    desktop.metricSystem = false;
    const Value d = builtInDefaults(desktop);
    EXPECT_EQ(d["DropdownTheme"], Value(0));
    EXPECT_EQ(d["StatusItems-Order"], Value::array({1, 2, 3, 4, 5}));
    EXPECT_EQ(d["Sensors_TemperatureMode"], Value(1));
    EXPECT_EQ(d["Time_WeekNumberFormat"], Value(0));
    EXPECT_EQ(d["Time_DropdownFormat"], Value::array({"hh", ":", "mm", " ", "a"}));
    EXPECT_EQ(d["Time_MenubarFormat"],
              Value::array({Value::dict(
                  {{"format", Value::array({Value::array({"EE", "' '", "hh", ":", "mm"})})}})}));

    DefaultsContext laptop;
    laptop.menubarDark = true;
    laptop.laptop = true;
    laptop.shortTimePattern = "H:mm";
    const Value l = builtInDefaults(laptop);
    EXPECT_EQ(l["DropdownTheme"], Value(3));
    EXPECT_EQ(l["StatusItems-Order"], Value::array({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(l["Sensors_TemperatureMode"], Value(0));
    EXPECT_EQ(l["Time_DropdownFormat"], Value::array({"H", ":", "mm"}));
}

// Each start's rules and cities carry identifiers of their own, never shared.
TEST(Defaults, StructuredDefaultsCarryFreshIdentifiers) {
    const Value a = builtInDefaults({});
    const Value b = builtInDefaults({});
    const Value& rules = a["Notifications-Items"];
    ASSERT_EQ(rules.size(), 4u);
    EXPECT_EQ(rules[0]["uuid"].string().size(), 36u);
    EXPECT_NE(rules[0]["uuid"], rules[1]["uuid"]);
    EXPECT_NE(rules[0]["uuid"], b["Notifications-Items"][0]["uuid"]);
    ASSERT_EQ(a["Time_Cities"].size(), 6u);
    EXPECT_EQ(a["Time_Cities"][1]["city"], Value("Current Location"));
}

// LANG=C reaches ICU as "en_US_POSIX", LANG=C.UTF-8 as its root locale "": metric, 24 hours.
TEST(LocaleFacts, ComeFromIcuAndTheCLocaleIsMetricWithA24HourClock) {
    const std::pair<const char*, bool> cases[] = {{"en_US", false},      {"de_DE", true},
                                                  {"en_US_POSIX", true}, {"", true},
                                                  {"C", true},           {"POSIX", true}};
    for (const auto& [id, metric] : cases) {
        const LocaleFacts facts = LocaleFacts::forLocale(id);
        EXPECT_EQ(facts.metricSystem, metric) << '"' << id << '"';
        EXPECT_EQ(hourFieldForPattern(facts.shortTimePattern), metric ? "HH" : "hh")
            << '"' << id << '"';
    }

    const icu::Locale saved = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
    ASSERT_TRUE(U_SUCCESS(status));
    const LocaleFacts current = LocaleFacts::current();
    icu::Locale::setDefault(saved, status);
    EXPECT_TRUE(current.metricSystem);
    EXPECT_EQ(hourFieldForPattern(current.shortTimePattern), "HH");
}

TEST(MachineFacts, LaptopsByModelNameChassisOrBattery) {
    EXPECT_TRUE(MachineFacts::isLaptop("MacBookPro18,3", std::nullopt));
    EXPECT_FALSE(MachineFacts::isLaptop("iMac21,1", 10)); // a Mac's name decides
    EXPECT_TRUE(MachineFacts::isLaptop("ThinkPad X1", 10));
    EXPECT_TRUE(MachineFacts::isLaptop("", 31));
    EXPECT_FALSE(MachineFacts::isLaptop("Standard PC", 3));
    EXPECT_FALSE(MachineFacts::isLaptop("", std::nullopt));
    // Without SMBIOS a battery of the machine's own decides; a mouse's or a UPS's does not.
    const std::string recorded = CVB_FIXTURES_DIR "/sysroot/";
    EXPECT_TRUE(MachineFacts::read(SysRoot(recorded + "laptop-charge-counter")).laptop);
    EXPECT_TRUE(MachineFacts::read(SysRoot(recorded + "laptop-discharging")).laptop);
    EXPECT_FALSE(MachineFacts::read(SysRoot(recorded + "desktop-ups")).laptop);
    EXPECT_FALSE(MachineFacts::read(SysRoot(recorded + "ht-4c8t")).laptop);
}

} // namespace
