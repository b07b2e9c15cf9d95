#pragma once

#include "shell/SectionController.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane {

class CVBPreferences;
class DistributedNotificationCenter;
class SensorsStatCollector;
class SensorStatCollectorItem;

// Hardware sensors and fan control.
class SensorsController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Sensors"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarSensors";
    }
    std::string stateNotificationKey() const override { return "sensors"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Sensors_Hotkey"; }

    // Opens the fan rules editor of the page.
    void editFanControl();
};

// One line of the sensors list: a heading, or a sensor under the last heading.
struct SensorPageRow {
    std::string heading; // empty on a sensor's line
    std::shared_ptr<SensorStatCollectorItem> sensor;
    std::string name;     // the name the user gave it, else its own
    bool hidden = false;  // listed in "FilteringSensors"
    bool inPanel = false; // has a record in "Sensors_MenubarItems"
};

// The data side of the sensors page and of the panel item: what the list holds, which sensors
// the panel shows and how. Everything is kept by the sensors' stable keys, so it survives a
// reboot that numbers the chips differently.
class SensorsList {
public:
    // `bus` null: changes are not told to the other processes (tests, one-shot commands).
    SensorsList(CVBPreferences& preferences, SensorsStatCollector& sensors,
                DistributedNotificationCenter* bus = nullptr)
        : preferences_(preferences)
        , sensors_(sensors)
        , bus_(bus) {}

    // Every sensor but the collector's own ("_" keys), sorted, a heading before each type.
    std::vector<SensorPageRow> rows();
    // An empty or absent "Sensors_MenubarItems" becomes the default sensors, one record each,
    // and is saved; answers whether it wrote.
    bool seedMenubarItems();
    // The saved records whose sensors the collector knows, in their order.
    Value activeItems();

    // Each answers false when the settings could not be written.
    bool setInPanel(const std::string& key, bool shown);
    // Decimals 0 to 2; a negative count goes back to the type's own.
    bool setDecimals(const std::string& key, int decimals);
    bool setSuffix(const std::string& key, bool suffix);
    bool setHidden(const std::string& key, bool hidden);
    // An empty or blank name gives the sensor its own name back.
    bool setName(const std::string& key, const std::string& name);

private:
    Value records();
    bool saveRecords(const Value& records);
    // The record of the key changed by `change`; false when the sensor is not in the panel.
    bool changeRecord(const std::string& key, const std::function<void(Value&)>& change);
    void post();

    CVBPreferences& preferences_;
    SensorsStatCollector& sensors_;
    DistributedNotificationCenter* bus_;
};

} // namespace corvane
