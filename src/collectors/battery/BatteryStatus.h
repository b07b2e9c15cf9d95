#pragma once

#include "collectors/battery/BatteryStatCollector.h"

#include <string>

namespace corvane {

// What "corvanebar status" shows of the power sources.
class BatteryStatus {
public:
    explicit BatteryStatus(const BatteryStatCollector& battery)
        : battery_(battery) {}

    // A list of {"key", "name", "type", "percentage", "state", "source", "time", "health",
    // "cycles", "condition"} ("percentage" and "cycles" where the device tells them), and
    // "adapterWatts" where known.
    Value dictionary() const;
    // A line a source, "?%" for a charge the device does not tell; a line saying so on a
    // machine without any.
    std::string text() const;

    // "charging", "discharging", ... as a user reads the state code.
    static const char* stateName(std::int64_t state);

private:
    const BatteryStatCollector& battery_;
};

} // namespace corvane
