#include "collectors/network/RtnetlinkMessages.h"

#include "collectors/network/LinuxInterfaces.h"
#include "foundation/Identifiers.h"
#include "foundation/TextParsing.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <map>

namespace corvane::network {

namespace {

// The attributes of one message, each as its payload.
class Attributes {
public:
    Attributes(std::span<const std::uint8_t> bytes) {
        while (bytes.size() >= sizeof(rtattr)) {
            rtattr header;
            std::memcpy(&header, bytes.data(), sizeof header);
            if (header.rta_len < sizeof(rtattr) || header.rta_len > bytes.size())
                break;
            found_[header.rta_type] = bytes.subspan(RTA_LENGTH(0), header.rta_len - RTA_LENGTH(0));
            bytes = bytes.subspan(std::min<std::size_t>(RTA_ALIGN(header.rta_len), bytes.size()));
        }
    }
    std::span<const std::uint8_t> operator[](unsigned type) const {
        auto it = found_.find(type);
        return it == found_.end() ? std::span<const std::uint8_t>() : it->second;
    }
    std::string text(unsigned type) const {
        const auto bytes = (*this)[type];
        const auto end = std::find(bytes.begin(), bytes.end(), 0);
        return std::string(bytes.begin(), end);
    }
    std::optional<std::uint32_t> u32(unsigned type) const {
        const auto bytes = (*this)[type];
        if (bytes.size() < 4)
            return std::nullopt;
        std::uint32_t value;
        std::memcpy(&value, bytes.data(), 4);
        return value;
    }

private:
    std::map<unsigned, std::span<const std::uint8_t>> found_;
};

std::string addressText(int family, std::span<const std::uint8_t> bytes) {
    char text[INET6_ADDRSTRLEN] = {};
    const std::size_t size = family == AF_INET ? 4 : 16;
    if ((family != AF_INET && family != AF_INET6) || bytes.size() < size)
        return "";
    std::uint8_t raw[16];
    std::memcpy(raw, bytes.data(), size);
    return inet_ntop(family, raw, text, sizeof text) ? text : "";
}

std::string macText(std::span<const std::uint8_t> bytes) {
    if (bytes.size() != 6)
        return "";
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", bytes[0], bytes[1], bytes[2],
                  bytes[3], bytes[4], bytes[5]);
    return macAddress(text).value_or("");
}

template <class Body>
std::optional<Body> body(std::span<const std::uint8_t> payload) {
    if (payload.size() < sizeof(Body))
        return std::nullopt;
    Body value;
    std::memcpy(&value, payload.data(), sizeof value);
    return value;
}

void parseLink(std::span<const std::uint8_t> payload, bool removed, NetlinkDump& dump) {
    const auto info = body<ifinfomsg>(payload);
    if (!info)
        return;
    std::erase_if(dump.links, [&](const NetlinkLink& l) { return l.index == info->ifi_index; });
    if (removed)
        return;
    const Attributes attributes(payload.subspan(NLMSG_ALIGN(sizeof(ifinfomsg))));
    NetlinkLink link;
    link.index = info->ifi_index;
    link.flags = info->ifi_flags;
    link.type = info->ifi_type;
    link.name = attributes.text(IFLA_IFNAME);
    if (const auto carrier = attributes[IFLA_CARRIER]; !carrier.empty())
        link.carrier = carrier[0];
    link.parentIndex = static_cast<int>(attributes.u32(IFLA_LINK).value_or(0));
    link.mac = macText(attributes[IFLA_ADDRESS]);
    link.permanentMac = macText(attributes[IFLA_PERM_ADDRESS]);
    const Attributes linkInfo(attributes[IFLA_LINKINFO]);
    link.kind = linkInfo.text(IFLA_INFO_KIND);
    if (!link.name.empty())
        dump.links.push_back(std::move(link));
}

void parseAddress(std::span<const std::uint8_t> payload, bool removed, NetlinkDump& dump) {
    const auto info = body<ifaddrmsg>(payload);
    if (!info)
        return;
    const Attributes attributes(payload.subspan(NLMSG_ALIGN(sizeof(ifaddrmsg))));
    NetlinkAddress address;
    address.index = static_cast<int>(info->ifa_index);
    address.family = info->ifa_family;
    address.prefixLength = info->ifa_prefixlen;
    address.scope = info->ifa_scope;
    address.flags = attributes.u32(IFA_FLAGS).value_or(info->ifa_flags);
    // On a point-to-point link IFA_ADDRESS is the peer; IFA_LOCAL is ours.
    const auto local = attributes[IFA_LOCAL];
    address.address =
        addressText(info->ifa_family, local.empty() ? attributes[IFA_ADDRESS] : local);
    if (address.address.empty())
        return;
    std::erase_if(dump.addresses, [&](const NetlinkAddress& a) {
        return a.index == address.index && a.address == address.address;
    });
    if (!removed)
        dump.addresses.push_back(std::move(address));
}

void parseRoute(std::span<const std::uint8_t> payload, bool removed, NetlinkDump& dump) {
    const auto info = body<rtmsg>(payload);
    if (!info)
        return;
    const Attributes attributes(payload.subspan(NLMSG_ALIGN(sizeof(rtmsg))));
    NetlinkRoute route;
    route.family = info->rtm_family;
    route.destinationLength = info->rtm_dst_len;
    route.table = attributes.u32(RTA_TABLE).value_or(info->rtm_table);
    route.outputIndex = static_cast<int>(attributes.u32(RTA_OIF).value_or(0));
    route.priority = attributes.u32(RTA_PRIORITY).value_or(0);
    route.gateway = addressText(info->rtm_family, attributes[RTA_GATEWAY]);
    // Only default routes of the main table name routers and the primary interface.
    if (route.table != RT_TABLE_MAIN || route.destinationLength != 0 ||
        info->rtm_type != RTN_UNICAST)
        return;
    std::erase_if(dump.routes, [&](const NetlinkRoute& r) {
        return r.family == route.family && r.outputIndex == route.outputIndex &&
               r.priority == route.priority;
    });
    if (!removed)
        dump.routes.push_back(std::move(route));
}

} // namespace

