#include "collectors/disks/DiskSystem.h"

namespace corvane {

namespace {
std::unique_ptr<DiskSystem> sharedSystem;
}

DiskSystem::DiskSystem(const EngineContext& context, SysRoot root, DeviceProber prober,
                       std::shared_ptr<const VolumeSpaceReader> reader)
    : queue_(context.queue)
    , info_(context, root, std::move(prober))
    , disks_(context, info_, reader)
    , activity_(context, root)
    , manager_(info_, disks_, activity_)
    , reader_(std::move(reader)) {}

DiskSystem::~DiskSystem() {
    events_.reset();
    for (StatCollector* collector :
         {static_cast<StatCollector*>(&disks_), static_cast<StatCollector*>(&activity_),
          static_cast<StatCollector*>(&info_)})
        collector->cleanup();
}

DiskSystem& DiskSystem::shared(const EngineContext& context) {
    if (!sharedSystem) {
        SysRoot root = SysRoot::fromEnvironment();
        DeviceProber prober = root.isLive() ? DeviceProber(probeWithBlkid) : DeviceProber();
        sharedSystem = std::make_unique<DiskSystem>(context, root, std::move(prober),
                                                    std::make_shared<StatvfsSpaceReader>(root));
    }
    return *sharedSystem;
}

void DiskSystem::cleanupShared() {
    sharedSystem.reset();
}

void DiskSystem::sampleNow() {
    const double now = queue_.clock().now();
    if (!sampled_) {
        sampled_ = true;
        if (disks_.items().empty())
            manager_.diskEvent();
        for (const auto& volume : disks_.volumes()) {
            if (volume->mounted && (volume->type == VolumePhysical || volume->type == VolumeZFS))
                volume->applySpace(reader_->read(volume->path), now);
        }
    }
    activity_.updateStats();
    disks_.updateStats();
    for (const auto& volume : disks_.volumes())
        volume->takeReadyFigures(0, now);
}

void DiskSystem::startMonitoring() {
    manager_.diskEvent();
    if (!events_)
        events_ = std::make_unique<DiskEventSource>(queue_, [this] { manager_.diskEvent(); });
}

} // namespace corvane
