#pragma once

#include "collectors/network/NetworkStatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::network {

// One line of /proc/net/dev: the interface and its 64-bit byte counters.
struct NetDevLine {
    std::string name;
    std::uint64_t received = 0, sent = 0;
};
// The lines of /proc/net/dev; malformed lines are skipped.
std::vector<NetDevLine> parseNetDev(std::string_view text);

// /proc/net/if_inet6 as address text to {"flags", "scope", "prefix"}; malformed lines are skipped.
std::map<std::string, Value> parseIfInet6(std::string_view text);
// /proc/net/vlan/config as VLAN interface to parent; the two header lines are skipped.
std::map<std::string, std::string> parseVlanConfig(std::string_view text);
// "aa:bb:cc:dd:ee:ff" as "AA:BB:CC:DD:EE:FF"; nothing for other text and for all zeros.
std::optional<std::string> macAddress(std::string_view text);

// The byte counters of every interface, with its up and loopback flags, from /proc/net/dev and
// /sys/class/net/X/flags, all kept open between reads.
class NetDevReader {
public:
    explicit NetDevReader(SysRoot root);
    std::optional<std::vector<NetworkStatCollector::InterfaceCounters>> read();

private:
    SysRoot root_;
    SysRootFile netDev_;
    std::map<std::string, std::unique_ptr<SysRootFile>, std::less<>> flags_;
};

// MAC addresses, link speeds, duplex, VLAN parents and IPv6 address flags of the interfaces.
NetworkStatCollector::InterfaceFacts readInterfaceFacts(const SysRoot& root);

} // namespace corvane::network
