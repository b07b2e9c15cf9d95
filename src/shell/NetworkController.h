#pragma once

#include "shell/SectionController.h"

namespace corvane {

// Network services and bandwidth.
class NetworkController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Network"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarNetwork";
    }
    std::string stateNotificationKey() const override { return "network"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Network_Hotkey"; }
};

} // namespace corvane
