#include "collectors/network/NetworkAddressDisplay.h"

#include <arpa/inet.h>
#include <bit>
#include <linux/if_addr.h>
#include <optional>

namespace corvane {

namespace {

// The kernel's scope bits as /proc/net/if_inet6 prints them (IPV6_ADDR_LOOPBACK and
// IPV6_ADDR_LINKLOCAL, which are not part of the kernel's user headers).
constexpr unsigned kHostScope = 0x10;
constexpr unsigned kLinkScope = 0x20;

constexpr const char* kKindLabels[] = {"IPv6 (Secured)", "IPv6 (Dynamic)", "IPv6 (Temporary)",
                                       "IPv6 (Other)"};

std::optional<in6_addr> parsedIPv6(std::string_view text) {
    const std::string address(text.substr(0, text.find('%')));
    in6_addr parsed{};
    if (inet_pton(AF_INET6, address.c_str(), &parsed) != 1)
        return std::nullopt;
    return parsed;
}

// The length of a dotted subnet mask, or none for text that is not a contiguous mask.
std::optional<int> prefixOfMask(const std::string& mask) {
    in_addr parsed{};
    if (inet_pton(AF_INET, mask.c_str(), &parsed) != 1)
        return std::nullopt;
    const std::uint32_t bits = ntohl(parsed.s_addr);
    const int ones = std::popcount(bits);
    if (ones != 32 && (bits << ones) != 0)
        return std::nullopt;
    return ones;
}

bool settingFlag(const Value& value, bool fallback) {
    return value.isNull() ? fallback : value.boolValue();
}

} // namespace

IPv6AddressFacts ipv6AddressFacts(const Value& flagsByAddress, std::string_view address) {
    const auto parsed = parsedIPv6(address);
    char canonical[INET6_ADDRSTRLEN] = {};
    if (!parsed || !inet_ntop(AF_INET6, &*parsed, canonical, sizeof canonical))
        return {};
    const Value* found = flagsByAddress.isDictionary() ? flagsByAddress.find(canonical) : nullptr;
    if (!found)
        return {};
    const Value& prefix = (*found)["prefix"];
    return {true, static_cast<unsigned>((*found)["flags"].integerValue()),
            static_cast<unsigned>((*found)["scope"].integerValue()),
            prefix.isNull() ? -1 : static_cast<int>(prefix.integerValue())};
}

IPv6AddressKind ipv6AddressKind(std::string_view address, const IPv6AddressFacts& facts) {
    const auto parsed = parsedIPv6(address);
    if (!parsed || !facts.known)
        return IPv6AddressKind::Other;
    if (facts.flags & IFA_F_TEMPORARY)
        return IPv6AddressKind::Temporary;
    // Permanent addresses are the ones given without a lifetime: static setups and the
    // kernel's own link-local addresses.
    if ((facts.flags & IFA_F_PERMANENT) || (facts.scope & (kHostScope | kLinkScope)) ||
        IN6_IS_ADDR_LINKLOCAL(&*parsed) || IN6_IS_ADDR_LOOPBACK(&*parsed))
        return IPv6AddressKind::Other;
    if (facts.prefix == 128)
        return IPv6AddressKind::Dynamic;
    const bool fromHardwareAddress = parsed->s6_addr[11] == 0xff && parsed->s6_addr[12] == 0xfe;
    return fromHardwareAddress ? IPv6AddressKind::Dynamic : IPv6AddressKind::Secured;
}

bool isDeprecated(const IPv6AddressFacts& facts) {
    return facts.known && (facts.flags & IFA_F_DEPRECATED);
}

NetworkAddressDisplay
NetworkAddressDisplay::fromSettings(const std::function<Value(std::string_view key)>& setting) {
    NetworkAddressDisplay display;
    display.ipv4Mode =
        setting("Network_IPV4AddressMode").integerValue() == 1 ? AddressWithPrefix : Address;
    display.ipv6Mode =
        setting("Network_IPV6AddressMode").integerValue() == 1 ? AddressWithPrefix : Address;
    display.groupIPv6 = settingFlag(setting("Network_IPV6Group"), false);
    display.showDeprecated = settingFlag(setting("Network_IPV6ShowDeprecated"), false);
    const char* kinds[] = {"Network_IPV6ShowSecured", "Network_IPV6ShowDynamic",
                           "Network_IPV6ShowTemporary", "Network_IPV6ShowOther"};
    for (std::size_t i = 0; i < display.showKind.size(); ++i)
        display.showKind[i] = settingFlag(setting(kinds[i]), true);
    return display;
}

std::vector<NetworkAddressDisplay::Line>
NetworkAddressDisplay::lines(const Value& service, const Value& ipv6Flags) const {
    std::vector<Line> lines;
    Line ipv4{"IPv4", {}};
    bool everyPrefixKnown = true;
    for (std::size_t i = 0; i < service["ipv4"].size(); ++i) {
        std::string address = service["ipv4"][i].stringValue();
        const auto prefix = i < service["subnet"].size()
                                ? prefixOfMask(service["subnet"][i].stringValue())
                                : std::nullopt;
        everyPrefixKnown = everyPrefixKnown && prefix;
        if (ipv4Mode == AddressWithPrefix && prefix)
            address += "/" + std::to_string(*prefix);
        ipv4.addresses.push_back(std::move(address));
    }
    if (!ipv4.addresses.empty())
        lines.push_back(std::move(ipv4));
    // A static setup can give masks without an address, so the masks are their own line
    // unless each address carries its prefix.
    if (!service["subnet"].empty() &&
        !(ipv4Mode == AddressWithPrefix && everyPrefixKnown && !service["ipv4"].empty())) {
        Line masks{"Subnet Mask", {}};
        for (const Value& mask : service["subnet"].arrayItems())
            masks.addresses.push_back(mask.stringValue());
        lines.push_back(std::move(masks));
    }
    std::array<Line, 4> kinds;
    for (const Value& entry : service["ipv6"].arrayItems()) {
        const std::string address = entry.stringValue();
        const auto facts = ipv6AddressFacts(ipv6Flags, address);
        const auto kind = static_cast<std::size_t>(ipv6AddressKind(address, facts));
        if (!showKind[kind] || (isDeprecated(facts) && !showDeprecated))
            continue;
        const bool withPrefix = ipv6Mode == AddressWithPrefix && facts.prefix >= 0;
        kinds[groupIPv6 ? kind : 0].addresses.push_back(
            withPrefix ? address + "/" + std::to_string(facts.prefix) : address);
    }
    for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
        if (kinds[kind].addresses.empty())
            continue;
        kinds[kind].label = groupIPv6 ? kKindLabels[kind] : "IPv6";
        lines.push_back(std::move(kinds[kind]));
    }
    return lines;
}

} // namespace corvane
