#include "collectors/network/NetworkManagerStore.h"

#include "foundation/Identifiers.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <sys/socket.h>

namespace corvane::network {

namespace {

// NetworkManager's device states and types that matter here.
constexpr std::int64_t kActivated = 100;
constexpr std::int64_t kLoopback = 32;
constexpr std::int64_t kWireGuard = 29;
// Active connection states.
constexpr std::int64_t kActiveActivating = 1, kActiveActivated = 2, kActiveDeactivating = 3;

std::string keyFrom(const std::string& seed) {
    const std::string hex = md5Hex(seed);
    std::string key;
    for (std::size_t i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20)
            key += '-';
        key += static_cast<char>(std::toupper(static_cast<unsigned char>(hex[i])));
    }
    return key;
}

std::string maskForPrefix(std::int64_t prefix) {
    const std::uint32_t bits =
        prefix <= 0 ? 0 : (prefix >= 32 ? 0xffffffffu : ~((1u << (32 - prefix)) - 1));
    const std::uint32_t network = htonl(bits);
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &network, text, sizeof text);
    return text;
}

std::string ipv4FromNumber(std::int64_t number) {
    // Settings keep IPv4 DNS servers as numbers in network order.
    const auto raw = static_cast<std::uint32_t>(number);
    char text[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &raw, text, sizeof text);
    return text;
}

std::string ipv6FromBytes(const Value& bytes) {
    if (!bytes.isData() || bytes.data().size() != 16)
        return "";
    char text[INET6_ADDRSTRLEN] = {};
    return inet_ntop(AF_INET6, bytes.data().data(), text, sizeof text) ? text : "";
}

Value addresses(const Value& addressData) {
    Value list = Value::array();
    for (const Value& entry : addressData.arrayItems())
        if (entry["address"].isString())
            list.append(entry["address"]);
    return list;
}

Value masks(const Value& addressData) {
    Value list = Value::array();
    for (const Value& entry : addressData.arrayItems())
        list.append(maskForPrefix(entry["prefix"].integerValue()));
    return list;
}

// A state entity of IPv4 or IPv6 from an IPnConfig object.
Value stateEntity(const Value& config, bool v6, const std::string& interface) {
    Value entity = Value::dict();
    if (!config.isDictionary())
        return entity;
    const Value list = addresses(config["AddressData"]);
    if (!list.empty()) {
        entity.set("Addresses", list);
        if (!v6)
            entity.set("SubnetMasks", masks(config["AddressData"]));
        else
            entity.set("InterfaceName", interface);
    }
    if (const std::string gateway = config["Gateway"].stringValue(); !gateway.empty())
        entity.set("Router", gateway);
    return entity;
}

Value dnsOfConfig(const Value& ip4, const Value& ip6) {
    Value servers = Value::array();
    for (const Value& entry : ip4["NameserverData"].arrayItems())
        if (entry["address"].isString())
            servers.append(entry["address"]);
    for (const Value& bytes : ip6["Nameservers"].arrayItems())
        if (auto text = ipv6FromBytes(bytes); !text.empty())
            servers.append(text);
    return servers;
}

// The setup entities from the applied connection's settings.
void setupEntities(Value& store, const std::string& key, const Value& applied) {
    const Value& ipv4 = applied["ipv4"];
    const Value& ipv6 = applied["ipv6"];
    const std::string method = ipv4["method"].stringValue();
    Value setup4 = Value::dict();
    if (!method.empty())
        setup4.set("ConfigMethod", method == "auto"     ? "DHCP"
                                   : method == "manual" ? "Manual"
                                                        : method);
    if (!ipv4["address-data"].empty())
        setup4.set("SubnetMasks", masks(ipv4["address-data"]));
    if (ipv4["gateway"].isString())
        setup4.set("Router", ipv4["gateway"]);
    if (!setup4.empty())
        store.set("Setup:/Network/Service/" + key + "/IPv4", setup4);
    if (ipv6["gateway"].isString())
        store.set("Setup:/Network/Service/" + key + "/IPv6",
                  Value::dict({{"Router", ipv6["gateway"]}}));
    Value dns = Value::array();
    for (const Value& number : ipv4["dns"].arrayItems())
        dns.append(ipv4FromNumber(number.integerValue()));
    for (const Value& bytes : ipv6["dns"].arrayItems())
        if (auto text = ipv6FromBytes(bytes); !text.empty())
            dns.append(text);
    if (!dns.empty())
        store.set("Setup:/Network/Service/" + key + "/DNS",
                  Value::dict({{"ServerAddresses", dns}}));
    if (const std::string id = applied["connection"]["id"].stringValue(); !id.empty())
        store.set("Setup:/Network/Service/" + key, Value::dict({{"UserDefinedName", id}}));
}

