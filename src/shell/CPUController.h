#pragma once

#include "shell/SectionController.h"

namespace corvane {

// Processor, load and graphics.
class CPUController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "CPU & GPU"; }
    std::optional<std::string> bundleName() const override { return "com.halvorn.CorvaneBarCPU"; }
    std::string stateNotificationKey() const override { return "cpu"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "CPU_Hotkey"; }
};

} // namespace corvane
