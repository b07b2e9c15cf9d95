#pragma once

#include "shell/SectionController.h"

namespace corvane {

// Batteries, power supplies and connected devices.
class BatteryController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Battery & Power"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarBattery";
    }
    std::string stateNotificationKey() const override { return "battery"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Battery_Hotkey"; }
};

} // namespace corvane
