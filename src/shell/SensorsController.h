#pragma once

#include "shell/SectionController.h"

namespace corvane {

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

} // namespace corvane
