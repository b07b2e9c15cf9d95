#pragma once

#include "collectors/disks/DiskStatCollectorItem.h"
#include "foundation/MainQueue.h"
#include "foundation/SysRoot.h"

#include <functional>
#include <string>

namespace corvane {

// Space from statvfs: blocks and blocks available to an unprivileged user, in fragment size.
// "Used" is therefore total minus available, which includes the root reserve.
class StatvfsSpaceReader final : public VolumeSpaceReader {
public:
    explicit StatvfsSpaceReader(SysRoot root = SysRoot())
        : root_(std::move(root)) {}
    std::optional<VolumeSpace> read(const std::string& path) const override;

private:
    SysRoot root_;
};

// Tells when disks or mounts change: block uevents from the kernel's socket and the mount
// table's POLLPRI, both on the GLib main loop. Bursts (a disk with its partitions) come as
// one call, a moment after the last event.
class DiskEventSource {
public:
    static constexpr double kSettleDelay = 0.15;

    DiskEventSource(MainQueue& queue, std::function<void()> changed);
    ~DiskEventSource();
    DiskEventSource(const DiskEventSource&) = delete;
    DiskEventSource& operator=(const DiskEventSource&) = delete;

    // False when neither source could be opened; the caller then has only its own updates.
    bool watching() const { return ueventSource_ != 0 || mountSource_ != 0; }

private:
    static int onUevent(int fd, unsigned condition, void* self);
    static int onMountTable(int fd, unsigned condition, void* self);
    void settle();

    MainQueue& queue_;
    std::function<void()> changed_;
    int ueventFd_ = -1;
    int mountFd_ = -1;
    unsigned ueventSource_ = 0;
    unsigned mountSource_ = 0;
    MainQueue::TimerId pending_ = 0;
};

} // namespace corvane
