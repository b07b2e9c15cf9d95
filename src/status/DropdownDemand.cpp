#include "status/DropdownDemand.h"

namespace corvane {

void DropdownDemand::asked(const std::string& id, double now) {
    Look& look = looks_[id];
    look.since = now;
}

void DropdownDemand::opened(const std::string& id, double now) {
    looks_[id] = {now, true};
}

void DropdownDemand::closed(const std::string& id) {
    looks_.erase(id);
}

bool DropdownDemand::wanted(std::string_view id, double now) const {
    if (always_)
        return true;
    const auto look = looks_.find(std::string(id));
    if (look == looks_.end())
        return false;
    const double age = now - look->second.since;
    return age < (look->second.open ? kOpenAtMost : kAskKeepsLive);
}

} // namespace corvane
