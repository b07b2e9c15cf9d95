#pragma once

#include "collectors/sensors/SensorKeyReader.h"
#include "collectors/sensors/SensorStatCollectorItem.h"
#include "engine/StatCollector.h"
#include "hardware/PlatformMac.h"
#include "hardware/SensorsARMController.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// One row of a sensor list before it becomes an item.
struct SensorListRow {
    std::string key, name;
    int type = 0;
    double value = 0;
    std::optional<double> low, high;
    SensorRow config;
};

// An entry of the frequency sensors fed apart from the cycle: "ifre-0", "igfre-0".
struct FrequencyEntry {
    std::string key;
    double value = 0;
};

// Temperatures, fans, voltages, currents, power and frequencies, one item each. The items
// hold the samples; the collector's own ring only numbers and times them. Sensors are read on
// every update, which falls on even beats; slow sensors every twelfth update.
class SensorsStatCollector : public StatCollector {
public:
    using SensorPointer = std::shared_ptr<SensorStatCollectorItem>;
    // No machine runs this cold: -273.15, -128 and -127 are sensors' codes for "no reading".
    static constexpr double kColdestTemperature = -40.0;
    // The hottest temperature believed.
    static constexpr double kHottestTemperature = 150.0;

    SensorsStatCollector(const EngineContext& context, std::unique_ptr<PlatformMac> platform);
    ~SensorsStatCollector() override;

    static Value makeConfig();
    ItemPointer itemClassInstance() const override;
    // A key, else an item's alternate key.
    ItemPointer itemWithKey(const Value& key) override;
    bool shouldUpdateStateForSequence(std::int64_t sequence) override { return sequence % 2 == 0; }
    void updateStats() override;
    // One cycle; `identifier` decides which slow sensors are read.
    void updateStats(std::int64_t identifier);

    // Loading: the machine's sensors become items, sorted, each with a first sample.
    virtual void loadSensors() = 0;

    // The key path's filters and item makers.
    bool isKeyValid(std::string_view key);
    double valueForSensorKey(std::string_view key);
    double valueForConfig(const SensorRow& row);
    std::vector<SensorListRow> supportedElectricSensors(const std::vector<SensorRow>& rows);
    std::vector<SensorListRow> supportedFans(const std::vector<SensorRow>& rows);
    double minimumForFan(std::string_view key);
    double maximumForFan(std::string_view key);
    void processSensors(const std::vector<SensorListRow>& rows);
    // As processSensors; a row's limits, else its reading, also become the recorded extremes.
    void processArmSensors(const std::vector<SensorListRow>& rows);
    // Machines whose sensors go by name: the catalogue's (key, name) pairs, and the rows the
    // live list matches.
    std::vector<std::pair<std::string, std::string>> armCatalogue() const;
    std::vector<SensorListRow> supportedArmSensors();
    void processFans(const std::vector<SensorListRow>& rows);
    void addValue(SensorStatCollectorItem& item, std::int64_t identifier);

    std::vector<SensorPointer> sensors() const;
    SensorPointer sensorWithKey(std::string_view key);
    std::vector<SensorPointer> allFans() const;
    // Fans as fan control shows them: one "Fans" on machines whose fans move together; on the
    // 2019 tower, the blower and the front fans.
    std::vector<SensorPointer> fanControlFans() const;
    bool fanControlSupported() const { return fanControlSupported_; }

    // Frequencies measured apart from the cycle; the next update takes them in.
    std::map<std::string, FrequencyEntry>& intelFrequencySensors() { return intelFrequency_; }

    const PlatformMac& platform() const { return *platform_; }

protected:
    // The decoded value of a key from wherever this machine's keys are read.
    virtual double readKey(std::string_view key) = 0;
    // A sensor's new reading; the key path's rules by default.
    virtual void refreshValue(SensorStatCollectorItem& item);
    // The named sensors read now, on machines that read them by name.
    virtual std::vector<NamedReading> liveArmSensors() { return {}; }
    // Before the items are read: a batched source reads everything here.
    virtual void beginUpdate(std::int64_t /*identifier*/) {}
    // Marks default sensors, sorts, and adds each item's first sample.
    void finishLoading();
    SensorPointer makeSensor(const SensorListRow& row);

private:
    void updateArmSensors(std::int64_t identifier);
    void updateKeyedSensors(std::int64_t identifier);

    std::unique_ptr<PlatformMac> platform_;
    std::map<std::string, FrequencyEntry> intelFrequency_;
    bool fanControlSupported_ = false;
};

} // namespace corvane
