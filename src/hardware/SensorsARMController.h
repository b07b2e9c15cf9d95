#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// A named reading: a sensor's product name and its value.
struct NamedReading {
    std::string key;
    double value = 0;
    int type = 0;
};

// A catalogue row the live list matched: the catalogue's key and name, the live type and value.
struct ArmSensorRow {
    std::string key, name;
    int type = 0;
    double value = 0;
    bool operator==(const ArmSensorRow&) const = default;
};

class SysRoot;

// Temperatures read by name rather than by key, plus five averages over groups of them.
class SensorsARMController {
public:
    static constexpr int kTemperatureEvent = 15;
    static constexpr int kMilliEvent = 25; // answers in thousandths

    // The readings of one event type, as the sensors give them.
    using Source = std::function<std::vector<NamedReading>(int eventType)>;
    explicit SensorsARMController(Source source)
        : source_(std::move(source)) {}

    // Linux has no HID sensor services; the firmware's sensors are hwmon inputs there, and the
    // label a chip gives an input is the firmware's name for it, as the services' product
    // names are. Unlabelled inputs go by their stable key. Read afresh on every call.
    static std::unique_ptr<SensorsARMController> overHwmon(const SysRoot& root);
    // The process's reader over hwmon temperatures under $CORVANEBAR_SYSROOT.
    static SensorsARMController& sharedARM();
    static void cleanup();

    std::vector<NamedReading> sensors(int eventType) const;
    // The raw temperature rows, type 0, then the five synthetic averages.
    std::vector<NamedReading> sensors() const;
    static std::vector<NamedReading> addType(int type, std::vector<NamedReading> rows);

    // The key a live row goes by in the catalogue: "SOC MTR Temp Sensor0" is "SOC MTR 0".
    static std::string catalogueKey(std::string_view liveKey);
    // The live rows the catalogue (key, name) knows; an average replaces its members when the
    // catalogue has it, and negative readings are left out.
    static std::vector<ArmSensorRow>
    supportedArmSensors(const std::vector<NamedReading>& live,
                        const std::vector<std::pair<std::string, std::string>>& catalogue);

private:
    Source source_;
};

} // namespace corvane
