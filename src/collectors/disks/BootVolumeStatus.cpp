#include "collectors/disks/BootVolumeStatus.h"

#include <cstdio>

namespace corvane {

BootVolumeStatus::BootVolumeStatus(const DisksStatCollector& disks, const VolumeSpaceReader& reader)
    : boot_(disks.bootDisk()) {
    if (boot_ && boot_->mounted)
        boot_->applySpace(reader.read(boot_->path), disks.mainQueue().clock().now());
}

Value BootVolumeStatus::dictionary() const {
    if (!boot_)
        return {};
    return Value::dict({{"key", boot_->key()},
                        {"name", boot_->name},
                        {"device", boot_->bsd},
                        {"path", boot_->path},
                        {"size", boot_->storageSize},
                        {"used", boot_->storageUsed},
                        {"available", boot_->storageFree},
                        {"usedPercent", boot_->storagePercentage}});
}

std::string BootVolumeStatus::text() const {
    if (!hasReading())
        return "Boot      unavailable: no volume is mounted at / or its space could not be read\n";
    const auto gb = [](double bytes) {
        char text[32];
        std::snprintf(text, sizeof text, "%.1f GB", bytes / 1e9);
        return std::string(text);
    };
    char line[256];
    // Used is size less available, so it counts the space kept for root.
    std::snprintf(line, sizeof line,
                  "Boot      %s (%s at %s): %s used of %s (%.1f%%), %s available\n",
                  boot_->name.c_str(), boot_->bsd.c_str(), boot_->path.c_str(),
                  gb(boot_->storageUsed).c_str(), gb(boot_->storageSize).c_str(),
                  boot_->storagePercentage, gb(boot_->storageFree).c_str());
    return line;
}

} // namespace corvane
