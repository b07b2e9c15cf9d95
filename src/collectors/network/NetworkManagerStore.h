#pragma once

#include "collectors/network/NetworkServices.h"
#include "collectors/network/NetworkStatCollector.h"

#include <string>

namespace corvane::network {

// What NetworkManager told in one reading, as dictionaries of its own property names:
//   "primary"   path of PrimaryConnection
//   "devices"   [{"path", "device": Device props, "ip4": IP4Config props, "ip6": IP6Config
//               props, "applied": GetAppliedConnection settings, "permanent": PermHwAddress,
//               "accessPoint": AccessPoint props}]
//   "profiles"  [GetSettings of each VPN and WireGuard profile]
//   "active"    [{"path", "active": Connection.Active props, "vpnState": VpnState}]
//   "uptime", "now"  seconds, to turn activation times into the uptime-based connect time
// The reader fills it over D-Bus; the mapping below is platform-free.
using NetworkManagerSnapshot = Value;

// NetworkManager's device types in hardware words; "" for those that carry no service.
std::string hardwareForDeviceType(std::int64_t type);
// VPN and WireGuard profiles: their connection status from the active connection.
std::int64_t vpnStateForActive(const Value& active, std::int64_t vpnState);

// The store, with each device a service (keyed by its permanent address, else its name) and
// each VPN or WireGuard profile a service of its own, listed while down; and the connections'
// own status by service.
struct NetworkManagerStore {
    NetworkStore store;
    std::map<std::string, Value> extendedStatus;
    std::map<std::string, NetworkStatCollector::WifiNetwork> wifi; // by interface
};
NetworkManagerStore storeFromNetworkManager(const NetworkManagerSnapshot& snapshot);

} // namespace corvane::network
