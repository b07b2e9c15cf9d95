#pragma once

#include "shell/SectionController.h"

namespace corvane {

// The panel clock, calendar and cities.
class TimeController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Time"; }
    std::optional<std::string> bundleName() const override { return "com.halvorn.CorvaneBarTime"; }
    std::string stateNotificationKey() const override { return "time"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Time_Hotkey"; }
};

} // namespace corvane
