#include "shell/SensorsController.h"

#include "collectors/sensors/SensorsStatCollector.h"
#include "collectors/sensors/SensorsStatus.h"
#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "shell/SectionManager.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr const char* kMenubarItems = "Sensors_MenubarItems";
constexpr const char* kHidden = kHiddenSensorsKey;

bool listed(const Value& list, const std::string& key) {
    const auto& items = list.arrayItems();
    return std::any_of(items.begin(), items.end(),
                       [&](const Value& v) { return v.stringValue() == key; });
}

} // namespace

void SensorsController::editFanControl() {
    // The editor lives on the page.
    prepareToShow();
    services().fanEditor->editFanControl();
}

std::vector<SensorPageRow> SensorsList::rows() {
    sensors_.sort();
    const Value hidden = preferences_.objectForKey(kHidden);
    const Value shown = records();
    std::vector<SensorPageRow> rows;
    std::optional<int> type;
    for (const auto& sensor : sensors_.sensors()) {
        if (sensor->key().starts_with("_"))
            continue;
        if (sensor->sensorType != type) {
            type = sensor->sensorType;
            rows.push_back({headingForSensorType(*type), nullptr, {}});
        }
        const auto& items = shown.arrayItems();
        const bool inPanel = std::any_of(items.begin(), items.end(), [&](const Value& record) {
            return record["key"].stringValue() == sensor->key();
        });
        rows.push_back({"", sensor, shownSensorName(preferences_, *sensor),
                        listed(hidden, sensor->key()), inPanel});
    }
    return rows;
}

Value SensorsList::records() {
    const Value& stored = preferences_.objectForKey(kMenubarItems);
    return stored.isArray() ? stored : Value::array();
}

bool SensorsList::seedMenubarItems() {
    if (!records().arrayItems().empty())
        return false;
    Value seeded = Value::array();
    for (const auto& key : sensors_.platform().defaultSensorKeys())
        seeded.append(Value::dict({{"key", key}}));
    if (seeded.arrayItems().empty())
        return false;
    return saveRecords(seeded);
}

Value SensorsList::activeItems() {
    Value active = Value::array();
    const Value saved = records();
    for (const Value& record : saved.arrayItems())
        if (sensors_.itemWithKey(record["key"]))
            active.append(record);
    return active;
}

bool SensorsList::setInPanel(const std::string& key, bool shown) {
    Value kept = Value::array();
    bool present = false;
    const Value saved = records();
    for (const Value& record : saved.arrayItems()) {
        const bool same = record["key"].stringValue() == key;
        present |= same;
        if (!same || shown)
            kept.append(record);
    }
    if (shown && !present)
        kept.append(Value::dict({{"key", key}}));
    return saveRecords(kept);
}

bool SensorsList::changeRecord(const std::string& key, const std::function<void(Value&)>& change) {
    Value changed = Value::array();
    bool found = false;
    const Value saved = records();
    for (Value record : saved.arrayItems()) {
        if (record["key"].stringValue() == key) {
            change(record);
            found = true;
        }
        changed.append(std::move(record));
    }
    return found && saveRecords(changed);
}

bool SensorsList::setDecimals(const std::string& key, int decimals) {
    return changeRecord(key, [&](Value& record) {
        record.set("decimals", decimals < 0 ? Value() : Value(std::min(decimals, 2)));
    });
}

bool SensorsList::setSuffix(const std::string& key, bool suffix) {
    return changeRecord(key, [&](Value& record) { record.set("suffix", suffix); });
}

bool SensorsList::setHidden(const std::string& key, bool hidden) {
    Value kept = Value::array();
    for (const Value& entry : preferences_.objectForKey(kHidden).arrayItems())
        if (entry.stringValue() != key)
            kept.append(entry);
    if (hidden)
        kept.append(Value(key));
    if (!preferences_.setObject(kept, kHidden))
        return false;
    post();
    return true;
}

bool SensorsList::setName(const std::string& key, const std::string& name) {
    Value names = preferences_.objectForKey(kSensorNamesKey);
    if (!names.isDictionary())
        names = Value::dict();
    const bool blank = name.find_first_not_of(" \t\n") == std::string::npos;
    names.set(key, blank ? Value() : Value(name));
    if (!preferences_.setObject(names, kSensorNamesKey))
        return false;
    post();
    return true;
}

bool SensorsList::saveRecords(const Value& records) {
    if (!preferences_.setObject(records, kMenubarItems))
        return false;
    post();
    return true;
}

void SensorsList::post() {
    if (bus_)
        bus_->postNotificationName("CorvaneBarSensorsPreferencesChanged");
}

} // namespace corvane
