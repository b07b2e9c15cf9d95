#include "collectors/network/NetworkStatCollectorItem.h"

#include <algorithm>
#include <cstdio>

namespace corvane {

NetworkStatCollectorItem::NetworkStatCollectorItem(std::int64_t sampleCount, int tierCount)
    : StatCollectorItem(sampleCount, tierCount) {}

double NetworkStatCollectorItem::totalDownload() const {
    const statsample newest = sampleAtIndex(0, 0);
    return newest.values && sampleValueCount() > DownloadCounter ? newest.values[DownloadCounter]
                                                                 : 0.0;
}

double NetworkStatCollectorItem::totalUpload() const {
    const statsample newest = sampleAtIndex(0, 0);
    return newest.values && sampleValueCount() > UploadCounter ? newest.values[UploadCounter] : 0.0;
}

void NetworkStatCollectorItem::addSampleWithDownload(double download, double upload, double time,
                                                     double identifier, double now) {
    const double previousDownload = totalDownload();
    const double previousUpload = totalUpload();
    if (lastTime == 0)
        lastTime = now;
    const double elapsed = now - lastTime;
    double downloadRate = 0;
    double uploadRate = 0;
    if (elapsed > 0) {
        downloadRate = (download - previousDownload) / elapsed;
        uploadRate = (upload - previousUpload) / elapsed;
    }
    lastTime = now;
    // A counter that went back was reset; a previous counter of 0 means the first reading after
    // start or after a gap, which must not show the whole counter as one burst.
    if (downloadRate < 0 || previousDownload == 0)
        downloadRate = 0;
    if (uploadRate < 0 || previousUpload == 0)
        uploadRate = 0;
    peakDownload = std::max(peakDownload, downloadRate);
    peakUpload = std::max(peakUpload, uploadRate);
    // One dictionary kept for every sample: setting its entries allocates nothing.
    sample_.set("sample", identifier);
    sample_.set("time", time);
    sample_.set("d", downloadRate);
    sample_.set("u", uploadRate);
    sample_.set("d_raw", download);
    sample_.set("u_raw", upload);
    sample_.set("empty", 0);
    addSample(sample_, 0);
}

std::string NetworkStatCollectorItem::ipAddress() const {
    if (!ipv4.empty())
        return ipv4.front();
    if (!ipv6.empty())
        return ipv6.front();
    return "";
}

std::string NetworkStatCollectorItem::description() const {
    char status[32];
    std::snprintf(status, sizeof status, "%lld", static_cast<long long>(connectionstatus));
    return "bsd = " + bsd + ", uuid = " + service + ", name = " + name + ", status = " + status +
           ", hardware = " + hardware;
}

} // namespace corvane
