#pragma once

#include "shell/SectionController.h"

#include <string>
#include <utility>
#include <vector>

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

    // The page's list of services (key, name) was built anew: hides the internal bridge the
    // first time it shows and forgets a primary interface that is gone, telling the other
    // processes when the settings changed. False when they could not be written.
    bool servicesRebuilt(const std::vector<std::pair<std::string, std::string>>& services);
};

} // namespace corvane
