#include "preferences/PreferenceDefaults.h"

#include "foundation/Identifiers.h"
#include "preferences/CVBPreferences.h"

#include <initializer_list>

namespace corvane {

namespace {

constexpr const char* kTextColor = "0.22 0.22 0.22 1.0";
constexpr const char* kTextShadowColor = "1 1 1 0.5";
constexpr const char* kDarkTextColor = "1.0 1.0 1.0 1.0";
constexpr const char* kDarkTextShadowColor = "1.0 1.0 1.0 0.0";
constexpr const char* kLabelColor = "0.0 0.0 0.0 1.0";
constexpr const char* kDarkLabelColor = "1.0 1.0 1.0 1.0";

class Table {
public:
    void set(const char* key, Value value) { values_.set(key, std::move(value)); }
    void setAll(std::initializer_list<const char*> keys, const Value& value) {
        for (const char* key : keys)
            set(key, value);
    }
    // A text colour and its "-Dark" twin.
    void textColors(std::initializer_list<const char*> keys) {
        for (const char* key : keys) {
            set(key, kTextColor);
            set((std::string(key) + "-Dark").c_str(), kDarkTextColor);
        }
    }
    void shadowColors(std::initializer_list<const char*> keys) {
        for (const char* key : keys) {
            set(key, kTextShadowColor);
            set((std::string(key) + "-Dark").c_str(), kDarkTextShadowColor);
        }
    }
    void label(const char* key) {
        set(key, kLabelColor);
        set((std::string(key) + "-Dark").c_str(), kDarkLabelColor);
    }
    void graphColor(std::initializer_list<const char*> keys, Color color) {
        setAll(keys, Value(stringFromColor(color)));
    }
    Value take() { return std::move(values_); }

private:
    Value values_ = Value::dict();
};

Value modes(std::initializer_list<const char*> keys) {
    Value list = Value::array();
    for (const char* key : keys)
        list.append(Value::dict({{"key", key}}));
    return list;
}

Value numberedModes(int count) {
    Value list = Value::array();
    for (int key = 1; key <= count; ++key)
        list.append(Value::dict({{"key", key}}));
    return list;
}

Value notificationRule(const char* notificationType, const char* ruleType, const char* value) {
    return Value::dict({{"enabled", true},
                        {"uuid", newUUIDString()},
                        {"notification-type", notificationType},
                        {"rule-type", ruleType},
                        {"value", value}});
}

Value city(const char* identifier, const char* name, const char* state, const char* country,
           const char* latitude, const char* longitude, const char* timezone) {
    return Value::dict({{"identifier", identifier},
                        {"city", name},
                        {"state", state},
                        {"country", country},
                        {"latitude", latitude},
                        {"longitude", longitude},
                        {"timezone", timezone}});
}

void addGlobal(Table& t, const DefaultsContext& c) {
    t.set("DropdownTheme-Light", 0);
    t.set("DropdownTheme-Dark", 3);
    t.set("DropdownTheme", c.menubarDark ? 3 : 0);
    t.setAll({"MenubarSkinColor", "MenubarSkinColor-Light", "MenubarSkinColor-Dark"}, 0);
    t.set("DropdownGraphBackground", 1);
    t.setAll({"MenubarTheme", "MenubarTheme-Dark"}, 1);
    t.set("MenubarGraphOpacity", 0.5);
    t.set("MenubarGraphOpacity-Dark", 1.0);
    t.set("MenubarGraphOpacity-Modern", 0.3);
    t.set("MenubarGraphOpacity-Dark-Modern", 0.2);
    t.set("MenubarGraphSize", 0);
    t.set("TimerFrequency", 2);
    t.set("ProcessesCombine", 1);
    t.set("Theme-SeperateStyles", false);
    t.set("StatusItems-FixedPosition", true);
    t.set("StatusItems-OrderingDisabled", false);
    t.set("StatusItems-Order",
          c.laptop ? Value::array({1, 2, 3, 4, 5, 6}) : Value::array({1, 2, 3, 4, 5}));
    t.set("Notifications-Enabled", true);
    t.set("Notifications-Items",
          Value::array({notificationRule("1", "18", "978332400"), notificationRule("1", "17", "1"),
                        notificationRule("0", "14", "10"), notificationRule("1", "20", "10")}));
    t.set("CombinedMenubarDisplayMode", numberedModes(4));
    t.set("CombinedDropdownDisplayMode", numberedModes(5));
}

const Color kBlue{0.098, 0.58, 0.941, 1.0};
const Color kRed{1.0, 0.164, 0.164, 1.0};

void addProcessorAndMemory(Table& t) {
    t.label("CPU_Label");
    t.textColors({"CPU_MenubarTextColor"});
    t.shadowColors({"CPU_MenubarTextShadowColor"});
    t.set("CPU_MenubarFontStyle", 0);
    t.set("CPU_MenubarTextSize", 13);
    t.set("CPU_ProcessCount", 5);
    t.set("CPU_AppFormat", 0);
    t.set("CPU_MenubarMode", modes({"100", "6"}));
    t.setAll({"CPU_CombineLogicalCores", "CPU_MenubarCombineCores", "CPU_MenubarSingleHistoryGraph",
              "CPU_MenubarGroupItems"},
             1);
    t.set("CPU_MenubarGraphBreakdowns", 0);
    t.set("CPU_MenubarGraphWidth", 30);
    t.graphColor({"CPU_MenubarGraphUser"}, kBlue);
    t.graphColor({"CPU_MenubarGraphSystem"}, kRed);

    t.label("Load_Label");
    t.textColors({"Load_MenubarTextColor"});
    t.shadowColors({"Load_MenubarTextShadowColor"});
    t.set("Load_MenubarFontStyle", 0);
    t.set("Load_MenubarTextSize", 13);

    t.label("GPU_Label");
    t.textColors({"GPU_MenubarTextColor", "GPU_MenubarTextColorProcessor"});
    t.shadowColors({"GPU_MenubarTextShadowColor", "GPU_MenubarTextShadowColorProcessor"});
    t.set("GPU_MenubarFontStyle", 0);
    t.set("GPU_MenubarTextSize", 13);
    t.set("GPU_MenubarGraphWidth", 30);

    t.label("Memory_Label");
    t.textColors({"Memory_MenubarPercentageColor", "Memory_UFFreeColor", "Memory_UFUsedColor"});
    t.shadowColors({"Memory_MenubarPercentageShadowColor", "Memory_UFFreeShadowColor",
                    "Memory_UFUsedShadowColor"});
    t.set("Memory_MenubarPercentageSize", 13);
    t.set("Memory_MenubarFontStyle", 0);
    t.set("Memory_ProcessCount", 5);
    t.set("Memory_AppFormat", 0);
    t.set("Memory_MenubarMode", modes({"100", "1"}));
    t.set("Memory_DisplayFormat", 1);
    t.setAll({"Memory_IgnoreInactive", "Memory_UFShowLabel"}, true);
    t.set("Memory_MenubarGraphBreakdowns", 0);
    t.set("Memory_MenubarGraphWidth", 30);
    t.graphColor(
        {"Memory_MenubarGraphWired", "Memory_MenubarDotPageIn", "Memory_MenubarArrowPageIn"},
        kBlue);
    t.graphColor(
        {"Memory_MenubarGraphActive", "Memory_MenubarDotPageOut", "Memory_MenubarArrowPageOut"},
        kRed);
    t.graphColor({"Memory_MenubarGraphCompressed"}, {0.627, 0.411, 0.921, 1.0});
    t.graphColor({"Memory_MenubarGraphInactive"}, {0.8, 0.8, 0.8, 1.0});
}

void addDisks(Table& t) {
    t.label("Disks_Label");
    t.textColors({"Disks_MenubarPercentageColor", "Disks_MenubarRWReadColor",
                  "Disks_MenubarRWWriteColor", "Disks_MenubarUFFreeColor",
                  "Disks_MenubarUFUsedColor"});
    t.shadowColors({"Disks_MenubarPercentageShadowColor", "Disks_MenubarRWReadShadwColor",
                    "Disks_MenubarRWWriteShadowColor", "Disks_MenubarUFFreeShadowColor",
                    "Disks_MenubarUFUsedShadowColor"});
    t.set("Disks_MenubarPercentageSize", 13);
    t.set("Disks_MenubarFontStyle", 0);
    t.set("Disks_ProcessCount", 5);
    t.set("Disks_MenubarMode", modes({"100", "0"}));
    t.setAll({"Disks_DropdownCombineActivity", "Disks_MenubarCombineActivity",
              "Disks_MenubarGraphActivityShowBackground", "Disks_MenubarRWShowLabel",
              "Disks_MenubarGroupItems", "Disks_MenubarUFShowLabel", "Disks_MonitorSMART",
              "Disks_ActivityGraphMode"},
             1);
    t.set("Disks_DropdownActivityDisplayMode", 0);
    t.setAll({"Disks_SeperateFusion", "Disks_DropdownShowAllActivity"}, false);
    t.setAll({"Disks_HidePurgable", "Disks_ShowIcons"}, true);
    t.set("Disks_MenubarGraphActivityWidth", 50.0);
    t.set("Disks_DropdownOrderDisabled", "unmounted,removable");
    t.graphColor({"Disks_MenubarGraphActivityRead", "Disks_MenubarDotActivityRead",
                  "Disks_MenubarArrowRead"},
                 kBlue);
    t.graphColor({"Disks_MenubarGraphActivityWrite", "Disks_MenubarDotActivityWrite",
                  "Disks_MenubarArrowWrite"},
                 kRed);
}

void addNetwork(Table& t) {
    t.label("Network_Label");
    t.textColors({"Network_TextDownloadColor", "Network_TextUploadColor"});
    t.shadowColors({"Network_TextDownloadShadowColor", "Network_TextUploadShadowColor"});
    t.set("Network_MenubarFontStyle", 0);
    t.set("Network_ProcessCount", 5);
    t.set("Network_MenubarMode", modes({"100", "0"}));
    t.set("Network_StatusAddress", "1.0.0.1");
    t.setAll({"Network_DropdownCombineBandwidth", "Network_GraphMode", "Network_DataFormat",
              "Network_DecimalLevel", "Network_IPV6ShowSecured", "Network_IPV6ShowDynamic",
              "Network_IPV6ShowTemporary", "Network_IPV6ShowOther"},
             1);
    t.set("Network_StatusCheckInternet", true);
    t.set("Network_StatusCheckFlatten", false);
    t.setAll({"Network_AppSort", "Network_ShowBSD", "Network_DecimalLevelKB",
              "Network_GraphShowBackground", "Network_IPV4AddressMode", "Network_IPV6AddressMode",
              "Network_IPV6Group", "Network_IPV6ShowDeprecated"},
             0);
    t.set("Network_DecimalLevelMB", 2);
    t.set("Network_GraphWidth", 30.0);
    t.set("Network_MenubarUnitLevel", 3);
    t.graphColor({"Network_GraphDownload", "Network_DotDownload"}, kBlue);
    t.graphColor({"Network_GraphUpload", "Network_DotUpload", "Network_StatusNotConnected"}, kRed);
    t.graphColor({"Network_StatusConnected"}, {0.431, 0.705, 0.0, 1.0});
    t.graphColor({"Network_StatusNoAddress"}, {1.0, 0.831, 0.16, 1.0});
    t.graphColor({"Network_StatusNoInternet"}, {0.956, 0.623, 0.145, 1.0});
}

void addSensorsAndBattery(Table& t, const DefaultsContext& c) {
    t.label("Sensors_Label");
    t.textColors({"Sensors_MenubarTextColor"});
    t.shadowColors({"Sensors_MenubarTextShadowColor"});
    t.set("Sensors_MenubarFontStyle", 0);
    t.set("Sensors_MenubarTextSize", 13);
    t.set("Sensors_MenubarMode", modes({"100", "0"}));
    t.set("Sensors_TemperatureMode", c.metricSystem ? 0 : 1);
    t.set("FanControl_Enabled", 0);

    t.label("Battery_Label");
    t.textColors({"Battery_PercentageColor", "Battery_StackedColor", "Battery_TimeColor"});
    t.shadowColors(
        {"Battery_PercentageShadowColor", "Battery_StackedShadowColor", "Battery_TimeShadowColor"});
    t.setAll({"Battery_PercentageSize", "Battery_TimeSize"}, 13);
    t.set("Battery_MenubarFontStyle", 0);
    t.setAll({"Battery_MenubarModeBluetooth", "Battery_MenubarModeAirpods"}, modes({"8", "6"}));
    t.setAll({"Battery_MenubarMode", "Battery_MenubarModeCharged", "Battery_MenubarModeCharging",
              "Battery_MenubarModeNotCharging", "Battery_MenubarModeDraining"},
             modes({"2", "1"}));
    t.setAll({"Battery_MenubarCustomizeStates", "Battery_StackedTextBold"}, 0);
    t.set("Battery_DisableBluetooth", false);
    t.setAll({"Battery_ColorGraphCharging", "Battery_ColorGraphNotCharging"}, "1 0.498 0 1");
    t.setAll({"Battery_ColorGraphLow", "Battery_ColorGraphBluetoothhLow",
              "Battery_ColorGraphAirpodsLow"},
             "1 0 0 1");
    t.setAll({"Battery_ColorGraphDraining", "Battery_ColorGraphCharged",
              "Battery_ColorGraphBluetooth", "Battery_ColorGraphAirpods"},
             "0.19 0.87 0.07 1.0");
}

void addTimeAndWeather(Table& t, const DefaultsContext& c) {
    t.textColors({"Time_TextColor"});
    t.shadowColors({"Time_TextShadowColor"});
    t.set("Time_TextSize", 13);
    t.setAll({"Time_CLockFaceSide", "Time_CLockSortMode", "Time_CalendarShowWeeks",
              "Time_MenubarFlashSeperators", "Time_EventsRange"},
             0);
    t.setAll({"Time_CLockSortCurrentLocationFirst", "Time_DropdownCityLayout"}, 1);
    t.set("Time_WeekNumberFormat", c.metricSystem ? 1 : 0);
    // The identifiers are those the cities database gives these cities (a hash of name, state,
    // country code and position), not GeoNames numbers, which the database does not carry.
    t.set("Time_Cities",
          Value::array({Value::dict({{"identifier", "-6"}, {"city", "Moon"}}),
                        Value::dict({{"identifier", "-7"}, {"city", "Current Location"}}),
                        city("4871619128112106", "New York City", "New York", "United States",
                             "40.71427", "-74.00597", "America/New_York"),
                        city("6471135418507388", "London", "England", "United Kingdom", "51.50853",
                             "-0.12574", "Europe/London"),
                        city("3966007305494433", "Paris", "", "France", "48.85341", "2.3488",
                             "Europe/Paris"),
                        city("2817829007904360", "Sydney", "New South Wales", "Australia",
                             "-33.86785", "151.20732", "Australia/Sydney")}));
    const std::string hour = hourFieldForPattern(c.shortTimePattern);
    t.set("Time_DropdownFormat", hour == "hh" ? Value::array({"hh", ":", "mm", " ", "a"})
                                              : Value::array({hour, ":", "mm"}));
    t.set("Time_MenubarFormat",
          Value::array({Value::dict(
              {{"format", Value::array({menubarClockFormatForPattern(c.shortTimePattern)})}})}));

    t.textColors({"Weather_MenubarTextColor", "Weather_StackedColor"});
    t.shadowColors({"Weather_MenubarTextShadowColor", "Weather_StackedShadowColor"});
    t.set("Weather_MenubarTextSize", 13);
    t.setAll({"Weather_Units", "Weather_MenubarTemperatureUnitLevel", "Weather_Mode",
              "Weather_TimeUnits"},
             0);
    t.set("Weather_MenubarMode",
          Value::array({Value::dict({{"uuid", newUUIDString()}, {"mode", 1}}),
                        Value::dict({{"uuid", newUUIDString()}, {"mode", 0}})}));
    t.set("Weather_Locations", Value::array({Value::dict({{"identifier", "-7"}})}));
}

} // namespace

std::string hourFieldForPattern(std::string_view pattern) {
    if (pattern.find("HH") != std::string_view::npos)
        return "HH";
    if (pattern.find('H') != std::string_view::npos)
        return "H";
    return "hh";
}

Value menubarClockFormatForPattern(std::string_view pattern) {
    return Value::array({"EE", "' '", hourFieldForPattern(pattern), ":", "mm"});
}

Value builtInDefaults(const DefaultsContext& context) {
    Table table;
    addGlobal(table, context);
    addProcessorAndMemory(table);
    addDisks(table);
    addNetwork(table);
    addSensorsAndBattery(table, context);
    addTimeAndWeather(table, context);
    return table.take();
}

} // namespace corvane
