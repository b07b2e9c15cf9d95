#pragma once

#include "shell/SectionController.h"

namespace corvane {

// The rules that tell the user when a value crosses a limit. It has no panel item: its switch
// is the master switch of the rules, "Notifications-Enabled".
class NotificationsController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Notifications"; }
    bool toggle(const SectionSwitch& sender) override;
    void checkState() override;
    void setState(bool) override {}
};

} // namespace corvane
