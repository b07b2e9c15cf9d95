#pragma once

#include "hardware/SensorRow.h"

#include <functional>
#include <string>
#include <string_view>

namespace corvane {

// The decoded value of a key, as valueForSensorKey answers it.
using SensorValueReader = std::function<double(std::string_view key)>;

// The per-item rules of a key-read sensor: its alternate key, its limits from the "Mn" and
// "Mx" keys, and the refresh of its value. The fields are those of the sensor collector's
// item, which copies them in and out.
struct SMCSensorItem {
    std::string key;
    std::string alternateKey;
    double value = 0;
    double low = 0;
    double high = 0;
    int type = 0;    // 0 temperature
    int subType = 0; // 1: fed by another path
    SensorRow config;

    // For each character of the key, its code in decimal put in front: "TC0P" → "80486784".
    void loadAlternateKey();
    // The key's first two characters with "Mn": always taken as the low limit.
    void loadMinimumValue(const SensorValueReader& read);
    // The same with "Mx": taken only when above 0 and above the present high.
    void loadMaximumValue(const SensorValueReader& read);
    // The new value by the row's "multiply", "average" or the single key, with the guards
    // against readings that cannot be true; returns it.
    double updateValue(const SensorValueReader& read, bool temperatureBug);

private:
    bool vouchedAgainst(std::string_view sensorKey, double v, bool temperatureBug,
                        const SensorValueReader& read) const;
};

} // namespace corvane