void parseNetlinkMessages(std::span<const std::uint8_t> bytes, NetlinkDump& dump) {
    while (bytes.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, bytes.data(), sizeof header);
        if (header.nlmsg_len < sizeof(nlmsghdr) || header.nlmsg_len > bytes.size())
            return;
        const auto payload = bytes.subspan(NLMSG_HDRLEN, header.nlmsg_len - NLMSG_HDRLEN);
        switch (header.nlmsg_type) {
        case NLMSG_DONE:
            dump.done = true;
            break;
        case NLMSG_ERROR:
            if (const auto error = body<nlmsgerr>(payload); !error || error->error != 0)
                dump.error = true;
            break;
        case RTM_NEWLINK:
        case RTM_DELLINK:
            parseLink(payload, header.nlmsg_type == RTM_DELLINK, dump);
            break;
        case RTM_NEWADDR:
        case RTM_DELADDR:
            parseAddress(payload, header.nlmsg_type == RTM_DELADDR, dump);
            break;
        case RTM_NEWROUTE:
        case RTM_DELROUTE:
            parseRoute(payload, header.nlmsg_type == RTM_DELROUTE, dump);
            break;
        default:
            break;
        }
        bytes = bytes.subspan(std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), bytes.size()));
    }
}

std::string serviceKeyForLink(const NetlinkLink& link) {
    const std::string hex =
        md5Hex(link.permanentMac.empty() ? "name:" + link.name : "mac:" + link.permanentMac);
    std::string key;
    for (std::size_t i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20)
            key += '-';
        key += static_cast<char>(std::toupper(static_cast<unsigned char>(hex[i])));
    }
    return key;
}

std::vector<std::string> nameserversFromResolvConf(std::string_view text) {
    std::vector<std::string> servers;
    for (std::string_view line : splitLines(text)) {
        const auto fields = splitWhitespace(line);
        if (fields.size() >= 2 && fields[0] == "nameserver")
            servers.emplace_back(fields[1]);
    }
    return servers;
}

namespace {

std::string maskForPrefix(int prefix) {
    const std::uint32_t bits =
        prefix <= 0 ? 0 : (prefix >= 32 ? 0xffffffffu : ~((1u << (32 - prefix)) - 1));
    const std::uint32_t network = htonl(bits);
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &network, text, sizeof text);
    return text;
}

void setInterface(Value& store, const std::string& key, const NetlinkLink& link) {
    std::string hardware = "Ethernet";
    std::string type = "Ethernet";
    if (link.wireless)
        hardware = kWiFiHardware;
    else if (link.kind == "vlan")
        hardware = "VLAN";
    else if (link.kind == "bridge")
        hardware = "Bridge";
    else if (link.kind == "wireguard" || link.kind == "tun" || link.type == ARPHRD_NONE)
        hardware = "VPN";
    else if (link.type == ARPHRD_SIT)
        hardware = type = "6to4";
    store.set("Setup:/Network/Service/" + key + "/Interface",
              Value::dict({{"DeviceName", link.name}, {"Hardware", hardware}, {"Type", type}}));
}

