#include "collectors/network/NetworkStatus.h"

#include <cstdio>

namespace corvane {

namespace {

Value strings(const std::vector<std::string>& list) {
    Value array = Value::array();
    for (const auto& text : list)
        array.append(text);
    return array;
}

std::string joined(const std::vector<std::string>& list) {
    std::string text;
    for (const auto& item : list)
        text += (text.empty() ? "" : " ") + item;
    return text.empty() ? "-" : text;
}

} // namespace

const char* NetworkStatus::statusName(std::int64_t connectionstatus) {
    switch (connectionstatus) {
    case NetworkStatCollectorItem::kConnected:
        return "connected";
    case 0:
        return "down";
    case 4:
        return "disconnecting";
    case 1:
    case 2:
    case 3:
        return "connecting";
    default:
        return "unknown";
    }
}

std::string NetworkStatus::rateText(double bytesPerSecond) {
    static constexpr const char* kUnits[] = {"B/s", "KB/s", "MB/s", "GB/s"};
    int unit = 0;
    // Up a unit where the rounded figure would read 1024 or more.
    while (unit < 3 && bytesPerSecond >= (unit == 0 ? 1023.5 : 1023.95)) {
        bytesPerSecond /= 1024;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit ? "%.1f %s" : "%.0f %s", bytesPerSecond, kUnits[unit]);
    return text;
}

Value NetworkStatus::serviceDictionary(const NetworkStatCollectorItem& s) const {
    const statsample newest = s.sampleAtIndex(0, 0);
    const bool rated = newest.values && newest.sampleID != 0 && !newest.empty;
    return Value::dict(
        {{"service", s.service},
         {"name", s.name},
         {"interface", s.bsd},
         {"hardware", s.hardware},
         {"status", s.connectionstatus},
         {"primary", !s.bsd.empty() && s.bsd == network_.primaryInterface()},
         {"dhcp", s.dhcp},
         {"ipv4", strings(s.ipv4)},
         {"subnet", strings(s.subnet)},
         {"ipv6", strings(s.ipv6)},
         {"routerIPV4", s.routerIPV4},
         {"routerIPV6", s.routerIPV6},
         {"dnsIPV4", strings(s.dnsIPV4)},
         {"dnsIPV6", strings(s.dnsIPV6)},
         {"mac", s.mac},
         {"parent", s.parentBSD},
         {"linkSpeed", s.linkSpeed},
         {"download", rated ? newest.values[NetworkStatCollectorItem::Download] : 0.0},
         {"upload", rated ? newest.values[NetworkStatCollectorItem::Upload] : 0.0}});
}

Value NetworkStatus::dictionary() const {
    Value services = Value::array();
    for (const auto& item : network_.services())
        services.append(serviceDictionary(*item));
    return Value::dict({{"status", network_.networkStatusValue()},
                        {"primaryInterface", network_.primaryInterface()},
                        {"services", services}});
}

std::string NetworkStatus::text() const {
    const auto services = network_.services();
    if (services.empty())
        return "Network   no services\n";
    std::string out;
    for (const auto& item : services) {
        const Value s = serviceDictionary(*item);
        out += "Network   " + item->name + "  " + (item->bsd.empty() ? "-" : item->bsd) + "  " +
               statusName(item->connectionstatus) + (s["primary"].boolValue() ? "  primary" : "") +
               "\n";
        out += "  IPv4     " + joined(item->ipv4) +
               (item->subnet.empty() ? "" : "  mask " + joined(item->subnet)) +
               (item->dhcp ? "  (DHCP)" : "") + "\n";
        out += "  IPv6     " + joined(item->ipv6) + "\n";
        out += "  Router   " + (item->routerIPV4.empty() ? std::string("-") : item->routerIPV4) +
               (item->routerIPV6.empty() ? "" : " " + item->routerIPV6) + "\n";
        std::vector<std::string> dns = item->dnsIPV4;
        dns.insert(dns.end(), item->dnsIPV6.begin(), item->dnsIPV6.end());
        out += "  DNS      " + joined(dns) + "\n";
        out += "  MAC      " + (item->mac.empty() ? std::string("-") : item->mac);
        if (item->linkSpeed > 0) {
            char speed[32];
            std::snprintf(speed, sizeof speed, "  %.0f Mb/s", item->linkSpeed);
            out += speed;
        }
        if (!item->parentBSD.empty())
            out += "  on " + item->parentBSD;
        out += "\n  Rates    down " + rateText(s["download"].doubleValue()) + "  up " +
               rateText(s["upload"].doubleValue()) + "\n";
    }
    return out;
}

std::string NetworkStatus::ratesLine() const {
    std::string line;
    for (const auto& item : network_.services()) {
        if (item->bsd.empty())
            continue;
        const Value s = serviceDictionary(*item);
        line += (line.empty() ? "" : "  ") + item->bsd + " down " +
                rateText(s["download"].doubleValue()) + " up " +
                rateText(s["upload"].doubleValue());
    }
    return line;
}

} // namespace corvane
