#include "collectors/sensors/SensorsStatus.h"

#include "preferences/CVBPreferences.h"
#include "text/SensorFormatters.h"

#include <algorithm>
#include <cstdio>

namespace corvane {

namespace {

// Names come from drivers and firmware; control characters must not reach the terminal.
std::string printable(const std::string& name) {
    std::string out;
    for (unsigned char c : name) {
        if (c < 0x20 || c == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

// Pads to a width in characters, not bytes, so "°" lines up with "V".
std::string padded(const std::string& text, std::size_t width, bool left) {
    const auto characters =
        static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
            return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        }));
    const std::string fill(width > characters ? width - characters : 0, ' ');
    return left ? text + fill : fill + text;
}

bool hasRecords(const SensorStatCollectorItem& item) {
    return item.lowestRecordedValue != -1.0F;
}

} // namespace

std::string shownSensorName(CVBPreferences& preferences, const SensorStatCollectorItem& item) {
    const Value& given = preferences.objectForKey(kSensorNamesKey)[item.key()];
    return given.isString() && !given.stringValue().empty() ? given.stringValue() : item.name;
}

bool sensorHidden(CVBPreferences& preferences, const std::string& key) {
    const auto& hidden = preferences.objectForKey(kHiddenSensorsKey).arrayItems();
    return std::any_of(hidden.begin(), hidden.end(),
                       [&](const Value& entry) { return entry.stringValue() == key; });
}

std::vector<SensorsStatCollector::SensorPointer> SensorsStatus::shown() const {
    std::vector<SensorsStatCollector::SensorPointer> items;
    for (const auto& item : sensors_.sensors()) {
        // "_" keys are the collector's own, never listed.
        if (item->key().starts_with("_"))
            continue;
        if (scope_ == Scope::all || item->defaultSensor)
            items.push_back(item);
    }
    return items;
}

Value SensorsStatus::dictionary() const {
    Value list = Value::array();
    for (const auto& item : shown()) {
        Value row = Value::dict({{"key", item->key()},
                                 {"name", shownSensorName(text_.preferences, *item)},
                                 {"heading", headingForSensorType(item->sensorType)},
                                 {"type", item->sensorType},
                                 {"value", static_cast<double>(item->reading)},
                                 {"text", formattedSensor(text_, item.get())},
                                 {"percentage", static_cast<double>(item->percentage)}});
        const auto put = [&](const char* name, float value) {
            row.set(name, static_cast<double>(value));
            row.set(std::string(name) + "Text", formattedSensor2(text_, item.get(), value));
        };
        if (item->hasFixedLimits) {
            put("low", item->low);
            put("high", item->high);
        }
        if (hasRecords(*item)) {
            put("lowest", item->lowestRecordedValue);
            put("highest", item->highestRecordedValue);
        }
        if (sensorHidden(text_.preferences, item->key()))
            row.set("hidden", true);
        list.append(std::move(row));
    }
    return list;
}

std::string SensorsStatus::line(const SensorStatCollectorItem& item) const {
    std::string out = padded(printable(shownSensorName(text_.preferences, item)), 28, true) + " " +
                      padded(formattedSensor(text_, &item), 10, false);
    if (item.hasFixedLimits)
        out += "  limits " + formattedSensor2(text_, &item, item.low) + " to " +
               formattedSensor2(text_, &item, item.high);
    char text[16];
    std::snprintf(text, sizeof text, "  %3.0f%%", static_cast<double>(item.percentage) * 100);
    out += text;
    if (hasRecords(item))
        out += "  seen " + formattedSensor2(text_, &item, item.lowestRecordedValue) + " to " +
               formattedSensor2(text_, &item, item.highestRecordedValue);
    return out;
}

std::string SensorsStatus::text() const {
    const auto items = shown();
    if (scope_ == Scope::defaults) {
        std::string out;
        for (const auto& item : items)
            out += (out.empty() ? "" : ", ") +
                   printable(shownSensorName(text_.preferences, *item)) + " " +
                   formattedSensor(text_, item.get());
        return "Sensors   " + (out.empty() ? std::string("none found") : out) + "\n";
    }
    if (items.empty())
        return "No sensors were found on this machine.\n";
    std::string out;
    int heading = -1;
    for (const auto& item : items) {
        if (item->sensorType != heading) {
            heading = item->sensorType;
            const auto title = headingForSensorType(heading);
            out += (out.empty() ? "" : "\n") + (title.empty() ? "OTHER SENSORS" : title) + "\n";
        }
        out += "  " + line(*item) + "\n";
    }
    return out;
}

} // namespace corvane
