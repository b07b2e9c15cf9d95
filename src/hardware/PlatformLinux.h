#pragma once

#include "hardware/HwmonReadings.h"
#include "hardware/PlatformMac.h"

namespace corvane {

// Any machine that is not a Mac: the platform made from the machine itself. Its sensors are
// the hwmon inputs, keyed by their stable keys; laptop from the chassis or a battery.
class PlatformLinux final : public PlatformMac {
public:
    PlatformLinux(PlatformInputs inputs, std::vector<HwmonInput> hwmon);

    std::string className() const override { return "PlatformLinux"; }
    std::string identifier() const override;
    std::string name() const override;
    std::vector<SensorRow> supportedSensors() const override;
    std::vector<SensorRow> fans() const override;
    // The processor package's sensor: coretemp, k10temp, zenpower or cpu_thermal, else the
    // ACPI thermal zone.
    std::vector<std::string> defaultSensorKeys() const override;
    std::vector<std::string> cpuTemperatureSensors() const override { return defaultSensorKeys(); }
    bool isLaptop() const override;

private:
    std::vector<HwmonInput> hwmon_;
};

// The sensor collector's type of an input: 0 temperature, 2 fan, 3 voltage, 4 current,
// 5 power, 8 frequency.
int sensorTypeOf(HwmonKind kind);

} // namespace corvane
