#include "hardware/SensorsARMController.h"

#include "foundation/SysRoot.h"
#include "hardware/HwmonReadings.h"

#include <algorithm>
#include <string_view>

namespace corvane {

namespace {

std::unique_ptr<SensorsARMController>& sharedInstance() {
    static std::unique_ptr<SensorsARMController> instance;
    return instance;
}

struct Average {
    std::string_view key;
    std::string_view prefix;
};

constexpr Average kAverages[] = {
    {"AS_SOCDIE_AVERAGE", "SOC MTR"}, {"AS_EFF_AVG", "eACC"},           {"AS_PERF_AVG", "pACC"},
    {"AS_PMDIE_AVG", "PMU tdie"},     {"AS_PMSOC_AVG", "PMGR SOC Die"},
};

// The averages that stand in for their members; the SOC dies stay listed one by one.
constexpr std::size_t kFirstReplacingAverage = 1;

} // namespace

std::unique_ptr<SensorsARMController> SensorsARMController::overHwmon(const SysRoot& root) {
    auto readings = std::make_shared<HwmonReadings>(root);
    return std::make_unique<SensorsARMController>([readings](int eventType) {
        std::vector<NamedReading> rows;
        if (eventType != kTemperatureEvent)
            return rows;
        readings->update();
        for (const auto& input : readings->inputs())
            if (input.kind == HwmonKind::temperature && input.value)
                rows.push_back({input.label.empty() ? input.key : input.label, *input.value, 0});
        return rows;
    });
}

SensorsARMController& SensorsARMController::sharedARM() {
    auto& instance = sharedInstance();
    if (!instance)
        instance = overHwmon(SysRoot::fromEnvironment());
    return *instance;
}

void SensorsARMController::cleanup() {
    sharedInstance().reset();
}

std::vector<NamedReading> SensorsARMController::sensors(int eventType) const {
    auto rows = source_ ? source_(eventType) : std::vector<NamedReading>();
    std::erase_if(rows, [](const NamedReading& row) { return row.key.empty(); });
    if (eventType == kMilliEvent)
        for (auto& row : rows)
            row.value /= 1000.0;
    return rows;
}

std::vector<NamedReading> SensorsARMController::addType(int type, std::vector<NamedReading> rows) {
    for (auto& row : rows)
        row.type = type;
    return rows;
}

std::vector<NamedReading> SensorsARMController::sensors() const {
    auto rows = addType(0, sensors(kTemperatureEvent));
    const std::size_t raw = rows.size();
    for (const auto& average : kAverages) {
        double sum = 0.0;
        int count = 0;
        for (std::size_t i = 0; i < raw; ++i) {
            if (rows[i].key.starts_with(average.prefix)) {
                sum += rows[i].value;
                ++count;
            }
        }
        rows.push_back({std::string(average.key), count ? sum / count : 0.0, 0});
    }
    return rows;
}

std::string SensorsARMController::catalogueKey(std::string_view liveKey) {
    std::string key(liveKey);
    if (const auto at = key.find("Temp Sensor"); at != std::string::npos)
        key.erase(at, std::string_view("Temp Sensor").size());
    return key;
}

std::vector<ArmSensorRow> SensorsARMController::supportedArmSensors(
    const std::vector<NamedReading>& live,
    const std::vector<std::pair<std::string, std::string>>& catalogue) {
    const auto listed = [&](std::string_view key) {
        return std::any_of(catalogue.begin(), catalogue.end(),
                           [&](const auto& row) { return row.first == key; });
    };
    std::vector<ArmSensorRow> rows;
    for (const auto& reading : live) {
        if (reading.value < 0)
            continue;
        const std::string candidate = catalogueKey(reading.key);
        const bool replaced = std::any_of(
            std::begin(kAverages) + kFirstReplacingAverage, std::end(kAverages),
            [&](const Average& a) { return candidate.starts_with(a.prefix) && listed(a.key); });
        if (replaced)
            continue;
        for (const auto& [key, name] : catalogue)
            if (key == candidate)
                rows.push_back({key, name, reading.type, reading.value});
    }
    return rows;
}

} // namespace corvane
