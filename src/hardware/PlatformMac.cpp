#include "hardware/PlatformMac.h"

#include "foundation/Log.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr std::string_view kVariants4K[] = {"GG7C", "GG7F", "GG7H", "GG78"};

std::vector<std::string> keysOf(const std::vector<SensorRow>& rows) {
    std::vector<std::string> keys;
    for (const auto& row : rows)
        keys.push_back(row.key);
    return keys;
}

int countOrZero(int count) {
    return count > 64 ? 0 : count;
}

} // namespace

std::vector<SensorRow> m2ProMaxCoreRows(int physicalCores) {
    std::vector<SensorRow> rows;
    const auto add = [&](const char* key, std::string name) {
        SensorRow row{key, std::move(name)};
        row.bk = "Tg0f";
        rows.push_back(std::move(row));
    };
    const char* performance[] = {"Tp01", "Tp05", "Tp09", "Tp0D", "Tp0X", "Tp0b"};
    for (int i = 0; i < 6; ++i)
        add(performance[i], "CPU Performance Core " + std::to_string(i + 1));
    if (physicalCores == 12) {
        add("Tp0f", "CPU Performance Core 7");
        add("Tp0j", "CPU Performance Core 8");
        add("Tp1h", "CPU Efficiency Core 1");
        add("Tp1t", "CPU Efficiency Core 2");
    } else {
        add("Tp0f", "CPU Efficiency Core 1");
        add("Tp0j", "CPU Efficiency Core 2");
    }
    return rows;
}

PlatformMac::PlatformMac(const MacModel* model, PlatformInputs inputs)
    : model_(model)
    , inputs_(std::move(inputs)) {}

std::string PlatformMac::className() const {
    return model_ ? std::string(model_->className) : "PlatformMac";
}

std::string PlatformMac::identifier() const {
    if (model_)
        return std::string(model_->identifier);
    return inputs_.facts.productName.empty() ? "Unknown" : inputs_.facts.productName;
}

std::string PlatformMac::name() const {
    if (!model_)
        return "Unknown";
    if (model_->className == "iMac16_2") {
        const std::string code = variation();
        const bool is4K = std::find(std::begin(kVariants4K), std::end(kVariants4K), code) !=
                          std::end(kVariants4K);
        return is4K ? "iMac with Retina 4K Display" : "iMac";
    }
    return std::string(model_->name);
}

double PlatformMac::screenSize() const {
    return model_ ? model_->screenSize : 0;
}

double PlatformMac::maximumMemory() const {
    return model_ ? model_->maximumMemory : 0.0;
}

int PlatformMac::memorySlots() const {
    return model_ ? model_->memorySlots : 0;
}

std::string PlatformMac::icon() const {
    return model_ ? std::string(model_->icon) : std::string();
}

bool PlatformMac::lists(std::string_view key) const {
    return std::find(inputs_.smcKeys.begin(), inputs_.smcKeys.end(), key) != inputs_.smcKeys.end();
}

// A known model's rows are the catalogue's keys that its controller really lists, with the
// catalogue's name; fans come separately.
std::vector<SensorRow> PlatformMac::ownSensors() const {
    if (!model_)
        return {};
    if (model_->has(kM2ProMaxRows))
        return m2ProMaxCoreRows(cpuPhysicalCoreCount());
    std::vector<SensorRow> rows;
    // Sensors read by name: every named sensor the catalogue knows; the live list picks.
    if (useArmSensors()) {
        for (const auto& known : sensorVocabulary())
            if (known.key.starts_with("AS_") || known.key.find(' ') != std::string_view::npos)
                rows.push_back({std::string(known.key), std::string(known.name)});
        return rows;
    }
    for (const auto& key : inputs_.smcKeys) {
        const auto name = vocabularyName(key);
        if (!name.empty() && !key.starts_with('F'))
            rows.push_back({key, std::string(name)});
    }
    return rows;
}

