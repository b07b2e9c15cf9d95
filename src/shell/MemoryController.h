#pragma once

#include "shell/SectionController.h"

namespace corvane {

// Memory use and pressure.
class MemoryController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Memory"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarMemory";
    }
    std::string stateNotificationKey() const override { return "memory"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Memory_Hotkey"; }
};

} // namespace corvane
