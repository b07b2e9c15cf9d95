#pragma once

#include "collectors/network/NetworkStatCollector.h"

#include <map>
#include <string>

namespace corvane::test {

// A network collector on a store, counters and facts the test sets.
class ScriptedNetwork final : public NetworkStatCollector {
public:
    using NetworkStatCollector::NetworkStatCollector;

    NetworkStore store = Value::dict();
    std::map<std::string, Value> extended;
    std::optional<std::vector<InterfaceCounters>> counters = std::vector<InterfaceCounters>{};
    InterfaceFacts facts;
    std::map<std::string, WifiNetwork> wifi; // interfaces that are Wi-Fi interfaces
    double uptime = 1000;
    int storeReads = 0;

    // Service in the order with its interface entity.
    void addService(const std::string& id, const std::string& bsd, const std::string& hardware,
                    const std::string& type = "") {
        Value order = store["Setup:/Network/Global/IPv4"]["ServiceOrder"];
        order.append(id);
        store.set("Setup:/Network/Global/IPv4", Value::dict({{"ServiceOrder", order}}));
        Value interface = Value::dict({{"Hardware", hardware}});
        if (!bsd.empty())
            interface.set("DeviceName", bsd);
        if (!type.empty())
            interface.set("Type", type);
        store.set("Setup:/Network/Service/" + id + "/Interface", interface);
    }
    void setEntity(const std::string& key, Value value) { store.set(key, std::move(value)); }
    void state(const std::string& key, Value value) {
        store.set("State:/Network/Service/" + key, std::move(value));
    }
    void setup(const std::string& key, Value value) {
        store.set("Setup:/Network/Service/" + key, std::move(value));
    }
    void setLink(const std::string& bsd, bool active) {
        store.set("State:/Network/Interface/" + bsd + "/Link", Value::dict({{"Active", active}}));
    }
    void setPrimary(const std::string& service, const std::string& bsd) {
        store.set("State:/Network/Global/IPv4",
                  Value::dict({{"PrimaryService", service}, {"PrimaryInterface", bsd}}));
    }
    NetworkItem item(const std::string& key) {
        return std::static_pointer_cast<NetworkStatCollectorItem>(itemWithKey(Value(key)));
    }

protected:
    // A new store a read, as the real sources give, not one that shares the test's.
    NetworkStore readStore() override {
        ++storeReads;
        NetworkStore fresh = Value::dict();
        for (const auto& [key, value] : store.dictionaryItems())
            fresh.set(key, value);
        return fresh;
    }
    Value extendedStatus(const std::string& service) override {
        auto found = extended.find(service);
        return found == extended.end() ? Value() : found->second;
    }
    std::optional<std::vector<InterfaceCounters>> readCounters() override { return counters; }
    InterfaceFacts readInterfaceFacts() override { return facts; }
    std::optional<WifiNetwork> wifiNetwork(const std::string& bsd) override {
        auto found = wifi.find(bsd);
        return found == wifi.end() ? std::nullopt : std::optional<WifiNetwork>(found->second);
    }
    double systemUptime() const override { return uptime; }
};

} // namespace corvane::test
