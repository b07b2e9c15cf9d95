#include "collectors/network/NetworkStatCollector.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace corvane {

void NetworkStatCollectorBandwidthItem::closeStretch(double now) {
    uploadStart = uploadLast;
    downloadStart = downloadLast;
    uploadRunningTotal = 0;
    downloadRunningTotal = 0;
    start = now;
}

NetworkStatCollector::NetworkStatCollector(const EngineContext& context)
    : StatCollector(context, 4) {
    config() = makeConfig();
    setDbTablePrefix("network");
    setStorageType(kStorageItems);
}

Value NetworkStatCollector::makeConfig() {
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap",
         Value::dict(
             {{"d", 0}, {"u", 1}, {"download", 0}, {"upload", 1}, {"d_raw", 2}, {"u_raw", 3}})},
        {"sampleKeys", Value::dict({{"download", 0}, {"upload", 1}})},
        {"emptySampleKeys", Value::array()},
        {"xmlSampleKeys", Value::dict({{"d", 0}, {"u", 1}})},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem",
         "insert into %@ (sample, time, download, upload, uuid) values (?, ?, ?, ?, ?)"},
        {"sqlInsertItemKeys", Value::array({"sample", "time", "download", "upload", "uuid"})},
        {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, "
                      "uuid varchar(100) NOT NULL, download double NOT NULL DEFAULT 0, upload "
                      "double NOT NULL DEFAULT 0)"},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateIDLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double "
                            "NOT NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateLong", "create table %@ (sample double, time double NOT NULL DEFAULT 0, empty "
                          "integer NOT NULL DEFAULT 0, uuid varchar(100), download double NOT "
                          "NULL DEFAULT 0, upload double NOT NULL DEFAULT 0)"},
        {"itemAttributeKeys", Value::array({"uuid"})},
        {"itemAttributeOverideKey", "_all"},
    });
}

StatCollector::ItemPointer NetworkStatCollector::itemClassInstance() const {
    return std::make_shared<NetworkStatCollectorItem>(sampleValueCount(), tierCount());
}

void NetworkStatCollector::start() {
    updateInterfaces();
    updatePrimarySettings();
    nextBandwidthUpdateTime_ =
        std::ceil(mainQueue().clock().now() / kBandwidthPeriod) * kBandwidthPeriod;
}

template <class Call>
void NetworkStatCollector::tell(Call call) {
    const auto listeners = delegates();
    for (StatCollectorDelegate* delegate : listeners) {
        if (auto* network = dynamic_cast<NetworkStatCollectorDelegate*>(delegate))
            call(*network);
    }
}

// Changes ------------------------------------------------------------------------------------

void NetworkStatCollector::networkStateChanged(const std::vector<std::string>& keys) {
    if (network::relevantKeys(keys).empty())
        return;
    updateInterfaces();
    updatePrimarySettings();
    networkStatus();
    ++changes_;
    if (center_)
        center_->post(kSetupChanged);
    notifyChildrenChanged();
}

void NetworkStatCollector::updateInterfaces() {
    const InterfaceFacts facts = readInterfaceFacts();
    vlanMap_ = facts.vlanMap;
    ipv6Flags_ = Value::dict();
    for (const auto& [address, flags] : facts.ipv6AddressFlags)
        ipv6Flags_.set(address, flags);
    changeID_ += 1;
    records_.clear();
    for (const auto& item : immutableItems())
        item->setExists(false);

    auto records = network::serviceRecords(
        readStore(), [this](const std::string& service) { return extendedStatus(service); },
        vlanMap_);
    if (!records)
        return;
    std::int32_t index = 0;
    for (ServiceRecord& record : *records) {
        auto item =
            std::static_pointer_cast<NetworkStatCollectorItem>(newItemWithKey2(record.uuid));
        copyRecord(*item, record, index);
        ++index;
        records_.push_back(std::move(record));
    }
    removeOldItems();
    applyFacts(facts);
    notifyChildrenChanged();
}

