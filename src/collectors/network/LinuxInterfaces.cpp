#include "collectors/network/LinuxInterfaces.h"

#include "foundation/TextParsing.h"

#include <arpa/inet.h>
#include <cctype>
#include <charconv>
#include <cstdio>

namespace corvane::network {

std::vector<NetDevLine> parseNetDev(std::string_view text) {
    std::vector<NetDevLine> lines;
    for (std::string_view line : splitLines(text)) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        const auto fields = splitWhitespace(line.substr(colon + 1));
        const auto name = trimmed(line.substr(0, colon));
        // Received bytes come first, sent bytes are the ninth field.
        if (fields.size() < 9 || name.empty() || name.find('|') != std::string_view::npos)
            continue;
        const auto received = parseUnsigned(fields[0]);
        const auto sent = parseUnsigned(fields[8]);
        if (!received || !sent)
            continue;
        lines.push_back({std::string(name), *received, *sent});
    }
    return lines;
}

namespace {

std::optional<std::uint8_t> hexByte(std::string_view two) {
    unsigned value = 0;
    for (char c : two) {
        value <<= 4;
        if (c >= '0' && c <= '9')
            value |= static_cast<unsigned>(c - '0');
        else if (c >= 'a' && c <= 'f')
            value |= static_cast<unsigned>(c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            value |= static_cast<unsigned>(c - 'A' + 10);
        else
            return std::nullopt;
    }
    return static_cast<std::uint8_t>(value);
}

// sysfs writes interface flags as "0x1003".
std::uint64_t hexFlags(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with("0x"))
        text.remove_prefix(2);
    std::uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return value;
}

} // namespace

std::map<std::string, Value> parseIfInet6(std::string_view text) {
    std::map<std::string, Value> flags;
    for (std::string_view line : splitLines(text)) {
        const auto fields = splitWhitespace(line);
        if (fields.size() < 6 || fields[0].size() != 32)
            continue;
        in6_addr address{};
        bool valid = true;
        for (std::size_t i = 0; i < 16 && valid; ++i) {
            const auto byte = hexByte(fields[0].substr(i * 2, 2));
            valid = byte.has_value();
            address.s6_addr[i] = byte.value_or(0);
        }
        const auto prefix = fields[2].size() <= 2 ? hexByte(fields[2]) : std::nullopt;
        const auto scope = fields[3].size() <= 2 ? hexByte(fields[3]) : std::nullopt;
        const auto flag = fields[4].size() <= 2 ? hexByte(fields[4]) : std::nullopt;
        char textForm[INET6_ADDRSTRLEN] = {};
        if (!valid || !prefix || !scope || !flag ||
            !inet_ntop(AF_INET6, &address, textForm, sizeof textForm))
            continue;
        flags[textForm] = Value::dict({{"flags", *flag}, {"scope", *scope}, {"prefix", *prefix}});
    }
    return flags;
}

std::map<std::string, std::string> parseVlanConfig(std::string_view text) {
    std::map<std::string, std::string> parents;
    for (std::string_view line : splitLines(text)) {
        std::vector<std::string_view> fields;
        std::size_t start = 0;
        for (std::size_t bar = line.find('|'); bar != std::string_view::npos;
             bar = line.find('|', start)) {
            fields.push_back(trimmed(line.substr(start, bar - start)));
            start = bar + 1;
        }
        fields.push_back(trimmed(line.substr(start)));
        if (fields.size() == 3 && !fields[0].empty() && !fields[2].empty() &&
            parseUnsigned(fields[1]))
            parents[std::string(fields[0])] = std::string(fields[2]);
    }
    return parents;
}

std::optional<std::string> macAddress(std::string_view text) {
    text = trimmed(text);
    if (text.size() != 17)
        return std::nullopt;
    std::string result;
    bool allZero = true;
    for (std::size_t i = 0; i < 6; ++i) {
        if (i > 0 && text[i * 3 - 1] != ':')
            return std::nullopt;
        const auto byte = hexByte(text.substr(i * 3, 2));
        if (!byte)
            return std::nullopt;
        allZero = allZero && *byte == 0;
        char pair[4];
        std::snprintf(pair, sizeof pair, i ? ":%02X" : "%02X", *byte);
        result += pair;
    }
    if (allZero)
        return std::nullopt;
    return result;
}

NetDevReader::NetDevReader(SysRoot root)
    : root_(std::move(root))
    , netDev_(root_, "/proc/net/dev") {}

std::optional<std::vector<NetworkStatCollector::InterfaceCounters>> NetDevReader::read() {
    const auto text = netDev_.read();
    if (!text)
        return std::nullopt;
    std::vector<NetworkStatCollector::InterfaceCounters> result;
    for (NetDevLine& line : parseNetDev(*text)) {
        auto flagsFile = flags_.find(line.name);
        if (flagsFile == flags_.end())
            flagsFile =
                flags_
                    .emplace(line.name, std::make_unique<SysRootFile>(
                                            root_, "/sys/class/net/" + line.name + "/flags"))
                    .first;
        const auto flagsText = flagsFile->second->read();
        const std::uint64_t flags = flagsText ? hexFlags(*flagsText) : 0;
        // IFF_UP and IFF_LOOPBACK.
        result.push_back({std::move(line.name), (flags & 0x1) != 0, (flags & 0x8) != 0,
                          line.received, line.sent});
    }
    return result;
}

NetworkStatCollector::InterfaceFacts readInterfaceFacts(const SysRoot& root) {
    NetworkStatCollector::InterfaceFacts facts;
    if (auto vlans = root.readFile("/proc/net/vlan/config"))
        facts.vlanMap = parseVlanConfig(*vlans);
    for (const std::string& name : root.list("/sys/class/net")) {
        const std::string dir = "/sys/class/net/" + name + "/";
        if (auto address = root.readAttribute(dir + "address"))
            if (auto mac = macAddress(*address))
                facts.macs[name] = *mac;
        // The kernel answers -1 or refuses the read while the link is down.
        const auto speed = root.readInteger(dir + "speed");
        facts.linkSpeeds[name] = speed && *speed > 0 ? static_cast<double>(*speed) : 0.0;
        if (auto duplex = root.readAttribute(dir + "duplex"))
            facts.mediaOptions[name] = Value::dict({{"duplex", *duplex}});
        // Without the 8021q proc file a VLAN still names its parent as its lower device.
        const bool vlan = root.readFile(dir + "uevent", 4096).value_or("").find("DEVTYPE=vlan") !=
                          std::string::npos;
        for (const std::string& entry : root.list(dir)) {
            if (vlan && entry.starts_with("lower_") && !facts.vlanMap.contains(name))
                facts.vlanMap[name] = entry.substr(6);
        }
    }
    if (auto inet6 = root.readFile("/proc/net/if_inet6"))
        facts.ipv6AddressFlags = parseIfInet6(*inet6);
    return facts;
}

} // namespace corvane::network
