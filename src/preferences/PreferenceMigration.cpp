#include "preferences/PreferenceMigration.h"

#include "foundation/Identifiers.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceDomain.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

namespace {

// Bold flags of 5.x that became font styles (2 is bold).
constexpr std::array<std::pair<const char*, const char*>, 7> kBoldFlags{{
    {"Sensors_MenubarTextBold", "Sensors_StackedMenubarFontStyle"},
    {"Memory_UFBold", "Memory_UFMenubarFontStyle"},
    {"Network_TextBold", "Network_MenubarFontStyle"},
    {"Disks_MenubarUFBold", "Disks_MenubarUFFontStyle"},
    {"Disks_MenubarRWBold", "Disks_MenubarRWFontStyle"},
    {"Weather_StackedTextBold", "Weather_StackerMenubarFontStyle"},
    {"Battery_StackedTextBold", "Battery_StackerMenubarFontStyle"},
}};

// "Battery_MebubarModeCharged" is the key older versions wrote, so that is the one converted.
constexpr std::array<const char*, 15> kModeKeys{
    "CPU_MenubarMode",
    "Weather_MenubarMode",
    "Memory_MenubarMode",
    "Disks_MenubarMode",
    "Network_MenubarMode",
    "Sensors_MenubarMode",
    "Battery_MenubarModeBluetooth",
    "Battery_MenubarModeAirpods",
    "Battery_MenubarMode",
    "Battery_MebubarModeCharged",
    "Battery_MenubarModeCharging",
    "Battery_MenubarModeNotCharging",
    "Battery_MenubarModeDraining",
    "CombinedMenubarDisplayMode",
    "CombinedDropdownDisplayMode",
};

// Keys of 5.x that are not carried over: replaced by other keys, or no longer meaningful.
const std::set<std::string, std::less<>> kLeftBehind{
    "DropdownTheme-Dark",
    "FanControl_ChangeOnCharging",
    "FanControl_ChangeOnBattery",
    "FanControl_DefaultSet",
    "FanControl_ChargingSet",
    "FanControl_DrainingSet",
    "Time_CalendarEnabled",
    "Time_CalendarShowEvents",
    "Battery_Notifications",
    "updateCheckerEnabled",
    "SensorsFanControlEnabled",
    "migratedExtras4.0",
    "Disks_DropdownCombineActivity",
    "Disks_DropdownDisplayMode",
    "DropdownShowLauncher",
    "Disks_DropdownShowNetwork",
    "Disks_DropdownShowRemovable",
    "Disks_DropdownShowUnmounted",
    "Battery_MenubarHideBluetooth",
    "Battery_MenubarHideUPS",
};

constexpr std::array<const char*, 6> kDropdownOrderDisabledKeys{
    "Battery_DropdownOrderDisabled", "CPU_DropdownOrderDisabled",
    "Disks_DropdownOrderDisabled",   "Memory_DropdownOrderDisabled",
    "Network_DropdownOrderDisabled", "Sensors_DropdownOrderDisabled",
};

// Shared settings that older builds kept in the application's own defaults.
constexpr std::array<const char*, 2> kUpdateToggles{"UpdateCheckerDisabled",
                                                    "UpdateCheckerAutomaticDisabled"};

std::vector<std::string> splitAtCommas(std::string_view text) {
    std::vector<std::string> parts;
    while (true) {
        const auto comma = text.find(',');
        // An empty part would read as mode 0, an element the user never chose.
        if (auto part = text.substr(0, comma); !part.empty())
            parts.emplace_back(part);
        if (comma == std::string_view::npos)
            return parts;
        text.remove_prefix(comma + 1);
    }
}

std::string joinWithCommas(const std::vector<std::string>& parts) {
    std::string joined;
    for (const auto& part : parts) {
        if (!joined.empty())
            joined += ',';
        joined += part;
    }
    return joined;
}

Value clockFormatAround(Value format) {
    return Value::array({Value::dict({{"format", Value::array({std::move(format)})}})});
}

// An entry of the 5.x battery notifications as a notification rule.
Value ruleFromBatteryNotification(const Value& entry) {
    return Value::dict({
        {"notification-type", entry["style"].integerValue() != 0 ? "0" : "1"},
        {"rule-type", entry["type"].integerValue() != 0 ? "12" : "20"},
        {"value", entry["level"]},
        {"uuid", newUUIDString()},
        {"enabled", true},
    });
}

bool answersToIntegerValue(const Value& value) {
    return value.isNumber() || value.isString();
}

} // namespace

