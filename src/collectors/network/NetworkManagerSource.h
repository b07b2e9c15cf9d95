#pragma once

#include "collectors/network/NetworkManagerStore.h"
#include "collectors/network/NetworkStoreSource.h"
#include "foundation/GLibHandles.h"
#include "foundation/MainQueue.h"
#include "foundation/SysRoot.h"

#include <optional>

namespace corvane {

// The store from NetworkManager over D-Bus: its devices with their IP configurations and
// applied settings, the access point of Wi-Fi devices, and the VPN and WireGuard profiles.
// It is read when asked after a change and kept until the next `PropertiesChanged`. A call waits
// at most kTimeoutMs, and the first that times out ends the reading, the store read before staying:
// a daemon that hangs costs one slow call, not a stuck program.
class NetworkManagerSource final : public NetworkStoreSource {
public:
    static constexpr int kTimeoutMs = 500;

    // connection nullptr: the system bus; clock nullptr: the system clock.
    NetworkManagerSource(GDBusConnection* connection, SysRoot root, const Clock* clock = nullptr);
    ~NetworkManagerSource() override;
    NetworkManagerSource(const NetworkManagerSource&) = delete;
    NetworkManagerSource& operator=(const NetworkManagerSource&) = delete;

    // Whether NetworkManager owns its name on the bus (nullptr: the system bus).
    static bool running(GDBusConnection* connection);

    NetworkStore store() override;
    Value extendedStatus(const std::string& service) override;
    std::optional<NetworkStatCollector::WifiNetwork> wifiNetwork(const std::string& bsd) override;
    void watch(ChangeHandler changed) override;
    const char* name() const override { return "NetworkManager"; }

    // One reading of everything the store is made from.
    network::NetworkManagerSnapshot snapshot();

private:
    Value call(const std::string& path, const char* interface, const char* method,
               GVariant* parameters = nullptr);
    Value properties(const std::string& path, const char* interface);
    Value deviceEntry(const std::string& path);
    const network::NetworkManagerStore& current();

    GObjectRef<GDBusConnection> connection_;
    SysRoot root_;
    const Clock& clock_;
    std::optional<network::NetworkManagerStore> current_;
    // The reading under way met a call that timed out; the rest is not asked.
    bool failed_ = false;
    bool stale_ = true;
    ChangeHandler changed_;
    ConnectionId propertiesChanged_;
    ConnectionId stateChanged_;
    // NetworkManager announces one change on many objects at once: one reading for them all.
    guint pendingChange_ = 0;
};

} // namespace corvane
