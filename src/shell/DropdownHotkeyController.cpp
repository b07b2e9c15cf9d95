#include "shell/DropdownHotkeyController.h"

#include <memory>

namespace corvane {

namespace {
std::unique_ptr<DropdownHotkeyController>& instance() {
    static std::unique_ptr<DropdownHotkeyController> controller;
    return controller;
}
} // namespace

DropdownHotkeyController& DropdownHotkeyController::sharedHotkeyController() {
    if (!instance())
        instance() = std::make_unique<DropdownHotkeyController>();
    return *instance();
}

void DropdownHotkeyController::cleanup() {
    instance().reset();
}

} // namespace corvane
