// Byte counters to rates per service, the primary totals and the 10-minute periods.
#include "collectors/network/NetworkStatCollector.h"

#include <cmath>

namespace corvane {

namespace {

bool counts(const NetworkStatCollector::InterfaceCounters& counters) {
    return counters.up && !counters.loopback;
}

} // namespace

void NetworkStatCollector::updateStats() {
    const auto counters = readCounters();
    if (!counters)
        return;
    const double now = mainQueue().clock().now();
    const double identifier = idForInterval(0);
    const std::string primary = primaryInterface();
    const auto& all = items();
    // Whether each item's interface was among the counted ones; no allocation once sized.
    seen_.assign(all.size(), false);
    double primaryDownload = 0, primaryUpload = 0;
    bool wifiChanged = false;
    for (const InterfaceCounters& interface : *counters) {
        if (!counts(interface))
            continue;
        const double in = static_cast<double>(interface.in);
        const double out = static_cast<double>(interface.out);
        for (std::size_t i = 0; i < all.size(); ++i) {
            auto& item = static_cast<NetworkStatCollectorItem&>(*all[i]);
            if (item.bsd != interface.name)
                continue;
            seen_[i] = true;
            item.addSampleWithDownload(in, out, now, identifier, now);
        }
        if (interface.name == primary) {
            primaryDownload += in;
            primaryUpload += out;
        }
        if (bandwidthMonitoringEnabled)
            countBandwidth(interface, now, wifiChanged);
    }
    if (bandwidthMonitoringEnabled)
        closePeriods(now, wifiChanged);
    // A service without a running interface records silence.
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!seen_[i])
            static_cast<NetworkStatCollectorItem&>(*all[i]).addSampleWithDownload(0, 0, now,
                                                                                  identifier, now);
    }
    primaryDownload_ = primaryDownload;
    primaryUpload_ = primaryUpload;
    addSample(Value::dict({{"sample", identifier},
                           {"time", now},
                           {"d", primaryDownload},
                           {"u", primaryUpload},
                           {"empty", 0}}),
              0);
    notifyUpdated();
}

void NetworkStatCollector::countBandwidth(const InterfaceCounters& counters, double now,
                                          bool& wifiChanged) {
    const double in = static_cast<double>(counters.in);
    const double out = static_cast<double>(counters.out);
    auto found = bandwidthItems_.find(counters.name);
    if (found == bandwidthItems_.end()) {
        NetworkStatCollectorBandwidthItem fresh;
        fresh.key = counters.name;
        fresh.start = now;
        fresh.uploadStart = out;
        fresh.downloadStart = in;
        fresh.end = nextBandwidthUpdateTime_;
        fresh.interfaceIdentifier = identifierForInterface(counters.name);
        found = bandwidthItems_.emplace(counters.name, std::move(fresh)).first;
    }
    NetworkStatCollectorBandwidthItem& item = found->second;
    if (auto wifi = wifiMap_.find(counters.name); wifi != wifiMap_.end()) {
        const std::string bssid = wifi->second["bssid"].stringValue();
        const std::string name = wifi->second["name"].stringValue();
        if (!item.wifiBSSID.empty() && item.wifiBSSID != bssid) {
            wifiChanged = true;
        } else {
            item.wifiBSSID = bssid;
            item.wifiName = name;
            item.networkIdentifier = bssid.empty() ? -1 : identifierForBSSID(bssid, name);
        }
    }
    // A counter that went back: the interface was reset or wrapped. Keep what was counted.
    if (item.uploadLast > out || item.downloadLast > in) {
        item.uploadRunningTotal += item.uploadLast - item.uploadStart;
        item.downloadRunningTotal += item.downloadLast - item.downloadStart;
        item.uploadStart = out;
        item.downloadStart = in;
    }
    item.uploadLast = out;
    item.downloadLast = in;
    item.lastUpdate = now;
}

void NetworkStatCollector::closePeriods(double now, bool wifiChanged) {
    if (wifiChanged) {
        for (auto& [key, item] : bandwidthItems_) {
            item.closeStretch(now);
            const auto wifi = wifiMap_.find(key);
            if (wifi == wifiMap_.end()) {
                item.networkIdentifier = -1;
                continue;
            }
            item.wifiBSSID = wifi->second["bssid"].stringValue();
            item.wifiName = wifi->second["name"].stringValue();
            item.networkIdentifier =
                item.wifiBSSID.empty() ? -1 : identifierForBSSID(item.wifiBSSID, item.wifiName);
        }
    }
    if (now > nextBandwidthUpdateTime_) {
        const double closed = nextBandwidthUpdateTime_;
        nextBandwidthUpdateTime_ = std::ceil(now / kBandwidthPeriod) * kBandwidthPeriod;
        for (auto& [key, item] : bandwidthItems_) {
            item.closeStretch(closed);
            item.end = nextBandwidthUpdateTime_;
        }
    }
}

void NetworkStatCollector::saveBandwidth() {
    const double now = mainQueue().clock().now();
    for (auto& [key, item] : bandwidthItems_) {
        // Where a store of data usage would take the stretch's bytes; this program keeps none.
        [[maybe_unused]] const double down = item.downloadBytes();
        [[maybe_unused]] const double up = item.uploadBytes();
        item.closeStretch(now);
    }
}

std::optional<Value> NetworkStatCollector::statsOverview() {
    const auto counters = readCounters();
    if (!counters)
        return std::nullopt;
    Value overview = Value::array();
    for (const InterfaceCounters& interface : *counters) {
        if (counts(interface))
            overview.append(Value::dict({{"key", interface.name},
                                         {"up", static_cast<double>(interface.out)},
                                         {"down", static_cast<double>(interface.in)}}));
    }
    return overview;
}

namespace {

std::int64_t identifierIn(Value& map, const Value& entry,
                          const std::function<bool(const Value&)>& matches) {
    for (const Value& known : map.arrayItems()) {
        if (matches(known))
            return known["identifier"].integerValue();
    }
    map.append(entry);
    return -1;
}

} // namespace

std::int64_t NetworkStatCollector::identifierForInterface(const std::string& interface) {
    return identifierIn(bandwidthInterfaceMap_,
                        Value::dict({{"interface", interface}, {"identifier", -1}}),
                        [&](const Value& e) { return e["interface"].stringValue() == interface; });
}

std::int64_t NetworkStatCollector::identifierForBSSID(const std::string& bssid,
                                                      const std::string& name) {
    if (bssid.empty())
        return -1;
    return identifierIn(bandwidthWifiMap_,
                        Value::dict({{"bssid", bssid}, {"name", name}, {"identifier", -1}}),
                        [&](const Value& e) { return e["bssid"].stringValue() == bssid; });
}

} // namespace corvane
