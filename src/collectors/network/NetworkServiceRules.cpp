#include "collectors/network/NetworkServiceRules.h"

#include <algorithm>
#include <cctype>

namespace corvane::network {

namespace {

std::string lowercased(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

bool applyServiceList(ServiceListSettings& settings,
                      const std::vector<std::pair<std::string, std::string>>& services) {
    bool changed = false;
    if (!settings.hiddenIBridge) {
        const auto bridge = std::find_if(services.begin(), services.end(), [](const auto& s) {
            return lowercased(s.second) == "ibridge";
        });
        if (bridge != services.end()) {
            if (!settings.filtering.isArray())
                settings.filtering = Value::array();
            settings.filtering.append(bridge->first);
            settings.hiddenIBridge = true;
            changed = true;
        }
    }
    const std::string& primary = settings.primaryInterface;
    const bool known = primary.empty() || primary == "PRIMARY" || primary == "ALL" ||
                       std::any_of(services.begin(), services.end(),
                                   [&](const auto& s) { return s.first == primary; });
    if (!known) {
        settings.primaryInterface.clear();
        changed = true;
    }
    return changed;
}

} // namespace corvane::network
