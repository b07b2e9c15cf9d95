#pragma once

#include "hardware/PlatformMac.h"

#include <map>

namespace corvane {

// Hardware that only imitates the controller has no catalogue row: its sensors are the keys
// the controller lists that have a known name.
class FauxMac final : public PlatformMac {
public:
    explicit FauxMac(PlatformInputs inputs)
        : PlatformMac(nullptr, std::move(inputs)) {}

    std::string className() const override { return "FauxMac"; }
    std::string identifier() const override { return "FauxMac"; }
    std::string name() const override { return "FauxMac"; }
    std::string icon() const override { return "imac-unibody.png"; }
    std::vector<SensorRow> supportedSensors() const override;
};

// Key → name for the keys such hardware may have: fixed pairs, then numbered groups. A group
// of which fewer than two keys exist drops the number from its names.
std::map<std::string, std::string, std::less<>>
fauxMacSensorNames(const std::vector<std::string>& existingKeys, int cpuCount, int coreCount);

} // namespace corvane