PreferenceMigration::PreferenceMigration(CVBPreferences& preferences)
    : PreferenceMigration(
          preferences, {Paths::configDirectory() / "com.halvorn.corvanebarstatus.plist", nullptr}) {
}

PreferenceMigration::PreferenceMigration(CVBPreferences& preferences, StatusSettings statusSettings)
    : preferences_(preferences)
    , statusSettings_(std::move(statusSettings)) {}

bool PreferenceMigration::hasMarker(std::string_view marker) {
    return preferences_.objectForKey(marker, false).boolValue();
}

void PreferenceMigration::setMarker(std::string_view marker) {
    preferences_.setObject(Value(true), marker);
}

void PreferenceMigration::migrateIfNeeded() {
    if (!hasMarker("Migrated_6.0")) {
        if (!preferences_.previousDomain().copyKeyList().empty())
            migrateToV6();
        if (preferences_.supportsMigration)
            setMarker("Migrated_6.0");
    }

    if (!hasMarker("Migrated_6.22")) {
        for (const auto& [boldKey, styleKey] : kBoldFlags) {
            const Value bold = preferences_.objectForKey(boldKey, false);
            if (!bold.isNull() && bold.boolValue() &&
                preferences_.objectForKey(styleKey, false).integerValue() == 0)
                preferences_.setObject(Value(2), styleKey);
        }
        setMarker("Migrated_6.22");
    }

    if (!hasMarker("Migrated_6.5")) {
        preferences_.setObject(Value::array(), "FilteringDisks");
        setMarker("Migrated_6.5");
    }

    // Unmarked: an imported file may bring the old form back at any time.
    for (const char* key : kModeKeys)
        updateMenubarMode(key);

    if (!hasMarker("Migrated_6.52")) {
        const Value charging = preferences_.objectForKey("Battery_MenubarModeCharging", false);
        if (!charging.isNull())
            preferences_.setObject(charging, "Battery_MenubarModeNotCharging");
        setMarker("Migrated_6.52");
    }

    // Fan sets and sensor items of Intel machines name sensors that ARM machines lack.
    if (!hasMarker("Migrated_6.60_ARM")) {
        preferences_.removeObjectForKey("FanControl_Sets");
        preferences_.removeObjectForKey("Sensors_MenubarItems");
        setMarker("Migrated_6.60_ARM");
    }

    if (preferences_.objectForKey("Sensors_MenubarItems", false) ==
            Value::array({"AS_SOCDIE_AVERAGE"}) &&
        !hasMarker("Migrated_6.61_ARM")) {
        preferences_.removeObjectForKey("Sensors_MenubarItems");
        setMarker("Migrated_6.61_ARM");
    }

    const Value chargingModes =
        Value::array({Value::dict({{"key", "2"}}), Value::dict({{"key", "1"}})});
    preferences_.setDefault("Battery_MenubarModeCharging", chargingModes);
    preferences_.setDefault("Battery_MenubarModeNotCharging", chargingModes);

    // A key never stored follows the default, which has the current form already.
    const Value clockFormat = preferences_.objectForKey("Time_MenubarFormat", false);
    if (!clockFormat.isNull()) {
        Value migrated = wrappedClockFormat(clockFormat);
        if (!(migrated == clockFormat))
            preferences_.setObject(migrated, "Time_MenubarFormat");
        preferences_.cacheValue("Time_MenubarFormat", std::move(migrated));
    }

    if (!hasMarker("Migrated_WeatherProvider")) {
        const char* name = nullptr;
        switch (preferences_.objectForKey("Weather_Provider", false).integerValue()) {
        case 1:
            name = "willyweather";
            break;
        case 2:
            name = "accuweather";
            break;
        case 3:
            name = "darksky";
            break;
        default:
            break;
        }
        if (name) {
            CVBLog("migrating weather provider to %s", name);
            preferences_.setObject(Value(name), "Weather_ProviderKey");
        }
        setMarker("Migrated_WeatherProvider");
    }

    moveUpdateToggles();
}

