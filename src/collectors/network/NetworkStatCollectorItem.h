#pragma once

#include "engine/StatCollectorItem.h"
#include "foundation/Value.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

// One network service, keyed by the service's identifier rather than by its interface: a VPN
// that is down has no interface and stays in the list. Its samples hold the download and
// upload rates (bytes per second) and the two counters they were measured from.
class NetworkStatCollectorItem : public StatCollectorItem {
public:
    enum Slot : int { Download = 0, Upload = 1, DownloadCounter = 2, UploadCounter = 3 };
    // `connectionstatus` of a service that is up.
    static constexpr std::int64_t kConnected = 100;

    NetworkStatCollectorItem(std::int64_t sampleCount, int tierCount);

    // Pushes the rates measured from two counters against the previous ones. `now` is the wall
    // clock at the reading, which the rate divides by; `time` is the sample's time.
    void addSampleWithDownload(double download, double upload, double time, double identifier,
                               double now);
    double totalDownload() const;
    double totalUpload() const;

    bool isConnected() const { return connectionstatus == kConnected; }
    // The first IPv4 address, else the first IPv6 address, else "".
    std::string ipAddress() const;
    std::string description() const;

    bool ppp = false, dhcp = false;
    std::int32_t index = 0;
    std::string mac, hardware, name, bsd, parentBSD, routerIPV4, routerIPV6, service;
    std::vector<std::string> dnsIPV4, dnsIPV6, subnet, ipv4, ipv6;
    Value activeMediaOptions;
    std::int64_t connectionstatus = 0;
    double lastupdate = 0, speed = 0, linkSpeed = 0;
    double connectiontime = 0, rawConnectiontime = 0;
    double peakDownload = 0, peakUpload = 0;
    double lastTime = 0;

private:
    Value sample_ = Value::dict();
};

} // namespace corvane
