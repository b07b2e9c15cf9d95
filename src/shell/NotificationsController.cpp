#include "shell/NotificationsController.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "preferences/SectionNotifications.h"

namespace corvane {

namespace {
constexpr const char* kEnabledKey = "Notifications-Enabled";
}

bool NotificationsController::toggle(const SectionSwitch& sender) {
    if (!storeUnlessStored(CVBPreferences::sharedPreferences(), kEnabledKey, Value(sender.on))) {
        CVBLog("The notification rules could not be switched %s; the settings cannot be written",
               sender.on ? "on" : "off");
        checkState();
        return false;
    }
    postDistributed(notificationForKey(kEnabledKey));
    return true;
}

void NotificationsController::checkState() {
    showSwitchState(CVBBoolForKey(kEnabledKey));
}

} // namespace corvane