void NetworkStatCollector::copyRecord(NetworkStatCollectorItem& item, const ServiceRecord& record,
                                      std::int32_t index) {
    item.service = record.uuid;
    item.bsd = record.bsd;
    item.hardware = record.hardware;
    item.name = record.name;
    item.parentBSD = record.parentBSD;
    item.ipv4 = record.ipv4;
    item.ipv6 = record.ipv6;
    item.subnet = record.subnet;
    item.routerIPV4 = record.routerIPV4;
    item.routerIPV6 = record.routerIPV6;
    item.dnsIPV4 = record.dnsIPV4;
    item.dnsIPV6 = record.dnsIPV6;
    item.dhcp = record.dhcp;
    item.ppp = record.ppp;
    item.speed = record.speed;
    item.connectionstatus = record.connectionstatus.value_or(0);
    item.rawConnectiontime = record.connectiontime;
    item.connectiontime = record.connectiontime;
    // The store counts a connect time in seconds of uptime; shown is the wall-clock start.
    if (record.connectiontime > 0)
        item.connectiontime =
            mainQueue().clock().now() - (std::floor(systemUptime()) - record.connectiontime);
    item.lastupdate = changeID_;
    item.index = index;
    item.setExists(true);
    item.setTemporary(false);
    item.activeMediaOptions = Value();
    item.linkSpeed = 0;
}

void NetworkStatCollector::applyFacts(const InterfaceFacts& facts) {
    for (const NetworkItem& item : services()) {
        if (auto media = facts.mediaOptions.find(item->bsd); media != facts.mediaOptions.end())
            item->activeMediaOptions = media->second;
        const auto mac = facts.macs.find(item->bsd);
        item->mac = mac == facts.macs.end() ? "" : mac->second;
        if (auto speed = facts.linkSpeeds.find(item->bsd);
            !item->bsd.empty() && speed != facts.linkSpeeds.end())
            item->linkSpeed = speed->second;
    }
}

bool NetworkStatCollector::updateWifi() {
    for (const NetworkItem& item : services()) {
        if (item->hardware != kWiFiHardware)
            continue;
        const auto wifi = wifiNetwork(item->bsd);
        if (!wifi) {
            wifiMap_[item->bsd] = Value::dict();
            continue;
        }
        const std::string stored = primaryInterfaceSettings_["wifi-bssid"].stringValue();
        const bool changed = !stored.empty() && !wifi->bssid.empty() && stored != wifi->bssid;
        if (!wifi->bssid.empty() && !wifi->ssid.empty()) {
            wifiMap_[item->bsd] = Value::dict({{"bssid", wifi->bssid}, {"name", wifi->ssid}});
            primaryInterfaceSettings_.set("wifi-bssid", wifi->bssid);
            primaryInterfaceSettings_.set("wifi-name", wifi->ssid);
        } else {
            wifiMap_[item->bsd] = Value::dict();
        }
        return changed;
    }
    return false;
}

namespace {

std::multiset<std::string> asMultiset(const Value& list) {
    const auto items = network::strings(list);
    return {items.begin(), items.end()};
}

Value stringArray(const std::vector<std::string>& list) {
    Value array = Value::array();
    for (const auto& text : list)
        array.append(text);
    return array;
}

} // namespace

void NetworkStatCollector::updatePrimarySettings() {
    const NetworkStore store = readStore(); // `global` points into it
    const Value& global = store["State:/Network/Global/IPv4"];
    bool primaryChanged = false, ip4Changed = false, ip6Changed = false;
    const Value* service = global.find("PrimaryService");
    const Value* interface = global.find("PrimaryInterface");
    if (service && interface &&
        service->stringValue() != primaryInterfaceSettings_["service"].stringValue()) {
        primaryChanged = primaryInterfaceSettings_.contains("service");
        primaryInterfaceSettings_.set("service", service->stringValue());
        primaryInterfaceSettings_.set("interface", interface->stringValue());
        resetHistory();
    }
    const bool wifiChanged = updateWifi();

    const Value* key = primaryInterfaceSettings_.find("service");
    if (NetworkItem primary =
            key ? std::static_pointer_cast<NetworkStatCollectorItem>(itemWithKey(*key)) : nullptr) {
        primaryInterfaceSettings_.set("name", primary->name);
        const Value& storedIPv4 = primaryInterfaceSettings_["ipv4"];
        const Value& storedIPv6 = primaryInterfaceSettings_["ipv6"];
        ip4Changed = !storedIPv4.empty() &&
                     storedIPv4[0].stringValue() != (primary->ipv4.empty() ? "" : primary->ipv4[0]);
        ip6Changed = !storedIPv6.empty() &&
                     storedIPv6[0].stringValue() != (primary->ipv6.empty() ? "" : primary->ipv6[0]);
        primaryInterfaceSettings_.set("ipv4", stringArray(primary->ipv4));
        primaryInterfaceSettings_.set("ipv6", stringArray(primary->ipv6));
        std::vector<std::string> joined = primary->ipv4;
        joined.insert(joined.end(), primary->ipv6.begin(), primary->ipv6.end());
        const Value addresses = stringArray(joined);
        // An update without addresses keeps the ones shown before.
        if (!joined.empty() &&
            asMultiset(addresses) != asMultiset(primaryInterfaceSettings_["addresses"]))
            primaryInterfaceSettings_.set("addresses", addresses);
    }
    // Router and DNS of the primary service are compared against entries nothing creates, so
    // their changes are never told; kept so.
    if (wifiChanged)
        tell([this](NetworkStatCollectorDelegate& d) { d.collectorWifiNetworkChanged(*this); });
    if (primaryChanged)
        tell(
            [this](NetworkStatCollectorDelegate& d) { d.collectorPrimaryInterfaceChanged(*this); });
    if (ip4Changed)
        tell([this](NetworkStatCollectorDelegate& d) { d.collectorPrimaryIP4Changed(*this); });
    if (ip6Changed)
        tell([this](NetworkStatCollectorDelegate& d) { d.collectorPrimaryIP6Changed(*this); });
}