// Out of the application's defaults, where a reset and an export never reached them. A value
// the shared domain holds already is the newer one. Unmarked: once moved, nothing is left.
void PreferenceMigration::moveUpdateToggles() {
    if (!preferences_.environment().userDefaults)
        return;
    PreferenceDomain& application = preferences_.userDefaults();
    for (const char* key : kUpdateToggles) {
        const Value old = application.copyValue(key);
        if (old.isNull())
            continue;
        if (preferences_.objectForKey(key, false).isNull() && !preferences_.setObject(old, key))
            continue; // kept where it is until the shared domain can be written
        application.setValue(key, Value());
        if (application.synchronize())
            CVBLog("moved %s to the shared settings", key);
    }
}

void PreferenceMigration::updateMenubarMode(std::string_view key) {
    const Value stored = preferences_.objectForKey(key, false);
    if (!stored.isString())
        return;
    Value modes = Value::array();
    for (auto& part : splitAtCommas(stored.string()))
        modes.append(Value::dict({{"uuid", newUUIDString()}, {"key", std::move(part)}}));
    preferences_.setObject(modes, key);
}

void PreferenceMigration::store(std::string_view key, Value value) {
    if (preferences_.supportsMigration)
        preferences_.domain().setValue(key, value);
    preferences_.cacheValue(key, std::move(value));
}

void PreferenceMigration::copyStatusSettings() {
    std::error_code error;
    if (statusSettings_.oldFile.empty() || !std::filesystem::exists(statusSettings_.oldFile, error))
        return;
    const Value old = readPropertyListFile(statusSettings_.oldFile, Value::Kind::Dictionary);
    if (!old.isDictionary() || !preferences_.supportsMigration)
        return;
    if (!statusSettings_.domain)
        statusSettings_.domain = PreferenceDomain::named(kStatusDomain);
    for (const auto& [key, value] : old.dictionaryItems())
        statusSettings_.domain->setValue(key, value);
    statusSettings_.domain->synchronize();
}

void PreferenceMigration::migrateToV6() {
    preferences_.didMigratePreferences = true;
    copyStatusSettings();

    const Value old = preferences_.previousDomain().copyAll();
    if (old.isDictionary() && !old.empty()) {
        CVBLog("Migrating %zu settings of version 5", old.size());

        // The dropdown's section switches of 5.x became entries of the disabled list.
        constexpr std::array<std::pair<const char*, const char*>, 3> kShowSwitches{{
            {"Disks_DropdownShowNetwork", "network"},
            {"Disks_DropdownShowRemovable", "removable"},
            {"Disks_DropdownShowUnmounted", "unmounted"},
        }};
        if (std::any_of(kShowSwitches.begin(), kShowSwitches.end(),
                        [&](const auto& entry) { return old.contains(entry.first); })) {
            const Value& current = preferences_.objectForKey("Disks_DropdownOrderDisabled");
            auto disabled = splitAtCommas(current.isString() ? current.string() : std::string());
            for (const auto& [key, section] : kShowSwitches) {
                const Value* shown = old.find(key);
                if (shown && !shown->boolValue() &&
                    std::find(disabled.begin(), disabled.end(), section) == disabled.end())
                    disabled.emplace_back(section);
            }
            store("Disks_DropdownOrderDisabled", joinWithCommas(disabled));
        }

        if (const Value* launcher = old.find("DropdownShowLauncher");
            launcher && !launcher->boolValue()) {
            for (const char* key : kDropdownOrderDisabledKeys)
                store(key, "buttons");
        }

        if (const Value& notifications = old["Battery_Notifications"];
            notifications.isArray() && !notifications.empty()) {
            Value rules = Value::array();
            for (const auto& entry : notifications.arrayItems()) {
                if (entry.isDictionary())
                    rules.append(ruleFromBatteryNotification(entry));
            }
            // Held by name: the loop must not run over a temporary already destroyed.
            const Value stored = preferences_.domain().copyValue("Notifications-Items");
            for (const auto& rule : stored.arrayItems())
                rules.append(rule);
            store("Notifications-Items", std::move(rules));
        }

        if (const Value* displayMode = old.find("Disks_DropdownDisplayMode")) {
            const std::int64_t mode = displayMode->integerValue();
            store("Disks_DropdownActivityDisplayMode", mode == 3 ? 2 : mode == 2 ? 1 : 0);
        }

        for (const auto& [key, value] : old.dictionaryItems()) {
            if (!kLeftBehind.contains(key))
                carryOver(key, value);
        }
    }

    preferences_.domain().synchronize();
}

