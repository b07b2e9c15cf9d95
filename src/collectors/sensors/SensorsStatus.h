#pragma once

#include "collectors/sensors/SensorsStatCollector.h"
#include "text/TextContext.h"

#include <string>

namespace corvane {

class CVBPreferences;

// What the user keeps per sensor, by stable key: the names given ("Sensors_Names", a
// dictionary of key to name) and the sensors hidden from the dropdown ("FilteringSensors").
inline constexpr const char* kSensorNamesKey = "Sensors_Names";
inline constexpr const char* kHiddenSensorsKey = "FilteringSensors";
// The name the user gave the sensor, else its own.
std::string shownSensorName(CVBPreferences& preferences, const SensorStatCollectorItem& item);
bool sensorHidden(CVBPreferences& preferences, const std::string& key);

// What the command line shows of the sensors: every sensor under its heading, or only the
// ones the panel shows by default.
class SensorsStatus {
public:
    enum class Scope { all, defaults };

    SensorsStatus(const SensorsStatCollector& sensors, const TextContext& text, Scope scope)
        : sensors_(sensors)
        , text_(text)
        , scope_(scope) {}

    // A list of {"key", "name", "heading", "type", "value", "text", "percentage"}, with "low"
    // and "high" where the sensor has limits and "lowest" and "highest" once recorded, each
    // also as shown ("lowText", ...); "hidden" true for a sensor hidden from the dropdown.
    Value dictionary() const;
    // All: a heading line per type, then a line a sensor. Defaults: one "Sensors" line.
    std::string text() const;

private:
    std::vector<SensorsStatCollector::SensorPointer> shown() const;
    std::string line(const SensorStatCollectorItem& item) const;

    const SensorsStatCollector& sensors_;
    const TextContext& text_;
    Scope scope_;
};

} // namespace corvane