void NetworkStatCollector::resetHistory() {
    statsample* ring = storageForType(0);
    const std::int64_t count = sampleIndex(0).maximumSamples;
    for (std::int64_t slot = 0; ring && slot < count; ++slot) {
        ring[slot].sampleID = 0;
        ring[slot].time = 0;
        if (ring[slot].values)
            std::fill_n(ring[slot].values, sampleValueCount(), 0.0);
    }
    primaryDownload_ = 0;
    primaryUpload_ = 0;
}

std::int64_t NetworkStatCollector::networkStatus(const std::optional<std::string>& key) {
    std::int64_t result = 0;
    for (const NetworkItem& item : services()) {
        if (key && item->key() != *key)
            continue;
        std::int64_t status = 0;
        if (item->connectionstatus >= 1 && item->connectionstatus <= 4) {
            status = 1;
        } else if (item->connectionstatus == NetworkStatCollectorItem::kConnected) {
            const bool usable =
                std::any_of(item->ipv4.begin(), item->ipv4.end(),
                            [](const std::string& a) { return !a.starts_with("169.254"); }) ||
                std::any_of(item->ipv6.begin(), item->ipv6.end(),
                            [](const std::string& a) { return !a.starts_with("fe80:"); });
            status = usable ? 2 : 1;
        }
        result = std::max(result, status);
    }
    if (result != networkStatus_) {
        networkStatus_ = result;
        tell([this, result](NetworkStatCollectorDelegate& d) {
            d.collectorNetworkStatusChanged(*this, result);
        });
    }
    return result;
}

// Reading --------------------------------------------------------------------------------------

std::vector<NetworkStatCollector::NetworkItem> NetworkStatCollector::services() const {
    std::vector<NetworkItem> all;
    for (const auto& item : items())
        all.push_back(std::static_pointer_cast<NetworkStatCollectorItem>(item));
    std::stable_sort(all.begin(), all.end(), [](const NetworkItem& a, const NetworkItem& b) {
        return a->index < b->index;
    });
    return all;
}

NetworkStatCollector::NetworkItem NetworkStatCollector::itemWithBsd(const std::string& bsd) const {
    if (bsd.empty())
        return nullptr;
    for (const NetworkItem& item : services()) {
        if (item->bsd == bsd)
            return item;
    }
    return nullptr;
}

std::vector<std::string> NetworkStatCollector::serviceOrder() const {
    std::vector<std::string> order;
    for (const ServiceRecord& record : records_)
        order.push_back(record.uuid);
    return order;
}

std::string NetworkStatCollector::nameForInterface(const std::string& service) const {
    for (const ServiceRecord& record : records_) {
        if (record.uuid == service)
            return record.name;
    }
    return service;
}

bool NetworkStatCollector::isInterfaceActive(const std::string& service) const {
    return std::any_of(records_.begin(), records_.end(),
                       [&](const ServiceRecord& r) { return r.uuid == service; });
}

const ServiceRecord*
NetworkStatCollector::systemConfigurationForDevice(const std::string& bsd) const {
    for (const ServiceRecord& record : records_) {
        if (record.bsd == bsd)
            return &record;
    }
    return nullptr;
}

} // namespace corvane
