#pragma once

#include "engine/StatCollectorItem.h"
#include "foundation/MainQueue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// The space figures of a mounted filesystem, in bytes; important capacity 0 when the system
// has no such figure (Linux never has).
struct VolumeSpace {
    double total = 0;
    double available = 0;
    double important = 0;
};

// Reads the space of a mount point. It may block for as long as the filesystem's server
// takes, so it is only called off the main thread.
class VolumeSpaceReader {
public:
    virtual ~VolumeSpaceReader() = default;
    virtual std::optional<VolumeSpace> read(const std::string& path) const = 0;
};

// Runs a task away from the main thread.
using OffThreadRunner = std::function<void(std::function<void()>)>;
// A detached thread per task: a hung network server holds only its own thread.
OffThreadRunner detachedThreadRunner();

// One volume: a mounted or unmounted filesystem, keyed by its volume key (its UUID, else its
// media key), with its space sampled at most every 30 seconds.
class DiskStatCollectorItem : public StatCollectorItem,
                              public std::enable_shared_from_this<DiskStatCollectorItem> {
public:
    enum Slot : int { Used = 0, Free, Size, Percentage, Purgeable, PercentageWithoutPurgeable };
    static constexpr double kSpaceInterval = 30.0;

    using StatCollectorItem::StatCollectorItem;

    // Pushes the answer of the last read, or repeats the previous sample, and starts a read
    // when one is due and none is in flight.
    void updateWithIdentifier(double identifier, double now, MainQueue& queue,
                              std::shared_ptr<const VolumeSpaceReader> reader,
                              const OffThreadRunner& runner);
    // Stores the answer of the last read as a sample, if one came.
    void takeReadyFigures(double identifier, double now);
    // The answer of a read, taken on the main queue; stored at the next cycle.
    void applySpace(const std::optional<VolumeSpace>& space, double readTime);
    int sort(const StatCollectorItem& other) const override;

    std::string free() const;
    std::string used() const;
    std::string size() const;
    std::string description() const;
    std::string typeText() const;

    bool newDisk = false, mounted = false, ejectable = false, hasSizes = false;
    bool busy = false, statsready = false;
    Value iconInfo;
    std::string path, name, bsd, label, url;
    std::int64_t type = 0, hardwareType = 0, partitionID = 0, unitID = 0;
    std::int64_t supportsPurgable = 0, supportsAvailable = 0;
    double storageSize = 0, storageFree = 0, storageUsed = 0, storagePurgable = 0;
    double storagePercentage = 0, storagePercentagePurgable = 0;
    double modificationTime = -1, iokitSize = 0, lastUpdate = 0;
    // Fixed at the first answer: whether the important capacity is asked for at all.
    std::vector<std::string> spaceKeys;

private:
    void pushSample(double identifier, double now, const double* values);
};

} // namespace corvane
