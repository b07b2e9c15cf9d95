#pragma once

#include "engine/StatCollectorItem.h"
#include "hardware/SensorRow.h"
#include "text/SensorItem.h"

#include <string>

namespace corvane {

// One sensor or fan: its reading, its limits, the extremes seen and where the reading sits
// between its limits.
class SensorStatCollectorItem : public StatCollectorItem, public SensorItem {
public:
    using StatCollectorItem::StatCollectorItem;

    // Moves the recorded extremes by the present value, then the percentage. A value not above
    // 0 never becomes the lowest record: a sensor that reads nothing must not pin it.
    void updateLimits();
    // Where the value sits between the fixed limits, else between the recorded extremes; 0 to
    // 1, and 0 for anything not finite.
    void updatePercentage();
    // By type, then by name without regard to case.
    int sort(const StatCollectorItem& other) const override;
    // "Sensor - <name>, key - <key>, type - <type>".
    std::string description() const;
    // For each character of the key, its code in decimal put in front: "TC0P" gives
    // "80486784"; the form other processes and older settings know a key by.
    void loadAlternateKey();

    int type() const override { return sensorType; }
    double value() const override { return reading; }

    float reading = 0; // `value`; named apart from SensorItem's accessor
    float low = 0, high = 0;
    float lowestRecordedValue = -1.0F;
    float highestRecordedValue = 0;
    float percentage = 0;
    bool recordedValueChanged = false;
    std::string name, nameFanControl;
    int index = 0;
    int sensorType = 0;
    int subType = 0; // 1: another path feeds the value
    SensorRow sensorConfig;
    bool defaultSensor = false;
    bool hasFixedLimits = false;
    bool intelFrequencySensor = false;
    // Where the reading sits in its source's list, so a refresh does not search by key.
    std::size_t sourceIndex = 0;
};

// The heading of a type in the lists and the dropdown: "TEMPERATURE SENSORS", ...; "" for 6
// and above 9.
std::string headingForSensorType(int type);

} // namespace corvane