std::int64_t defaultMetric(const Value& ip4, const Value& ip6) {
    std::int64_t best = std::int64_t{1} << 40;
    for (const Value* config : {&ip4, &ip6}) {
        for (const Value& route : (*config)["RouteData"].arrayItems()) {
            const std::string dest = route["dest"].stringValue();
            if (route["prefix"].integerValue() == 0 && (dest == "0.0.0.0" || dest == "::"))
                best = std::min(best, route["metric"].integerValue());
        }
    }
    return best;
}

struct Ordered {
    std::string key;
    bool primary = false;
    std::int64_t metric = 0, type = 0;
    std::string name;
};

std::string activePathOf(const Value& device) {
    const std::string path = device["ActiveConnection"].stringValue();
    return path == "/" ? "" : path;
}

} // namespace

std::string hardwareForDeviceType(std::int64_t type) {
    switch (type) {
    case 1:
        return "Ethernet";
    case 2:
        return kWiFiHardware;
    case 5:
        return "Bluetooth";
    case 8:
        return "Modem";
    case 10:
        return "Bond";
    case 11:
        return "VLAN";
    case 13:
        return "Bridge";
    case 16:
    case kWireGuard:
        return "VPN";
    case kLoopback:
        return "";
    default:
        return "Ethernet";
    }
}

std::int64_t vpnStateForActive(const Value& active, std::int64_t vpnState) {
    if (vpnState > 0)
        return vpnState;
    // WireGuard has no VPN state of its own: the active connection's state tells it.
    switch (active["State"].integerValue()) {
    case kActiveActivating:
        return 3;
    case kActiveActivated:
        return 5;
    case kActiveDeactivating:
        return 1;
    default:
        return 7;
    }
}

