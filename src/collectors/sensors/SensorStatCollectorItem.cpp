#include "collectors/sensors/SensorStatCollectorItem.h"

#include "hardware/SMCSensorItem.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace corvane {

void SensorStatCollectorItem::updateLimits() {
    bool moved = false;
    if (reading > highestRecordedValue) {
        highestRecordedValue = reading;
        moved = true;
    }
    if (reading > 0.0F && (lowestRecordedValue > reading || lowestRecordedValue == -1.0F)) {
        lowestRecordedValue = reading;
        moved = true;
    }
    recordedValueChanged = moved;
    updatePercentage();
}

void SensorStatCollectorItem::updatePercentage() {
    float p = 0;
    if (low >= 0.0F && high > 0.0F) {
        p = std::max((reading - low) / (high - low), 0.0F);
    } else {
        p = (reading - lowestRecordedValue) / (highestRecordedValue - lowestRecordedValue);
        if (p < 0.0F || reading == 0.0F)
            p = 0;
    }
    if (p > 1.0F)
        p = 1;
    percentage = std::isfinite(p) ? p : 0.0F;
}

int SensorStatCollectorItem::sort(const StatCollectorItem& other) const {
    const auto* sensor = dynamic_cast<const SensorStatCollectorItem*>(&other);
    if (!sensor)
        return 0;
    if (sensorType != sensor->sensorType)
        return sensorType < sensor->sensorType ? -1 : 1;
    const auto lower = [](unsigned char c) { return std::tolower(c); };
    const auto less = [&](const std::string& a, const std::string& b) {
        return std::lexicographical_compare(
            a.begin(), a.end(), b.begin(), b.end(),
            [&](unsigned char x, unsigned char y) { return lower(x) < lower(y); });
    };
    if (less(name, sensor->name))
        return -1;
    return less(sensor->name, name) ? 1 : 0;
}

std::string SensorStatCollectorItem::description() const {
    return "Sensor - " + name + ", key - " + key() + ", type - " + std::to_string(sensorType);
}

void SensorStatCollectorItem::loadAlternateKey() {
    SMCSensorItem rules;
    rules.key = key();
    rules.loadAlternateKey();
    setAlternateKey(std::move(rules.alternateKey));
}

std::string headingForSensorType(int type) {
    switch (type) {
    case 0:
        return "TEMPERATURE SENSORS";
    case 1:
        return "HARD DRIVE TEMPERATURE SENSORS";
    case 2:
        return "FAN SENSORS";
    case 3:
        return "VOLTAGE SENSORS";
    case 4:
        return "CURRENT SENSORS";
    case 5:
        return "POWER SENSORS";
    case 7:
        return "AMBIENT LIGHT SENSORS";
    case 8:
        return "FREQUENCY SENSORS";
    case 9:
        return "MULTIPLIER SENSORS";
    default:
        return "";
    }
}

} // namespace corvane
