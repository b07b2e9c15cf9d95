#pragma once

#include "foundation/Value.h"

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// What an IPv6 address is to the user. Linux tells these apart only by the low byte of the
// address flags that /proc/net/if_inet6 shows, the scope and the prefix length:
// - Temporary: a privacy address (IFA_F_TEMPORARY).
// - Secured: an autoconfigured address whose interface identifier is stable but not made from
//   the hardware address (stable privacy addresses).
// - Dynamic: any other address with a lifetime: one made from the hardware address (EUI-64),
//   or a DHCPv6 lease (a single /128).
// - Other: link-local, loopback, statically configured (permanent) and unknown addresses.
enum class IPv6AddressKind { Secured, Dynamic, Temporary, Other };

struct IPv6AddressFacts {
    bool known = false;
    unsigned flags = 0;
    unsigned scope = 0;
    int prefix = -1;
};

// The facts the collector recorded for an address, looked up by its canonical text form.
IPv6AddressFacts ipv6AddressFacts(const Value& flagsByAddress, std::string_view address);
IPv6AddressKind ipv6AddressKind(std::string_view address, const IPv6AddressFacts& facts);
bool isDeprecated(const IPv6AddressFacts& facts);

// Which addresses of a service the dropdown shows, and how, by the "Network_IPV4AddressMode",
// "Network_IPV6AddressMode", "Network_IPV6Group" and "Network_IPV6Show…" settings.
struct NetworkAddressDisplay {
    // The two address modes: 0 the bare address, 1 the address with its prefix length, which
    // stands in for the subnet mask row.
    enum Mode { Address = 0, AddressWithPrefix = 1 };

    int ipv4Mode = Address;
    int ipv6Mode = Address;
    bool groupIPv6 = false;
    bool showDeprecated = false;
    std::array<bool, 4> showKind{true, true, true, true}; // by IPv6AddressKind

    static NetworkAddressDisplay
    fromSettings(const std::function<Value(std::string_view key)>& setting);

    struct Line {
        std::string label; // "IPv4", "Subnet Mask", "IPv6", or "IPv6 (Secured)" and so on
        std::vector<std::string> addresses;
    };
    // The address lines of one service of `NetworkStatus::dictionary()`; lines without an
    // address are left out.
    std::vector<Line> lines(const Value& service, const Value& ipv6Flags) const;
};

} // namespace corvane
