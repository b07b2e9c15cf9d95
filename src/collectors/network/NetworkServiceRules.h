#pragma once

#include "foundation/Value.h"

#include <string>
#include <utility>
#include <vector>

namespace corvane::network {

// The section's settings that its list of services bears on.
struct ServiceListSettings {
    Value filtering = Value::array(); // "FilteringNetwork": hidden service keys
    bool hiddenIBridge = false;       // "Network_HiddenIBridge"
    std::string primaryInterface;     // "Network_PrimaryInterface"
};

// What rebuilding the list of services (key, name) does to the settings: the first service
// named "ibridge" (any case) is hidden once, so that the user can show it again; a primary
// interface choice that is neither "PRIMARY", "ALL" nor a listed service goes back to "".
// Answers whether anything changed.
bool applyServiceList(ServiceListSettings& settings,
                      const std::vector<std::pair<std::string, std::string>>& services);

} // namespace corvane::network
