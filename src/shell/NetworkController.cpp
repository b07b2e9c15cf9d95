#include "shell/NetworkController.h"

#include "collectors/network/NetworkServiceRules.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

namespace corvane {

bool NetworkController::servicesRebuilt(
    const std::vector<std::pair<std::string, std::string>>& services) {
    network::ServiceListSettings settings{
        CVBObjectForKey("FilteringNetwork"), CVBBoolForKey("Network_HiddenIBridge"),
        CVBObjectForKey("Network_PrimaryInterface").stringValue()};
    if (!network::applyServiceList(settings, services))
        return true;
    CVBSetObjectForKey(settings.filtering, "FilteringNetwork");
    CVBSetBoolForKey(settings.hiddenIBridge, "Network_HiddenIBridge");
    CVBSetObjectForKey(Value(settings.primaryInterface), "Network_PrimaryInterface");
    if (!CVBPreferences::sharedPreferences().synchronize()) {
        CVBLog("Network: the list of services changed the settings, which cannot be written");
        return false;
    }
    postDistributed("CorvaneBarNetworkPreferencesChanged");
    return true;
}

} // namespace corvane
