#pragma once

#include "collectors/network/NetworkServices.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace corvane::network {

// What rtnetlink tells of the links, addresses and routes, parsed from the kernel's messages.
struct NetlinkLink {
    int index = 0;
    std::string name;
    std::uint32_t flags = 0; // IFF_*
    std::uint16_t type = 0;  // ARPHRD_*
    std::string kind;        // "vlan", "bridge", "wireguard", ... from the link info
    int carrier = -1;        // -1 unknown
    int parentIndex = 0;     // a VLAN's lower link
    std::string mac;         // "AA:BB:..."
    std::string permanentMac;
    bool wireless = false; // told by the caller, rtnetlink does not say
};
struct NetlinkAddress {
    int index = 0;
    int family = 0;
    int prefixLength = 0;
    int scope = 0;
    std::uint32_t flags = 0; // IFA_F_*
    std::string address;
};
struct NetlinkRoute {
    int family = 0;
    int destinationLength = 0;
    std::uint32_t table = 0;
    int outputIndex = 0;
    std::uint32_t priority = 0;
    std::string gateway;
};
struct NetlinkDump {
    std::vector<NetlinkLink> links;
    std::vector<NetlinkAddress> addresses;
    std::vector<NetlinkRoute> routes;
    bool done = false;  // the end of a dump was seen
    bool error = false; // the kernel answered an error
};

// Adds what the messages in `bytes` tell to `dump`; a truncated or malformed message ends the
// parse, what came before it stays. RTM_DEL* messages remove their entry.
void parseNetlinkMessages(std::span<const std::uint8_t> bytes, NetlinkDump& dump);

// A service identifier that stays across reboots: formed from the permanent MAC address, else
// from the interface name.
std::string serviceKeyForLink(const NetlinkLink& link);

// "/etc/resolv.conf" or resolved's file: the "nameserver" addresses in order.
std::vector<std::string> nameserversFromResolvConf(std::string_view text);

// The store as NetworkManager would fill it, from rtnetlink alone: one service per link except
// the loopback, default routes giving the order and the primary service, DNS for the primary.
NetworkStore storeFromNetlink(const NetlinkDump& dump, const std::vector<std::string>& dns);

} // namespace corvane::network