void PreferenceMigration::carryOver(const std::string& key, const Value& value) {
    if (key == "MenubarGraphOpacity-DarkMode")
        return store("MenubarGraphOpacity-Dark", value);
    if (key == "Battery_MebubarModeCharged")
        return store("Battery_MenubarModeCharged", value);
    if (key == "Time_Cities")
        return store(key, migratedCities(value));
    if ((key == "DropdownTheme" || key == "DropdownTheme-Dark") && value.isNumber() &&
        value.doubleValue() == 1.0)
        return store(key, "3");
    if (key == "Time_MenubarFormat")
        return store(key, wrappedClockFormat(value));
    if (key == "Sensors_MenubarItems" && value.isArray()) {
        Value items = Value::array();
        for (const auto& item : value.arrayItems())
            items.append(item.isDictionary() ? item : Value::dict({{"key", item}}));
        return store(key, std::move(items));
    }
    // 5.x counted the timer from 0.
    if (key == "TimerFrequency")
        return store(key, value.integerValue() + 1);
    store(key, value);
}

Value PreferenceMigration::wrappedClockFormat(const Value& stored) const {
    if (!stored.isArray())
        return clockFormatAround(preferences_.menubarClockFormat());
    if (stored[0].isDictionary())
        return stored;
    return clockFormatAround(stored);
}

Value PreferenceMigration::migratedCities(const Value& list) {
    Value cities = Value::array({
        Value::dict({{"identifier", "-6"}, {"city", "Moon"}}),
        Value::dict({{"identifier", "-7"}, {"city", "Current Location"}}),
    });
    for (const auto& city : list.arrayItems())
        cities.append(city);
    return cities;
}

bool PreferenceMigration::doesNeedToMigrateCities() {
    const auto& cities = preferences_.objectForKey("Time_Cities", false).arrayItems();
    return std::any_of(cities.begin(), cities.end(),
                       [](const Value& city) { return !city.isDictionary(); });
}

void PreferenceMigration::migrateCities(const CityLookup& lookup) {
    if (!doesNeedToMigrateCities())
        return;
    const Value stored = preferences_.objectForKey("Time_Cities", false);
    Value cities = Value::array();
    for (const auto& entry : stored.arrayItems()) {
        Value city = !entry.isDictionary() && answersToIntegerValue(entry)
                         ? lookup.cityWithIdentifier(entry.integerValue())
                         : Value();
        if (city.isDictionary()) {
            cities.append(std::move(city));
        } else {
            // Kept as stored: a later database may know it, and the user's list is not ours to
            // shorten.
            if (!entry.isDictionary())
                CVBLog("City %s is not in the cities database; kept as stored",
                       entry.stringValue().c_str());
            cities.append(entry);
        }
    }
    if (cities != stored)
        preferences_.setObject(cities, "Time_Cities");
}

} // namespace corvane