std::vector<SensorRow> PlatformMac::additionalSensors() const {
    std::vector<SensorRow> rows;
    if (!model_)
        return rows;
    std::vector<std::string> cores;
    if (model_->has(kCoreAverageOf18))
        cores = {"Tp01", "Tp05", "Tp09", "Tp0D", "Tp0H", "Tp0L", "Tp0P", "Tp0T", "Tp0X", "Tp0b"};
    else if (model_->has(kM2ProMaxRows))
        cores = keysOf(m2ProMaxCoreRows(cpuPhysicalCoreCount()));
    if (!cores.empty()) {
        SensorRow row{"CUS_AS_CORE_AVERAGE", "CPU Core Average"};
        row.average = std::move(cores);
        rows.push_back(std::move(row));
    }
    if (lists("TB0T") && lists("TB1T") && lists("TB2T")) {
        SensorRow row{"CUS_BATTERY_AVERAGE", "Battery"};
        row.average = std::vector<std::string>{"TB0T", "TB1T", "TB2T"};
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<SensorRow> PlatformMac::fans() const {
    std::vector<SensorRow> rows;
    if (!model_)
        return rows;
    if (!model_->fans.empty()) {
        for (const auto& fan : model_->fans)
            rows.push_back(
                {std::string(fan.key), std::string(fan.name), double(fan.low), double(fan.high)});
        return rows;
    }
    for (const auto& fan : inputs_.fans)
        rows.push_back({fan.key, nameForFan(fan.label), double(fan.low), double(fan.high)});
    return rows;
}

std::vector<SensorRow> PlatformMac::supportedSensors() const {
    auto rows = ownSensors();
    for (auto& row : additionalSensors())
        rows.push_back(std::move(row));
    for (auto& row : fans())
        rows.push_back(std::move(row));
    return rows;
}

std::vector<std::string> PlatformMac::firstTemperatureNamed(const std::vector<SensorRow>& rows,
                                                            std::string_view namePrefix) const {
    for (const auto& row : rows)
        if (row.key.starts_with('T') && row.name.starts_with(namePrefix))
            return {row.key};
    return {};
}

std::vector<std::string> PlatformMac::defaultSensorKeys() const {
    if (model_ && !model_->defaultSensorKeys[0].empty()) {
        std::vector<std::string> keys;
        for (auto key : model_->defaultSensorKeys)
            if (!key.empty())
                keys.emplace_back(key);
        return keys;
    }
    const auto rows = supportedSensors();
    auto keys = firstTemperatureNamed(rows, "CPU Die");
    return keys.empty() ? firstTemperatureNamed(rows, "CPU") : keys;
}

std::vector<std::string> PlatformMac::cpuTemperatureSensors() const {
    if (model_ && !model_->cpuTemperatureSensor.empty())
        return {std::string(model_->cpuTemperatureSensor)};
    return {};
}

std::string PlatformMac::variationName() const {
    return {};
}

bool PlatformMac::isLaptop() const {
    std::string lower = identifier();
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower.starts_with("macbook");
}

std::string PlatformMac::osVersion() const {
    if (inputs_.facts.osVersionId.empty())
        CVBLog("Unable to obtain system version: %ld", -1L);
    return paddedVersion(inputs_.facts.osVersionId);
}

std::string PlatformMac::cpuSpeed() const {
    return inputs_.facts.cpuMaxMHz ? std::to_string(*inputs_.facts.cpuMaxMHz) : std::string();
}

std::string PlatformMac::memory() const {
    return std::to_string(inputs_.facts.memoryBytes);
}

int PlatformMac::cpuPhysicalCoreCount() const {
    return countOrZero(inputs_.facts.physicalCores);
}

int PlatformMac::cpuCoreCount() const {
    return countOrZero(inputs_.facts.logicalCores);
}

int PlatformMac::cpuCount() const {
    return countOrZero(inputs_.facts.packages);
}

std::string PlatformMac::variation() const {
    return corvane::variation(serial());
}

void PlatformMac::decodeSerial() {
    if (const auto date = corvane::decodeSerial(serial())) {
        manufactureWeek_ = date->week;
        manufactureYear_ = date->year;
    }
}

} // namespace corvane
