#include "preferences/PreferenceDefaults.h"

#include "PreferencesFixture.h"
#include "preferences/CVBPreferences.h"

#include <gtest/gtest.h>
#include <set>
#include <unicode/locid.h>

using namespace corvane;

namespace {

// Every key that has a built-in default, by family, separated by blanks.
const char* const kFamilies[] = {
    // Global
    "DropdownGraphBackground DropdownTheme DropdownTheme-Dark DropdownTheme-Light "
    "MenubarGraphOpacity MenubarGraphOpacity-Dark MenubarGraphOpacity-Dark-Modern "
    "MenubarGraphOpacity-Modern MenubarGraphSize MenubarSkinColor MenubarSkinColor-Dark "
    "MenubarSkinColor-Light MenubarTheme MenubarTheme-Dark ProcessesCombine "
    "StatusItems-FixedPosition StatusItems-Order StatusItems-OrderingDisabled "
    "Theme-SeperateStyles TimerFrequency Notifications-Enabled Notifications-Items "
    "CombinedDropdownDisplayMode CombinedMenubarDisplayMode",
    // CPU
    "CPU_AppFormat CPU_CombineLogicalCores CPU_Label CPU_Label-Dark CPU_MenubarCombineCores "
    "CPU_MenubarFontStyle CPU_MenubarGraphBreakdowns CPU_MenubarGraphSystem CPU_MenubarGraphUser "
    "CPU_MenubarGraphWidth CPU_MenubarGroupItems CPU_MenubarMode CPU_MenubarSingleHistoryGraph "
    "CPU_MenubarTextColor CPU_MenubarTextColor-Dark CPU_MenubarTextShadowColor "
    "CPU_MenubarTextShadowColor-Dark CPU_MenubarTextSize CPU_ProcessCount",
    // Load
    "Load_Label Load_Label-Dark Load_MenubarFontStyle Load_MenubarTextColor "
    "Load_MenubarTextColor-Dark Load_MenubarTextShadowColor Load_MenubarTextShadowColor-Dark "
    "Load_MenubarTextSize",
    // GPU
    "GPU_Label GPU_Label-Dark GPU_MenubarFontStyle GPU_MenubarGraphWidth GPU_MenubarTextColor "
    "GPU_MenubarTextColor-Dark GPU_MenubarTextColorProcessor GPU_MenubarTextColorProcessor-Dark "
    "GPU_MenubarTextShadowColor GPU_MenubarTextShadowColor-Dark "
    "GPU_MenubarTextShadowColorProcessor GPU_MenubarTextShadowColorProcessor-Dark "
    "GPU_MenubarTextSize",
    // Memory
    "Memory_AppFormat Memory_DisplayFormat Memory_IgnoreInactive Memory_Label Memory_Label-Dark "
    "Memory_MenubarArrowPageIn Memory_MenubarArrowPageOut Memory_MenubarDotPageIn "
    "Memory_MenubarDotPageOut Memory_MenubarFontStyle Memory_MenubarGraphActive "
    "Memory_MenubarGraphBreakdowns Memory_MenubarGraphCompressed Memory_MenubarGraphInactive "
    "Memory_MenubarGraphWidth Memory_MenubarGraphWired Memory_MenubarMode "
    "Memory_MenubarPercentageColor Memory_MenubarPercentageColor-Dark "
    "Memory_MenubarPercentageShadowColor Memory_MenubarPercentageShadowColor-Dark "
    "Memory_MenubarPercentageSize Memory_ProcessCount Memory_UFFreeColor Memory_UFFreeColor-Dark "
    "Memory_UFFreeShadowColor Memory_UFFreeShadowColor-Dark Memory_UFShowLabel "
    "Memory_UFUsedColor Memory_UFUsedColor-Dark Memory_UFUsedShadowColor "
    "Memory_UFUsedShadowColor-Dark",
    // Disks
    "Disks_ActivityGraphMode Disks_DropdownActivityDisplayMode Disks_DropdownCombineActivity "
    "Disks_DropdownOrderDisabled Disks_DropdownShowAllActivity Disks_HidePurgable Disks_Label "
    "Disks_Label-Dark Disks_MenubarArrowRead Disks_MenubarArrowWrite "
    "Disks_MenubarCombineActivity Disks_MenubarDotActivityRead Disks_MenubarDotActivityWrite "
    "Disks_MenubarFontStyle Disks_MenubarGraphActivityRead "
    "Disks_MenubarGraphActivityShowBackground Disks_MenubarGraphActivityWidth "
    "Disks_MenubarGraphActivityWrite Disks_MenubarGroupItems Disks_MenubarMode "
    "Disks_MenubarPercentageColor Disks_MenubarPercentageColor-Dark "
    "Disks_MenubarPercentageShadowColor Disks_MenubarPercentageShadowColor-Dark "
    "Disks_MenubarPercentageSize Disks_MenubarRWReadColor Disks_MenubarRWReadColor-Dark "
    "Disks_MenubarRWReadShadwColor Disks_MenubarRWReadShadwColor-Dark Disks_MenubarRWShowLabel "
    "Disks_MenubarRWWriteColor Disks_MenubarRWWriteColor-Dark Disks_MenubarRWWriteShadowColor "
    "Disks_MenubarRWWriteShadowColor-Dark Disks_MenubarUFFreeColor Disks_MenubarUFFreeColor-Dark "
    "Disks_MenubarUFFreeShadowColor Disks_MenubarUFFreeShadowColor-Dark Disks_MenubarUFShowLabel "
    "Disks_MenubarUFUsedColor Disks_MenubarUFUsedColor-Dark Disks_MenubarUFUsedShadowColor "
    "Disks_MenubarUFUsedShadowColor-Dark Disks_MonitorSMART Disks_ProcessCount "
    "Disks_SeperateFusion Disks_ShowIcons",
    // Network
    "Network_AppSort Network_DataFormat Network_DecimalLevel Network_DecimalLevelKB "
    "Network_DecimalLevelMB Network_DotDownload Network_DotUpload "
    "Network_DropdownCombineBandwidth Network_GraphDownload Network_GraphMode "
    "Network_GraphShowBackground Network_GraphUpload Network_GraphWidth Network_IPV4AddressMode "
    "Network_IPV6AddressMode Network_IPV6Group Network_IPV6ShowDeprecated "
    "Network_IPV6ShowDynamic Network_IPV6ShowOther Network_IPV6ShowSecured "
    "Network_IPV6ShowTemporary Network_Label Network_Label-Dark Network_MenubarFontStyle "
    "Network_MenubarMode Network_MenubarUnitLevel Network_ProcessCount Network_ShowBSD "
    "Network_StatusAddress Network_StatusCheckFlatten Network_StatusCheckInternet "
    "Network_StatusConnected Network_StatusNoAddress Network_StatusNoInternet "
    "Network_StatusNotConnected Network_TextDownloadColor Network_TextDownloadColor-Dark "
    "Network_TextDownloadShadowColor Network_TextDownloadShadowColor-Dark "
    "Network_TextUploadColor Network_TextUploadColor-Dark Network_TextUploadShadowColor "
    "Network_TextUploadShadowColor-Dark",
    // Sensors and fans
    "Sensors_Label Sensors_Label-Dark Sensors_MenubarFontStyle Sensors_MenubarMode "
    "Sensors_MenubarTextColor Sensors_MenubarTextColor-Dark Sensors_MenubarTextShadowColor "
    "Sensors_MenubarTextShadowColor-Dark Sensors_MenubarTextSize Sensors_TemperatureMode "
    "FanControl_Enabled",
    // Battery
    "Battery_ColorGraphAirpods Battery_ColorGraphAirpodsLow Battery_ColorGraphBluetooth "
    "Battery_ColorGraphBluetoothhLow Battery_ColorGraphCharged Battery_ColorGraphCharging "
    "Battery_ColorGraphDraining Battery_ColorGraphLow Battery_ColorGraphNotCharging "
    "Battery_DisableBluetooth Battery_Label Battery_Label-Dark Battery_MenubarCustomizeStates "
    "Battery_MenubarFontStyle Battery_MenubarMode Battery_MenubarModeAirpods "
    "Battery_MenubarModeBluetooth Battery_MenubarModeCharged Battery_MenubarModeCharging "
    "Battery_MenubarModeDraining Battery_MenubarModeNotCharging Battery_PercentageColor "
    "Battery_PercentageColor-Dark Battery_PercentageShadowColor "
    "Battery_PercentageShadowColor-Dark Battery_PercentageSize Battery_StackedColor "
    "Battery_StackedColor-Dark Battery_StackedShadowColor Battery_StackedShadowColor-Dark "
    "Battery_StackedTextBold Battery_TimeColor Battery_TimeColor-Dark Battery_TimeShadowColor "
    "Battery_TimeShadowColor-Dark Battery_TimeSize",
    // Time
    "Time_CLockFaceSide Time_CLockSortCurrentLocationFirst Time_CLockSortMode "
    "Time_CalendarShowWeeks Time_Cities Time_DropdownCityLayout Time_DropdownFormat "
    "Time_EventsRange Time_MenubarFlashSeperators Time_MenubarFormat Time_TextColor "
    "Time_TextColor-Dark Time_TextShadowColor Time_TextShadowColor-Dark Time_TextSize "
    "Time_WeekNumberFormat",
    // Weather
    "Weather_Locations Weather_MenubarMode Weather_MenubarTemperatureUnitLevel "
    "Weather_MenubarTextColor Weather_MenubarTextColor-Dark Weather_MenubarTextShadowColor "
    "Weather_MenubarTextShadowColor-Dark Weather_MenubarTextSize Weather_Mode "
    "Weather_StackedColor Weather_StackedColor-Dark Weather_StackedShadowColor "
    "Weather_StackedShadowColor-Dark Weather_TimeUnits Weather_Units",
};

// A key outside the list, such as one whose absence means off or empty, has no default.
TEST(Defaults, EveryListedKeyHasADefaultAndNoOtherKeyHasOne) {
    const Value defaults = builtInDefaults({});
    std::set<std::string> listed;
    for (const char* family : kFamilies) {
        for (const auto& key : test::wordsOf(family)) {
            EXPECT_TRUE(defaults.contains(key)) << key;
            listed.insert(key);
        }
    }
    for (const auto& [key, value] : defaults.dictionaryItems())
        EXPECT_TRUE(listed.count(key)) << "unlisted default " << key;
}

TEST(Defaults, TextColoursFollowOneScheme) {
    const Value d = builtInDefaults({});
    for (const char* key :
         {"CPU_MenubarTextColor", "Memory_UFUsedColor", "Disks_MenubarRWReadColor",
          "Battery_TimeColor", "Weather_StackedColor", "Time_TextColor"}) {
        EXPECT_EQ(d[key], Value("0.22 0.22 0.22 1.0")) << key;
        EXPECT_EQ(d[std::string(key) + "-Dark"], Value("1.0 1.0 1.0 1.0")) << key;
    }
    for (const char* key : {"Disks_MenubarRWReadShadwColor", "Network_TextUploadShadowColor",
                            "GPU_MenubarTextShadowColorProcessor"}) {
        EXPECT_EQ(d[key], Value("1 1 1 0.5")) << key;
        EXPECT_EQ(d[std::string(key) + "-Dark"], Value("1.0 1.0 1.0 0.0")) << key;
    }
    EXPECT_EQ(d["Battery_Label"], Value("0.0 0.0 0.0 1.0"));
    EXPECT_EQ(d["Battery_Label-Dark"], Value("1.0 1.0 1.0 1.0"));
    EXPECT_EQ(d["Network_StatusNoInternet"], Value("0.96 0.62 0.14 1.00"));
    EXPECT_EQ(d["Battery_ColorGraphCharging"], Value("1 0.498 0 1"));
}

TEST(Defaults, NumbersKeepTheirKinds) {
    const Value d = builtInDefaults({});
    EXPECT_EQ(d["Disks_MenubarGraphActivityWidth"], Value(50.0));
    EXPECT_EQ(d["Network_GraphWidth"], Value(30.0));
    EXPECT_EQ(d["CPU_MenubarGraphWidth"], Value(30));
    EXPECT_EQ(d["MenubarGraphOpacity-Dark-Modern"], Value(0.2));
    EXPECT_EQ(d["StatusItems-FixedPosition"], Value(true));
    EXPECT_EQ(d["Network_MenubarUnitLevel"], Value(3));
    EXPECT_EQ(d["Disks_DropdownOrderDisabled"], Value("unmounted,removable"));
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

TEST(Defaults, StructuredDefaultsCarryFreshIdentifiers) {
    const Value a = builtInDefaults({});
    const Value b = builtInDefaults({});
    const Value& rules = a["Notifications-Items"];
    ASSERT_EQ(rules.size(), 4u);
    EXPECT_EQ(rules[0]["value"], Value("978332400"));
    EXPECT_EQ(rules[3]["rule-type"], Value("20"));
    EXPECT_EQ(rules[0]["uuid"].string().size(), 36u);
    EXPECT_NE(rules[0]["uuid"], rules[1]["uuid"]);
    EXPECT_NE(rules[0]["uuid"], b["Notifications-Items"][0]["uuid"]);
    EXPECT_EQ(a["Weather_MenubarMode"][1]["mode"], Value(0));
    const Value& cities = a["Time_Cities"];
    ASSERT_EQ(cities.size(), 6u);
    EXPECT_EQ(cities[1]["city"], Value("Current Location"));
    EXPECT_EQ(cities[4]["state"], Value(""));
    EXPECT_EQ(cities[5]["longitude"], Value("151.20732"));
}

TEST(LocaleFacts, ComeFromIcuForTheLocale) {
    const LocaleFacts us = LocaleFacts::forLocale("en_US");
    EXPECT_FALSE(us.metricSystem);
    EXPECT_EQ(hourFieldForPattern(us.shortTimePattern), "hh");
    const LocaleFacts german = LocaleFacts::forLocale("de_DE");
    EXPECT_TRUE(german.metricSystem);
    EXPECT_EQ(hourFieldForPattern(german.shortTimePattern), "HH");
}

// LANG=C reaches ICU as "en_US_POSIX", LANG=C.UTF-8 as its root locale "".
TEST(LocaleFacts, TheCLocaleIsMetricWithA24HourClock) {
    for (const char* id : {"en_US_POSIX", "", "C", "POSIX"}) {
        const LocaleFacts c = LocaleFacts::forLocale(id);
        EXPECT_TRUE(c.metricSystem) << '"' << id << '"';
        EXPECT_EQ(hourFieldForPattern(c.shortTimePattern), "HH") << '"' << id << '"';
    }

    const icu::Locale saved = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
    ASSERT_TRUE(U_SUCCESS(status));
    DefaultsContext context;
    const LocaleFacts current = LocaleFacts::current();
    icu::Locale::setDefault(saved, status);
    context.metricSystem = current.metricSystem;
    context.shortTimePattern = current.shortTimePattern;
    const Value d = builtInDefaults(context);
    EXPECT_EQ(d["Sensors_TemperatureMode"], Value(0)) << "Celsius";
    EXPECT_EQ(d["Time_DropdownFormat"], Value::array({"HH", ":", "mm"}));
}

TEST(MachineFacts, LaptopsByModelNameOrChassis) {
    EXPECT_TRUE(MachineFacts::isLaptop("MacBookPro18,3", std::nullopt));
    EXPECT_FALSE(MachineFacts::isLaptop("iMac21,1", 10)); // a Mac's name decides
    EXPECT_TRUE(MachineFacts::isLaptop("ThinkPad X1", 10));
    EXPECT_TRUE(MachineFacts::isLaptop("", 31));
    EXPECT_FALSE(MachineFacts::isLaptop("Standard PC", 3));
    EXPECT_FALSE(MachineFacts::isLaptop("", std::nullopt));
}

// Without SMBIOS a battery of the machine's own decides; a mouse's or a UPS's does not.
TEST(MachineFacts, MachinesWithoutChassisAreLaptopsByTheirBattery) {
    const std::string recorded = CVB_FIXTURES_DIR "/sysroot/";
    EXPECT_TRUE(MachineFacts::read(SysRoot(recorded + "laptop-charge-counter")).laptop);
    EXPECT_TRUE(MachineFacts::read(SysRoot(recorded + "laptop-discharging")).laptop);
    EXPECT_FALSE(MachineFacts::read(SysRoot(recorded + "desktop-ups")).laptop);
    EXPECT_FALSE(MachineFacts::read(SysRoot(recorded + "ht-4c8t")).laptop);
}

} // namespace
