#pragma once

#include "collectors/network/NetworkStatCollector.h"

#include <string>

namespace corvane {

// What `corvanebar net` and `corvanebar status` show of the network services.
class NetworkStatus {
public:
    explicit NetworkStatus(const NetworkStatCollector& network)
        : network_(network) {}

    // {"status", "primaryInterface", "services": [{"service", "name", "interface", "hardware",
    // "status", "primary", "dhcp", "ipv4", "subnet", "ipv6", "routerIPV4", "routerIPV6",
    // "dnsIPV4", "dnsIPV6", "mac", "parent", "linkSpeed", "download", "upload"}]}, rates in
    // bytes per second from the newest sample.
    Value dictionary() const;
    // A block a service: its name, interface and state, then addresses, router, DNS, link and
    // rates, a line each.
    std::string text() const;
    // One line of every service with an interface: "eth0 down 1.2 KB/s up 0 B/s  ...".
    std::string ratesLine() const;

    static const char* statusName(std::int64_t connectionstatus);
    // Bytes a second in B/s, KB/s, MB/s or GB/s of 1024.
    static std::string rateText(double bytesPerSecond);

private:
    Value serviceDictionary(const NetworkStatCollectorItem& item) const;

    const NetworkStatCollector& network_;
};

} // namespace corvane
