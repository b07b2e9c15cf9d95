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

// Temperatures read by name rather than by key, plus five averages over groups of them.
class SensorsARMController {
public:
    static constexpr int kTemperatureEvent = 15;
    static constexpr int kMilliEvent = 25; // answers in thousandths

    // The readings of one event type, as the sensors give them.
    using Source = std::function<std::vector<NamedReading>(int eventType)>;
    explicit SensorsARMController(Source source)
        : source_(std::move(source)) {}

    // The process's reader over hwmon temperatures under $CORVANEBAR_SYSROOT.
    static SensorsARMController& sharedARM();
    static void cleanup();

    std::vector<NamedReading> sensors(int eventType) const;
    // The raw temperature rows, type 0, then the five synthetic averages.
    std::vector<NamedReading> sensors() const;
    static std::vector<NamedReading> addType(int type, std::vector<NamedReading> rows);

private:
    Source source_;
};

} // namespace corvane