NetworkManagerStore storeFromNetworkManager(const NetworkManagerSnapshot& snapshot) {
    NetworkManagerStore result;
    Value& store = result.store;
    store = Value::dict();
    const std::string primaryPath = snapshot["primary"].stringValue();
    std::vector<Ordered> order;
    // The tunnel interface of each active VPN, by its IPv4 configuration.
    std::map<std::string, std::string> interfaceByIp4Config;
    for (const Value& entry : snapshot["devices"].arrayItems()) {
        const Value& device = entry["device"];
        const std::string interface = device["Interface"].stringValue();
        const std::string ip4Path = device["Ip4Config"].stringValue();
        if (!ip4Path.empty() && ip4Path != "/")
            interfaceByIp4Config[ip4Path] =
                device["IpInterface"].stringValue().empty() ? interface : device["IpInterface"].stringValue();
        const std::int64_t type = device["DeviceType"].integerValue();
        const std::string hardware = hardwareForDeviceType(type);
        // Tunnels show under their profile, which is listed while down too.
        if (hardware.empty() || interface.empty() || type == kWireGuard || type == 16)
            continue;
        const std::string permanent = entry["permanent"].stringValue();
        const std::string key =
            keyFrom(permanent.empty() ? "name:" + interface : "mac:" + permanent);
        store.set(
            "Setup:/Network/Service/" + key + "/Interface",
            Value::dict({{"DeviceName", interface}, {"Hardware", hardware}, {"Type", hardware}}));
        store.set("State:/Network/Interface/" + interface + "/Link",
                  Value::dict({{"Active", device["State"].integerValue() == kActivated}}));
        if (Value v4 = stateEntity(entry["ip4"], false, interface); !v4.empty())
            store.set("State:/Network/Service/" + key + "/IPv4", v4);
        if (Value v6 = stateEntity(entry["ip6"], true, interface); !v6.empty())
            store.set("State:/Network/Service/" + key + "/IPv6", v6);
        if (Value dns = dnsOfConfig(entry["ip4"], entry["ip6"]); !dns.empty())
            store.set("State:/Network/Service/" + key + "/DNS",
                      Value::dict({{"ServerAddresses", dns}}));
        setupEntities(store, key, entry["applied"]);
        const bool primary = !primaryPath.empty() && activePathOf(device) == primaryPath;
        if (primary)
            store.set("State:/Network/Global/IPv4",
                      Value::dict({{"PrimaryService", key}, {"PrimaryInterface", interface}}));
        if (const Value& ap = entry["accessPoint"]; ap.isDictionary()) {
            const Value& ssid = ap["Ssid"];
            result.wifi[interface] = {ap["HwAddress"].stringValue(),
                                      ssid.isData()
                                          ? std::string(ssid.data().begin(), ssid.data().end())
                                          : ssid.stringValue()};
        } else if (hardware == kWiFiHardware) {
            result.wifi[interface] = {};
        }
        order.push_back({key, primary, defaultMetric(entry["ip4"], entry["ip6"]), type, interface});
    }

    for (const Value& profile : snapshot["profiles"].arrayItems()) {
        const Value& connection = profile["connection"];
        const std::string uuid = connection["uuid"].stringValue();
        if (uuid.empty())
            continue;
        store.set("Setup:/Network/Service/" + uuid + "/Interface",
                  Value::dict({{"Hardware", "VPN"}, {"Type", "IPSec"}}));
        store.set("Setup:/Network/Service/" + uuid,
                  Value::dict({{"UserDefinedName", connection["id"]}}));
        Value status = Value::dict({{"IPSec", Value::dict({{"Status", 7}})}});
        for (const Value& active : snapshot["active"].arrayItems()) {
            if (active["active"]["Uuid"].stringValue() != uuid)
                continue;
            const std::int64_t state =
                vpnStateForActive(active["active"], active["vpnState"].integerValue());
            Value ipsec = Value::dict({{"Status", state}});
            // The activation time on the wall clock, as seconds of uptime.
            const double timestamp = connection["timestamp"].doubleValue();
            if (state == 5 && timestamp > 0)
                ipsec.set("ConnectTime", snapshot["uptime"].doubleValue() -
                                             (snapshot["now"].doubleValue() - timestamp));
            status.set("IPSec", ipsec);
            const std::string ip4Path = active["active"]["Ip4Config"].stringValue();
            std::string tunnel = connection["interface-name"].stringValue();
            if (auto found = interfaceByIp4Config.find(ip4Path);
                found != interfaceByIp4Config.end())
                tunnel = found->second;
            if (state == 5 && !tunnel.empty())
                status.set("IPv4", Value::dict({{"InterfaceName", tunnel}}));
            if (state == 5) {
                for (const Value& entry : snapshot["devices"].arrayItems())
                    if (entry["device"]["Ip4Config"].stringValue() == ip4Path)
                        if (Value v4 = stateEntity(entry["ip4"], false, tunnel); !v4.empty())
                            store.set("State:/Network/Service/" + uuid + "/IPv4", v4);
            }
        }
        result.extendedStatus[uuid] = status;
        order.push_back({uuid, false, std::int64_t{1} << 41, 1000, connection["id"].stringValue()});
    }

    // Primary first, then by default-route metric, then by device type.
    std::stable_sort(order.begin(), order.end(), [](const Ordered& a, const Ordered& b) {
        return std::tuple(!a.primary, a.metric, a.type, a.name) <
               std::tuple(!b.primary, b.metric, b.type, b.name);
    });
    Value serviceOrder = Value::array();
    for (const Ordered& o : order)
        serviceOrder.append(o.key);
    store.set("Setup:/Network/Global/IPv4", Value::dict({{"ServiceOrder", serviceOrder}}));
    return result;
}

} // namespace corvane::network
