#include "shell/NotificationsController.h"

#include "preferences/CVBPreferences.h"
#include "preferences/SectionNotifications.h"

namespace corvane {

namespace {
constexpr const char* kEnabledKey = "Notifications-Enabled";
}

void NotificationsController::toggle(const SectionSwitch& sender) {
    CVBSetBoolForKey(sender.on, kEnabledKey);
    postDistributed(notificationForKey(kEnabledKey));
}

void NotificationsController::checkState() {
    showSwitchState(CVBBoolForKey(kEnabledKey));
}

} // namespace corvane
