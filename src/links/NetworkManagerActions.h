#pragma once

#include "foundation/GLibHandles.h"
#include "links/DaemonService.h"

#include <optional>
#include <string>

namespace corvane {

// The daemon's network messages, carried out by NetworkManager once polkit said yes:
// "refreshDHCP" activates the interface's connection again, which renews its lease;
// "toggleAirPortPower" switches the Wi-Fi radio over; "setNetworkSet" answers neutrally, as
// there are no network locations to choose here. The other messages go to `next`.
// Calls wait at most `kTimeoutMilliseconds`, so a stuck NetworkManager cannot hold the daemon.
class NetworkManagerActions final : public PrivilegedActions {
public:
    static constexpr int kTimeoutMilliseconds = 2000;

    // `bus` is where NetworkManager is: the system bus, or a test's.
    NetworkManagerActions(GDBusConnection* bus, PrivilegedActions& next);
    Value perform(const std::string& message, const Value& argument) override;

private:
    void refreshDHCP(const std::string& interface);
    void toggleRadio();
    // The call's reply, or nothing with a log line naming `what`.
    VariantRef call(const char* path, const char* interface, const char* method,
                    GVariant* parameters, const char* replyType, const std::string& what);
    std::optional<std::string> objectProperty(const char* path, const char* interface,
                                              const char* name, const std::string& what);

    GObjectRef<GDBusConnection> bus_;
    PrivilegedActions& next_;
};

} // namespace corvane
