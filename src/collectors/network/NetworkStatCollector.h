#pragma once

#include "collectors/network/NetworkServices.h"
#include "collectors/network/NetworkStatCollectorItem.h"
#include "engine/StatCollector.h"
#include "foundation/NotificationCenter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// What the network collector tells beyond the common operations; each is optional.
class NetworkStatCollectorDelegate : public StatCollectorDelegate {
public:
    virtual void collectorWifiNetworkChanged(StatCollector&) {}
    virtual void collectorPrimaryInterfaceChanged(StatCollector&) {}
    virtual void collectorPrimaryIP4Changed(StatCollector&) {}
    virtual void collectorPrimaryIP6Changed(StatCollector&) {}
    virtual void collectorRouterChanged(StatCollector&) {}
    virtual void collectorDNSChanged(StatCollector&) {}
    virtual void collectorNetworkStatusChanged(StatCollector&, std::int64_t /*status*/) {}
};

// The running totals of one interface within a 10-minute period.
struct NetworkStatCollectorBandwidthItem {
    std::string key;
    bool started = false;
    double start = 0, end = 0, lastUpdate = 0;
    double uploadStart = 0, downloadStart = 0, uploadLast = 0, downloadLast = 0;
    double uploadRunningTotal = 0, downloadRunningTotal = 0;
    std::int64_t interfaceIdentifier = -1, networkIdentifier = -1;
    std::string wifiBSSID, wifiName;

    // Ends the present stretch at the last reading and starts the next one at `now`.
    void closeStretch(double now);
    // Bytes of the period so far: completed stretches and the present one.
    double downloadBytes() const { return downloadLast - downloadStart + downloadRunningTotal; }
    double uploadBytes() const { return uploadLast - uploadStart + uploadRunningTotal; }
};

// The network services in the system's order, each an item with its interface, addresses,
// router, DNS and status, following the primary service; and the byte counters of all
// interfaces turned into rates per service. A subclass reads the machine.
class NetworkStatCollector : public StatCollector {
public:
    using NetworkItem = std::shared_ptr<NetworkStatCollectorItem>;
    static constexpr double kBandwidthPeriod = 600.0;
    // The in-process notification posted after a change of the services.
    static constexpr const char* kSetupChanged = "STAT_COLLECTION_NETWORK_SETUP_CHANGED";

    // One interface's byte counters as the kernel reports them.
    struct InterfaceCounters {
        std::string name;
        bool up = false;
        bool loopback = false;
        std::uint64_t in = 0, out = 0;
    };
    // What the interfaces tell besides the store.
    struct InterfaceFacts {
        std::map<std::string, std::string> vlanMap;    // interface to its parent
        std::map<std::string, std::string> macs;       // interface to "AA:BB:..."
        std::map<std::string, double> linkSpeeds;      // interface to megabits per second
        std::map<std::string, Value> mediaOptions;     // interface to its current options
        std::map<std::string, Value> ipv6AddressFlags; // address to "flags", "scope", "prefix"
    };
    // The Wi-Fi network an interface is on; empty strings where the system tells none.
    struct WifiNetwork {
        std::string bssid, ssid;
    };

    explicit NetworkStatCollector(const EngineContext& context);

    static Value makeConfig();
    ItemPointer itemClassInstance() const override;
    // Reads the services and the primary service for the first time.
    void start();
    void setNotificationCenter(const NotificationCenter* center) { center_ = center; }

    // Changes.
    void networkStateChanged(const std::vector<std::string>& keys);
    void updateInterfaces();
    void updatePrimarySettings();
    void resetHistory();
    // 0 none, 1 only connecting or without a usable address, 2 connected; over all items or
    // the one with the key.
    std::int64_t networkStatus(const std::optional<std::string>& key = std::nullopt);
    std::int64_t networkStatusValue() const { return networkStatus_; }

    // Sampling.
    void updateStats() override;
    void saveBandwidth();
    // Per interface that counts: "key", "up", "down"; nothing when the counters are unreadable.
    std::optional<Value> statsOverview();
    bool bandwidthMonitoringEnabled = false;

    // Reading.
    std::vector<NetworkItem> services() const;
    NetworkItem interfaceWithName(const std::string& bsd) const { return itemWithBsd(bsd); }
    NetworkItem itemWithBsd(const std::string& bsd) const;
    std::string primaryInterface() const {
        return primaryInterfaceSettings_["interface"].stringValue();
    }
    NetworkItem primaryInterfaceItem() const { return itemWithBsd(primaryInterface()); }
    const Value& primaryInterfaceSettings() const { return primaryInterfaceSettings_; }
    std::vector<std::string> serviceOrder() const;
    std::string nameForInterface(const std::string& service) const;
    bool isInterfaceActive(const std::string& service) const;
    const ServiceRecord* systemConfigurationForDevice(const std::string& bsd) const;
    const std::vector<ServiceRecord>& SCInterfaces() const { return records_; }
    const Value& ipf6AddressFlags() const { return ipv6Flags_; }
    const std::map<std::string, Value>& wifiMap() const { return wifiMap_; }
    double changeID() const { return changeID_; }
    double nextBandwidthUpdateTime() const { return nextBandwidthUpdateTime_; }
    double primaryDownloadTotal() const { return primaryDownload_; }
    double primaryUploadTotal() const { return primaryUpload_; }
    const std::map<std::string, NetworkStatCollectorBandwidthItem>& bandwidthItems() const {
        return bandwidthItems_;
    }
    std::int64_t identifierForInterface(const std::string& interface);
    std::int64_t identifierForBSSID(const std::string& bssid, const std::string& name);

protected:
    virtual NetworkStore readStore() = 0;
    virtual Value extendedStatus(const std::string& service) = 0;
    virtual std::optional<std::vector<InterfaceCounters>> readCounters() = 0;
    virtual InterfaceFacts readInterfaceFacts() = 0;
    // Nothing when the interface is no Wi-Fi interface the system can ask.
    virtual std::optional<WifiNetwork> wifiNetwork(const std::string& bsd) = 0;
    // Seconds since boot, whole.
    virtual double systemUptime() const = 0;

private:
    void copyRecord(NetworkStatCollectorItem& item, const ServiceRecord& record,
                    std::int32_t index);
    void applyFacts(const InterfaceFacts& facts);
    bool updateWifi();
    void countBandwidth(const InterfaceCounters& counters, double now, bool& wifiChanged);
    void closePeriods(double now, bool wifiChanged);
    template <class Call>
    void tell(Call call);

    const NotificationCenter* center_ = nullptr;
    std::int64_t networkStatus_ = 0;
    double changeID_ = 0;
    std::int64_t changes_ = 0;
    std::vector<ServiceRecord> records_;
    Value primaryInterfaceSettings_ = Value::dict();
    Value ipv6Flags_ = Value::dict();
    std::map<std::string, std::string> vlanMap_;
    std::map<std::string, Value> wifiMap_;
    std::map<std::string, NetworkStatCollectorBandwidthItem> bandwidthItems_;
    Value bandwidthInterfaceMap_ = Value::array();
    Value bandwidthWifiMap_ = Value::array();
    double nextBandwidthUpdateTime_ = 0;
    double primaryDownload_ = 0, primaryUpload_ = 0;
    std::vector<bool> seen_;
};

} // namespace corvane
