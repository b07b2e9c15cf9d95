#pragma once

#include "shell/SectionController.h"

namespace corvane {

// Disk space and activity.
class DisksController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Disks"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarDrives";
    }
    std::string stateNotificationKey() const override { return "diskusage"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Disks_Hotkey"; }
};

} // namespace corvane
