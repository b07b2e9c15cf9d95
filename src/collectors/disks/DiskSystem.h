#pragma once

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/DiskEventSource.h"
#include "collectors/disks/DiskInfoStatCollectorLinux.h"
#include "collectors/disks/DiskManager.h"
#include "collectors/disks/DisksStatCollector.h"

#include <memory>

namespace corvane {

// The disk collectors of a process and what drives them: the info collector, the volumes,
// the activity, their manager and, once monitoring, the kernel's events.
class DiskSystem {
public:
    DiskSystem(const EngineContext& context, SysRoot root, DeviceProber prober,
               std::shared_ptr<const VolumeSpaceReader> reader);
    ~DiskSystem();
    DiskSystem(const DiskSystem&) = delete;
    DiskSystem& operator=(const DiskSystem&) = delete;

    // The process's disks under $CORVANEBAR_SYSROOT (else "/"), with libblkid standing in for
    // udev on a live machine.
    static DiskSystem& shared(const EngineContext& context);
    static void cleanupShared();

    // Reads the machine, then follows block uevents and mount-table changes.
    void startMonitoring();
    // A sample outside the status program's cycle, as `corvanebar render` takes them. The
    // first reads the machine and the space of local volumes at once, on this thread.
    void sampleNow();

    DiskInfoStatCollectorLinux& info() { return info_; }
    DisksStatCollector& disks() { return disks_; }
    DiskActivityStatCollector& activity() { return activity_; }
    DiskManager& manager() { return manager_; }

private:
    MainQueue& queue_;
    DiskInfoStatCollectorLinux info_;
    DisksStatCollector disks_;
    DiskActivityStatCollector activity_;
    DiskManager manager_;
    std::shared_ptr<const VolumeSpaceReader> reader_;
    std::unique_ptr<DiskEventSource> events_;
    bool sampled_ = false;
};

} // namespace corvane
