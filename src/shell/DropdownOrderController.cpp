#include "shell/DropdownOrderController.h"

#include <memory>

namespace corvane {

namespace {
std::unique_ptr<DropdownOrderController>& instance() {
    static std::unique_ptr<DropdownOrderController> controller;
    return controller;
}
} // namespace

DropdownOrderController& DropdownOrderController::sharedOrderController() {
    if (!instance())
        instance() = std::make_unique<DropdownOrderController>();
    return *instance();
}

void DropdownOrderController::cleanup() {
    instance().reset();
}

void DropdownOrderController::clear() {
    orderview = {};
    preferencyKey.clear();
    preferencyKeyDisabled.clear();
    notificationName.clear();
    settingsReset = {};
    settingsItems.clear();
}

} // namespace corvane
