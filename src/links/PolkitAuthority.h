#pragma once

#include "foundation/GLibHandles.h"

#include <functional>
#include <string>

namespace corvane {

// Asks the polkit authority on the daemon's bus whether a caller, named by its unique bus
// name, may do an action. The authority may ask the user, so the answer comes later, on the
// main context; anything but a clear yes (no authority, an error, a dismissed dialog) is no.
class PolkitAuthority {
public:
    static constexpr const char* kBusName = "org.freedesktop.PolicyKit1";
    static constexpr const char* kObjectPath = "/org/freedesktop/PolicyKit1/Authority";
    static constexpr const char* kInterface = "org.freedesktop.PolicyKit1.Authority";

    explicit PolkitAuthority(GDBusConnection* connection);

    void check(const std::string& caller, const std::string& action,
               std::function<void(bool allowed)> done) const;

private:
    GObjectRef<GDBusConnection> connection_;
};

} // namespace corvane
