#include "hardware/PlatformLinux.h"

#include <algorithm>

namespace corvane {

namespace {

// Chassis types of portable machines: portable, laptop, notebook, sub-notebook, tablet,
// convertible.
constexpr int kPortableChassis[] = {8, 9, 10, 14, 31, 32};

struct PackageSensor {
    std::string_view driver;
    std::string_view labels[2]; // preferred labels; none: the first temperature
};

constexpr PackageSensor kPackageSensors[] = {
    {"coretemp", {"Package id 0", ""}},
    {"k10temp", {"Tdie", "Tctl"}},
    {"zenpower", {"Tdie", "Tctl"}},
    {"cpu_thermal", {"", ""}},
    {"acpitz", {"", ""}},
};

} // namespace

int sensorTypeOf(HwmonKind kind) {
    switch (kind) {
    case HwmonKind::temperature:
        return 0;
    case HwmonKind::fan:
        return 2;
    case HwmonKind::voltage:
        return 3;
    case HwmonKind::current:
        return 4;
    case HwmonKind::power:
        return 5;
    case HwmonKind::frequency:
        return 8;
    }
    return 0;
}

PlatformLinux::PlatformLinux(PlatformInputs inputs, std::vector<HwmonInput> hwmon)
    : PlatformMac(nullptr, std::move(inputs))
    , hwmon_(std::move(hwmon)) {}

std::string PlatformLinux::identifier() const {
    const auto& facts = inputs().facts;
    if (!facts.productName.empty())
        return facts.productName;
    return facts.deviceTreeModel.empty() ? "Unknown" : facts.deviceTreeModel;
}

std::string PlatformLinux::name() const {
    const auto& facts = inputs().facts;
    if (facts.productName.empty())
        return facts.deviceTreeModel.empty() ? "Unknown" : facts.deviceTreeModel;
    if (facts.sysVendor.empty() || facts.productName.starts_with(facts.sysVendor))
        return facts.productName;
    return facts.sysVendor + " " + facts.productName;
}

std::vector<SensorRow> PlatformLinux::supportedSensors() const {
    std::vector<SensorRow> rows;
    for (const auto& input : hwmon_) {
        if (input.kind == HwmonKind::fan)
            continue;
        SensorRow row{input.key,
                      input.driver + " " + (input.label.empty() ? input.channel : input.label)};
        // The key's first letter says nothing here, so every row carries its type.
        row.type = sensorTypeOf(input.kind);
        rows.push_back(std::move(row));
    }
    for (auto& row : fans())
        rows.push_back(std::move(row));
    return rows;
}

std::vector<SensorRow> PlatformLinux::fans() const {
    std::vector<SensorRow> rows;
    for (const auto& input : hwmon_) {
        if (input.kind != HwmonKind::fan)
            continue;
        SensorRow row{input.key,
                      input.label.empty() ? input.driver + " " + input.channel : input.label,
                      input.min.value_or(0), input.max.value_or(0)};
        row.type = sensorTypeOf(input.kind);
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<std::string> PlatformLinux::defaultSensorKeys() const {
    for (const auto& sensor : kPackageSensors) {
        const HwmonInput* first = nullptr;
        for (auto label : sensor.labels) {
            for (const auto& input : hwmon_) {
                if (input.driver != sensor.driver || input.kind != HwmonKind::temperature)
                    continue;
                if (!label.empty() && input.label == label)
                    return {input.key};
                if (!first)
                    first = &input;
            }
        }
        if (first)
            return {first->key};
    }
    return {};
}

bool PlatformLinux::isLaptop() const {
    const auto& facts = inputs().facts;
    if (facts.chassisType && std::find(std::begin(kPortableChassis), std::end(kPortableChassis),
                                       *facts.chassisType) != std::end(kPortableChassis))
        return true;
    return facts.hasBattery;
}

} // namespace corvane
