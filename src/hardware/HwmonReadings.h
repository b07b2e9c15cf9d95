#pragma once

#include "foundation/SysRoot.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

enum class HwmonKind { temperature, voltage, current, power, fan, frequency };

// "temp", "in", "curr", "power", "fan", "freq".
std::string_view hwmonPrefix(HwmonKind kind);

// One hwmon input, in SI units (temperatures in degrees Celsius, fans in rpm). The key is
// stable across boots: the chip (driver and bus address) and the channel, never hwmonN.
struct HwmonInput {
    std::string key;     // "coretemp.0/temp1", "nvme-pci-0100/temp1"
    std::string chip;    // "coretemp.0", "nvme-pci-0100"
    std::string driver;  // the chip's "name"
    std::string channel; // "temp1"
    HwmonKind kind = HwmonKind::temperature;
    std::string label; // "" when the driver gives none
    std::optional<double> min, max, crit;
    std::optional<double> value; // nothing when the last read failed
};

// The chip part of a key, from the driver's name and where the hwmon device sits in /sys
// (live paths, links resolved): "coretemp.0", "k10temp-pci-00c3", "lm75-i2c-0-48",
// "acpitz-thermal_zone0", "name-virtual-0".
std::string hwmonChipId(std::string_view driver, std::string_view hwmonPath,
                        std::string_view devicePath);

// Every hwmon input of the machine, found once; each value is then read from a descriptor
// kept open, so a pass over 40 inputs costs 40 preads.
class HwmonReadings {
public:
    explicit HwmonReadings(const SysRoot& root);
    ~HwmonReadings();
    HwmonReadings(const HwmonReadings&) = delete;
    HwmonReadings& operator=(const HwmonReadings&) = delete;

    // Ordered by key, so the order does not follow the hwmonN numbers either.
    const std::vector<HwmonInput>& inputs() const { return inputs_; }
    const HwmonInput* input(std::string_view key) const;
    void update();

private:
    struct Source;
    void addChip(const SysRoot& root, const std::string& classEntry);

    std::vector<HwmonInput> inputs_;
    std::vector<std::unique_ptr<Source>> sources_; // parallel to inputs_
};

} // namespace corvane
