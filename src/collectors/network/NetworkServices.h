#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// The hardware word of a Wi-Fi service. The logic compares against this one constant.
inline constexpr const char* kWiFiHardware = "Wi-Fi";

// The working record of one service, read from the configuration store: its interface, state
// and setup, with the setup's values shown where the state has none.
struct ServiceRecord {
    std::string uuid, bsd, hardware, name, parentBSD;
    std::vector<std::string> ipv4, ipv6, subnet;
    std::string routerIPV4, routerIPV6;
    std::vector<std::string> dnsIPV4, dnsIPV6;
    bool dhcp = false, ppp = false, ipsec = false;
    double speed = 0, connectiontime = 0;
    std::optional<std::int64_t> connectionstatus; // unset: a 6to4 service without tunnel
};

// The configuration store as one dictionary from store key to entity:
//   "Setup:/Network/Global/IPv4"            "ServiceOrder" (array of service identifiers)
//   "State:/Network/Global/IPv4"            "PrimaryService", "PrimaryInterface", "Router"
//   "Setup:/Network/Service/<id>"           "UserDefinedName"
//   "Setup:/Network/Service/<id>/Interface" "DeviceName", "Hardware", "Type", "SubType"
//   "State:/Network/Service/<id>/IPv4"      "Addresses", "SubnetMasks", "Router", "InterfaceName"
//   "Setup:/Network/Service/<id>/IPv4"      the same and "ConfigMethod"
//   ".../IPv6", ".../DNS" ("ServerAddresses"), ".../PPP", "State:/Network/Interface/<bsd>/Link"
// Linux sources build it from NetworkManager or rtnetlink.
using NetworkStore = Value;

// The connection's own status of a PPP or VPN service, as {"IPSec": {"Status", "ConnectTime"},
// "PPP": {...}, "Modem": {"ConnectSpeed"}, "IPv4": {"InterfaceName"}}.
using ExtendedStatusReader = std::function<Value(const std::string& service)>;

namespace network {

// PPP states to connection status.
std::int64_t statusFromPPPStatus(std::int64_t status);
// VPN states (1-4 connecting, 5 up, 6 failed, 7 down) to connection status: one table.
std::int64_t statusFromVPNState(std::int64_t state);

// IPv6 addresses without the loopback; nothing when none remains.
std::optional<std::vector<std::string>> verifyIPV6Addresses(const std::vector<std::string>& list);
// Strings of an array value; anything else is skipped.
std::vector<std::string> strings(const Value& array);

// The records of the services in the store's order: services without an interface are
// skipped, and a service listed twice counts once. Nothing when the order is missing.
std::optional<std::vector<ServiceRecord>>
serviceRecords(const NetworkStore& store, const ExtendedStatusReader& extendedStatus,
               const std::map<std::string, std::string>& vlanMap);

// The store keys of a change that matter: those naming sleep proxies are dropped.
std::vector<std::string> relevantKeys(const std::vector<std::string>& keys);

} // namespace network
} // namespace corvane
