#include "collectors/disks/DiskStatCollectorItem.h"

#include "collectors/disks/MediaTable.h"

#include <algorithm>
#include <cstdio>
#include <strings.h>
#include <thread>

namespace corvane {

OffThreadRunner detachedThreadRunner() {
    return [](std::function<void()> task) { std::thread(std::move(task)).detach(); };
}

void DiskStatCollectorItem::pushSample(double identifier, double now, const double* values) {
    const double lastValue = values[PercentageWithoutPurgeable];
    statsample* ring = storageForType(0);
    const std::uint64_t before = ring ? ring[0].sampleID : 0;
    addSample(Value::dict({{"sample", identifier},
                           {"time", now},
                           {"empty", 0},
                           {"used", values[Used]},
                           {"free", values[Free]},
                           {"size", values[Size]},
                           {"percentage", values[Percentage]},
                           {"purgeable", values[Purgeable]}}),
              0);
    // The last value has no name to be added by; it goes in only where the sample went in.
    if (ring && ring[0].sampleID != before)
        ring[0].values[PercentageWithoutPurgeable] = lastValue;
}

void DiskStatCollectorItem::updateWithIdentifier(double identifier, double now, MainQueue& queue,
                                                 std::shared_ptr<const VolumeSpaceReader> reader,
                                                 const OffThreadRunner& runner) {
    if (type == VolumeOptical || type == VolumeDiskImage || type == VolumeNotMounted)
        return;
    takeReadyFigures(identifier, now);
    if (lastUpdate + kSpaceInterval > now) {
        const statsample* ring = storageForType(0);
        if (ring && ring[0].sampleID != 0)
            pushSample(identifier, now, ring[0].values);
        return;
    }
    if (busy || path.empty())
        return;
    busy = true;
    std::weak_ptr<DiskStatCollectorItem> weak = weak_from_this();
    runner([&queue, reader = std::move(reader), weak, where = path, now] {
        std::optional<VolumeSpace> space = reader->read(where);
        queue.async([weak, space, now] {
            if (auto self = weak.lock())
                self->applySpace(space, now);
        });
    });
}

void DiskStatCollectorItem::takeReadyFigures(double identifier, double now) {
    if (!statsready)
        return;
    statsready = false;
    const double values[] = {storageUsed,       storageFree,     storageSize,
                             storagePercentage, storagePurgable, storagePercentagePurgable};
    pushSample(identifier, now, values);
}

void DiskStatCollectorItem::applySpace(const std::optional<VolumeSpace>& space, double readTime) {
    const VolumeSpace figures = space.value_or(VolumeSpace{});
    if (spaceKeys.empty()) {
        spaceKeys = {"total", "available"};
        if (figures.important != 0)
            spaceKeys.push_back("important");
    }
    const bool important = figures.important != 0 && std::find(spaceKeys.begin(), spaceKeys.end(),
                                                               "important") != spaceKeys.end();
    storageSize = figures.total;
    if (important) {
        storagePurgable = std::max(figures.important - figures.available, 0.0);
        storageFree = figures.important - storagePurgable;
    } else {
        storageFree = figures.available;
        storagePurgable = 0;
    }
    if (storageSize > 0) {
        storageUsed = storageSize - storageFree;
        storagePercentage = storageUsed / storageSize * 100.0;
        storagePercentagePurgable = (storageUsed - storagePurgable) / storageSize * 100.0;
    } else {
        storageUsed = storagePercentage = storagePercentagePurgable = 0;
    }
    hasSizes = space.has_value();
    supportsPurgable = 0;
    lastUpdate = readTime;
    statsready = true;
    busy = false;
}

int DiskStatCollectorItem::sort(const StatCollectorItem& other) const {
    const auto& that = static_cast<const DiskStatCollectorItem&>(other);
    if (path == "/")
        return -1;
    if (that.path == "/")
        return 1;
    if (type != that.type)
        return type < that.type ? -1 : 1;
    if (type != 0) {
        const int order = strcasecmp(name.c_str(), that.name.c_str());
        return order < 0 ? -1 : (order > 0 ? 1 : 0);
    }
    if (unitID != that.unitID)
        return unitID < that.unitID ? -1 : 1;
    if (partitionID != that.partitionID)
        return partitionID < that.partitionID ? -1 : 1;
    return 0;
}

namespace {

std::string wholeNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
}

} // namespace

std::string DiskStatCollectorItem::free() const {
    return wholeNumber(storageFree);
}
std::string DiskStatCollectorItem::used() const {
    return wholeNumber(storageUsed);
}
std::string DiskStatCollectorItem::size() const {
    return wholeNumber(storageSize);
}

std::string DiskStatCollectorItem::typeText() const {
    return stringForVolumeType(hardwareType);
}

std::string DiskStatCollectorItem::description() const {
    char text[512];
    std::snprintf(text, sizeof text,
                  "name = %s, uuid = %s, bsd = %s, temporary = %d, type = %s, ejectable = %d, "
                  "size = %.2f, used = %.2f",
                  name.c_str(), key().c_str(), bsd.c_str(), temporary() ? 1 : 0, typeText().c_str(),
                  ejectable ? 1 : 0, storageSize, storageUsed);
    return text;
}

} // namespace corvane
