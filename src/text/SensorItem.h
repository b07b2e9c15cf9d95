#pragma once

namespace corvane {

// What the sensor formatters need of a sensor reading; the sensor collector's items give it.
class SensorItem {
public:
    virtual ~SensorItem() = default;
    // 0, 1 temperature; 2 fan; 3 voltage; 4 current; 5 power; 7 light; 8 frequency; 9 multiplier
    virtual int type() const = 0;
    virtual double value() const = 0;
};

} // namespace corvane