// The default route of a family with the lowest metric per interface, and overall.
struct DefaultRoutes {
    std::map<int, const NetlinkRoute*> byInterface[2];
    const NetlinkRoute* best = nullptr;
};

DefaultRoutes defaultRoutes(const NetlinkDump& dump) {
    DefaultRoutes routes;
    for (const NetlinkRoute& route : dump.routes) {
        auto& map = routes.byInterface[route.family == AF_INET6 ? 1 : 0];
        auto& known = map[route.outputIndex];
        if (!known || route.priority < known->priority)
            known = &route;
        const bool better =
            !routes.best || (route.family == AF_INET && routes.best->family != AF_INET) ||
            (route.family == routes.best->family && route.priority < routes.best->priority);
        if (better)
            routes.best = &route;
    }
    return routes;
}

} // namespace

NetworkStore storeFromNetlink(const NetlinkDump& dump, const std::vector<std::string>& dns) {
    Value store = Value::dict();
    const DefaultRoutes routes = defaultRoutes(dump);
    std::vector<const NetlinkLink*> links;
    for (const NetlinkLink& link : dump.links) {
        if (!(link.flags & IFF_LOOPBACK))
            links.push_back(&link);
    }
    // Interfaces with a default route come first, by metric; the rest in index order.
    const auto metric = [&](const NetlinkLink* link) -> std::uint64_t {
        for (const auto& map : routes.byInterface) {
            if (auto found = map.find(link->index); found != map.end())
                return found->second->priority;
        }
        return std::uint64_t{1} << 40;
    };
    std::stable_sort(links.begin(), links.end(), [&](const NetlinkLink* a, const NetlinkLink* b) {
        return std::pair(metric(a), a->index) < std::pair(metric(b), b->index);
    });

    Value order = Value::array();
    std::string primaryKey;
    for (const NetlinkLink* link : links) {
        const std::string key = serviceKeyForLink(*link);
        order.append(key);
        setInterface(store, key, *link);
        const bool active = (link->flags & IFF_UP) && link->carrier != 0;
        store.set("State:/Network/Interface/" + link->name + "/Link",
                  Value::dict({{"Active", active}}));
        Value ipv4 = Value::dict(), ipv6 = Value::dict();
        bool dynamic = false;
        for (const NetlinkAddress& address : dump.addresses) {
            if (address.index != link->index)
                continue;
            if (address.family == AF_INET) {
                Value list = ipv4["Addresses"];
                list.append(address.address);
                ipv4.set("Addresses", list);
                Value masks = ipv4["SubnetMasks"];
                masks.append(maskForPrefix(address.prefixLength));
                ipv4.set("SubnetMasks", masks);
                dynamic = dynamic || !(address.flags & IFA_F_PERMANENT);
            } else {
                Value list = ipv6["Addresses"];
                list.append(address.address);
                ipv6.set("Addresses", list);
                ipv6.set("InterfaceName", link->name);
            }
        }
        for (int family = 0; family < 2; ++family) {
            if (auto found = routes.byInterface[family].find(link->index);
                found != routes.byInterface[family].end() && !found->second->gateway.empty())
                (family ? ipv6 : ipv4).set("Router", found->second->gateway);
        }
        if (!ipv4.empty())
            store.set("State:/Network/Service/" + key + "/IPv4", ipv4);
        if (!ipv6.empty())
            store.set("State:/Network/Service/" + key + "/IPv6", ipv6);
        store.set("Setup:/Network/Service/" + key + "/IPv4",
                  Value::dict({{"ConfigMethod", dynamic ? "DHCP" : "Manual"}}));
        if (routes.best && routes.best->outputIndex == link->index) {
            primaryKey = key;
            store.set("State:/Network/Global/IPv4",
                      Value::dict({{"PrimaryService", key},
                                   {"PrimaryInterface", link->name},
                                   {"Router", routes.best->gateway}}));
        }
    }
    if (!primaryKey.empty() && !dns.empty()) {
        Value servers = Value::array();
        for (const auto& server : dns)
            servers.append(server);
        store.set("State:/Network/Service/" + primaryKey + "/DNS",
                  Value::dict({{"ServerAddresses", servers}}));
    }
    store.set("Setup:/Network/Global/IPv4", Value::dict({{"ServiceOrder", order}}));
    return store;
}

} // namespace corvane::network
