#include "collectors/network/NetworkServices.h"

#include <set>

namespace corvane::network {

namespace {

const Value& entity(const NetworkStore& store, const char* kind, const std::string& service,
                    const char* name) {
    std::string key = std::string(kind) + ":/Network/Service/" + service;
    if (*name)
        key += std::string("/") + name;
    return store[key];
}

std::string verifiedRouter(const Value& router) {
    if (!router.isString())
        return "";
    const auto verified = verifyIPV6Addresses({router.string()});
    return verified ? verified->front() : "";
}

void splitDNS(const std::vector<std::string>& servers, std::vector<std::string>& ipv4,
              std::vector<std::string>& ipv6) {
    std::vector<std::string> v6;
    for (const auto& server : servers)
        (server.find('.') != std::string::npos ? ipv4 : v6).push_back(server);
    ipv6 = verifyIPV6Addresses(v6).value_or(std::vector<std::string>{});
}

// Status of a service that is neither PPP nor VPN.
std::optional<std::int64_t> plainStatus(const ServiceRecord& record, const Value& stateIPv6,
                                        const Value& link) {
    if (record.hardware == "6to4")
        return stateIPv6.contains("InterfaceName") ? std::optional<std::int64_t>(100)
                                                   : std::nullopt;
    const Value* active = link.find("Active");
    if (record.bsd.empty() || !active || !active->boolValue())
        return 0;
    return 100;
}

void readConnection(ServiceRecord& record, const Value& status, const Value& statePPP,
                    const Value& interface) {
    const Value& ipsec = status["IPSec"];
    const Value& ppp = status["PPP"];
    double time = ipsec["ConnectTime"].doubleValue();
    if (const Value* pppTime = ppp.find("ConnectTime"))
        time = pppTime->doubleValue();
    record.speed = status["Modem"]["ConnectSpeed"].doubleValue();
    const std::int64_t pppStatus = ppp["Status"].integerValue();
    if (record.ipsec) {
        if (const Value* name = status["IPv4"].find("InterfaceName"))
            record.bsd = name->stringValue();
    } else {
        record.bsd = pppStatus == 8 ? statePPP["InterfaceName"].stringValue() : "";
    }
    const std::string subtype = interface["SubType"].stringValue();
    if (subtype == "PPTP" || subtype == "L2TP")
        record.hardware = "VPN";
    record.connectiontime = time;
    record.connectionstatus = record.ipsec ? statusFromVPNState(ipsec["Status"].integerValue())
                                           : statusFromPPPStatus(pppStatus);
    record.ppp = true;
}

void readAddresses(ServiceRecord& r, const NetworkStore& store) {
    const Value& stateIPv4 = entity(store, "State", r.uuid, "IPv4");
    const Value& stateIPv6 = entity(store, "State", r.uuid, "IPv6");
    const Value& setupIPv4 = entity(store, "Setup", r.uuid, "IPv4");
    const Value& setupIPv6 = entity(store, "Setup", r.uuid, "IPv6");
    r.ipv4 = strings(stateIPv4["Addresses"]);
    r.ipv6 = strings(stateIPv6["Addresses"]);
    r.subnet = strings(stateIPv4["SubnetMasks"]);
    r.routerIPV4 = stateIPv4["Router"].stringValue();
    r.routerIPV6 = verifiedRouter(stateIPv6["Router"]);
    splitDNS(strings(entity(store, "State", r.uuid, "DNS")["ServerAddresses"]), r.dnsIPV4,
             r.dnsIPV6);

    // Setup beats state: a static value shows even while the interface is down.
    std::vector<std::string> dnsIPV4Setup, dnsIPV6Setup;
    splitDNS(strings(entity(store, "Setup", r.uuid, "DNS")["ServerAddresses"]), dnsIPV4Setup,
             dnsIPV6Setup);
    if (auto subnet = strings(setupIPv4["SubnetMasks"]); !subnet.empty())
        r.subnet = std::move(subnet);
    if (!dnsIPV4Setup.empty())
        r.dnsIPV4 = std::move(dnsIPV4Setup);
    if (!dnsIPV6Setup.empty())
        r.dnsIPV6 = std::move(dnsIPV6Setup);
    if (auto router = setupIPv4["Router"].stringValue(); !router.empty())
        r.routerIPV4 = std::move(router);
    if (auto router = verifiedRouter(setupIPv6["Router"]); !router.empty())
        r.routerIPV6 = std::move(router);
    r.dhcp = setupIPv4["ConfigMethod"].stringValue() == "DHCP";
}

std::optional<ServiceRecord> record(const NetworkStore& store, const std::string& service,
                                    const ExtendedStatusReader& extendedStatus,
                                    const std::map<std::string, std::string>& vlanMap) {
    const Value& interface = entity(store, "Setup", service, "Interface");
    if (!interface.isDictionary())
        return std::nullopt;
    ServiceRecord r;
    r.uuid = service;
    r.bsd = interface["DeviceName"].stringValue();
    r.hardware = interface["Hardware"].stringValue();
    const std::string type = interface["Type"].stringValue();
    if (type == "IPSec") {
        r.hardware = "VPN";
        r.ipsec = true;
    } else if (type == "6to4") {
        r.hardware = "6to4";
    }
    const bool pppSetup = entity(store, "Setup", service, "PPP").isDictionary();
    if (!r.ipsec && !pppSetup) {
        const Value& link = store["State:/Network/Interface/" + r.bsd + "/Link"];
        r.connectionstatus = plainStatus(r, entity(store, "State", service, "IPv6"), link);
    } else {
        readConnection(r, extendedStatus ? extendedStatus(service) : Value(),
                       entity(store, "State", service, "PPP"), interface);
    }
    readAddresses(r, store);

    r.name = r.bsd;
    if (auto named = entity(store, "Setup", service, "")["UserDefinedName"].stringValue();
        !named.empty())
        r.name = std::move(named);
    else if (!r.hardware.empty())
        r.name = r.bsd.empty() ? r.hardware : r.hardware + " - " + r.bsd;
    if (auto parent = vlanMap.find(r.bsd); parent != vlanMap.end())
        r.parentBSD = parent->second;
    return r;
}

} // namespace

std::int64_t statusFromPPPStatus(std::int64_t status) {
    static constexpr std::int64_t table[] = {0, 1, 1, 1, 1, 3, 1, 2, 100, 4, 4, 4, 4, 1};
    return status >= 0 && status < 14 ? table[status] : -1;
}

std::int64_t statusFromVPNState(std::int64_t state) {
    if (state >= 1 && state <= 4)
        return 1;
    return state == 5 ? 100 : 0;
}

std::optional<std::vector<std::string>> verifyIPV6Addresses(const std::vector<std::string>& list) {
    std::vector<std::string> kept;
    for (const auto& address : list) {
        if (address != "::1")
            kept.push_back(address);
    }
    if (kept.empty())
        return std::nullopt;
    return kept;
}

std::vector<std::string> strings(const Value& array) {
    std::vector<std::string> result;
    for (const Value& item : array.arrayItems()) {
        if (item.isString())
            result.push_back(item.string());
    }
    return result;
}

std::optional<std::vector<ServiceRecord>>
serviceRecords(const NetworkStore& store, const ExtendedStatusReader& extendedStatus,
               const std::map<std::string, std::string>& vlanMap) {
    const Value* order = store["Setup:/Network/Global/IPv4"].find("ServiceOrder");
    if (!order || !order->isArray())
        return std::nullopt;
    std::vector<ServiceRecord> records;
    std::set<std::string> seen;
    for (const std::string& service : strings(*order)) {
        if (!seen.insert(service).second)
            continue;
        if (auto r = record(store, service, extendedStatus, vlanMap))
            records.push_back(std::move(*r));
    }
    return records;
}

std::vector<std::string> relevantKeys(const std::vector<std::string>& keys) {
    std::vector<std::string> kept;
    for (const auto& key : keys) {
        if (key.find("SleepProxyServers") == std::string::npos)
            kept.push_back(key);
    }
    return kept;
}

} // namespace corvane::network
