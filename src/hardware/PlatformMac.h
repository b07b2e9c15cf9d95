#pragma once

#include "hardware/HardwareFacts.h"
#include "hardware/MacModelCatalogue.h"
#include "hardware/MacSerial.h"
#include "hardware/SensorRow.h"

#include <string>
#include <vector>

namespace corvane {

// A fan the controller's driver reports: its key, the name it gives itself and its limits.
struct DetectedFan {
    std::string key; // "F0Ac"
    std::string label;
    int low = 0;
    int high = 0;
};

// What a platform is made from: the machine's facts and what its controller lists.
struct PlatformInputs {
    HardwareFacts facts;
    std::vector<std::string> smcKeys; // in the controller's order
    std::vector<DetectedFan> fans;
};

// The chosen machine model: names, limits, sensors, fans and quirks. The base answers for a
// Mac the catalogue does not know: name "Unknown", no sensors, no fan control.
class PlatformMac {
public:
    PlatformMac(const MacModel* model, PlatformInputs inputs);
    virtual ~PlatformMac() = default;
    PlatformMac(const PlatformMac&) = delete;
    PlatformMac& operator=(const PlatformMac&) = delete;

    // "MacPro7_1", "PlatformMac", "FauxMac", "PlatformLinux".
    virtual std::string className() const;
    virtual std::string identifier() const;
    virtual std::string name() const;
    virtual double screenSize() const;
    virtual double maximumMemory() const;
    virtual int memorySlots() const;
    virtual std::string icon() const;
    // The model's own rows, then additionalSensors, then fans.
    virtual std::vector<SensorRow> supportedSensors() const;
    virtual std::vector<SensorRow> additionalSensors() const;
    virtual std::vector<SensorRow> fans() const;
    virtual std::vector<std::string> defaultSensorKeys() const;
    virtual std::vector<std::string> cpuTemperatureSensors() const;
    virtual std::string variationName() const;
    virtual bool isLaptop() const;
    bool usesSyncedFans() const { return has(kUsesSyncedFans); }
    bool temperatureBug() const { return has(kTemperatureBug); }
    bool useArmSensors() const { return has(kUseArmSensors); }
    bool hideIntergratedGraphics() const { return has(kHideIntergratedGraphics); }
    bool ignoreGraphicsControl() const { return has(kIgnoreGraphicsControl); }
    bool disableFanControl() const { return has(kDisableFanControl); }

    std::string osVersion() const;
    std::string cpu() const { return inputs_.facts.cpuBrand; }
    std::string cpuSpeed() const; // MHz as text, "" when unknown
    std::string memory() const;   // bytes as text
    bool isSSLSupported() const { return true; }
    // Each is 0 when the machine reports more than 64.
    int cpuPhysicalCoreCount() const;
    int cpuCoreCount() const;
    int cpuCount() const;
    std::string serial() const { return inputs_.facts.serial; }
    std::string boardID() const { return inputs_.facts.boardName; }
    std::string variation() const;
    void decodeSerial();
    int manufactureWeek() const { return manufactureWeek_; }
    int manufactureYear() const { return manufactureYear_; }
    // Memory modules need the firmware's tables, readable by root only: empty until the
    // daemon hands them over.
    std::vector<Value> fetchMemoryInfo() const { return {}; }
    std::string networkHardwareAdress() const { return inputs_.facts.wiredAddress; }

    const PlatformInputs& inputs() const { return inputs_; }

protected:
    bool has(MacModelFlag flag) const { return model_ && model_->has(flag); }
    // The first row whose key starts with "T" and name with `namePrefix`.
    std::vector<std::string> firstTemperatureNamed(const std::vector<SensorRow>& rows,
                                                   std::string_view namePrefix) const;
    bool lists(std::string_view key) const;

private:
    std::vector<SensorRow> ownSensors() const;

    const MacModel* model_;
    PlatformInputs inputs_;
    int manufactureWeek_ = 0;
    int manufactureYear_ = 0;
};

// The core rows of the M2 Pro and Max models, which depend on the part's core count.
std::vector<SensorRow> m2ProMaxCoreRows(int physicalCores);

} // namespace corvane
