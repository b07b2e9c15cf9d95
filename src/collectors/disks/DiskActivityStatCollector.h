#pragma once

#include "engine/StatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// What the block source tells about a whole disk for its activity item.
struct ActivityDisk {
    std::string bsd;
    bool diskImage = false; // a loop device: never an item
    std::string serial;
    std::string wwid;
    std::string vendor;
    std::string partitionTableUUID;
    // The first designator of the device identification page, as text.
    std::string deviceIdentification;
    std::string hardwareType; // "Solid State", "Rotational"
    std::string name;
};

// The stable identity of a disk: its serial, else its WWID, else for a controller of vendor
// "HPT" the partition table's UUID, else the device identification. Blank or all-zero values
// do not count; disk images have none.
std::optional<std::string> activityIdentity(const ActivityDisk& disk);

// Difference of two counters; 0 when it is negative, not a number, or either is 0, so that a
// counter reset or a first sample never gives a spike.
double diskActivityValue(double newValue, double oldValue);

// Read and write rates of one whole disk, in bytes and operations per second.
class DiskActivityStatCollectorItem : public StatCollectorItem {
public:
    enum Slot : int {
        Read = 0,
        Write,
        ReadIOPS,
        WriteIOPS,
        ReadRaw,
        WriteRaw,
        ReadIOPSRaw,
        WriteIOPSRaw
    };
    using StatCollectorItem::StatCollectorItem;

    void addSampleWithRead(double read, double write, double iopsRead, double iopsWrite,
                           double time, double identifier);
    std::string description() const;

    std::string serial, name, bsd, hardwareType;
    Value mounts = Value::array();
    double read = 0, write = 0, readTotal = 0, writeTotal = 0, readIOPS = 0, writeIOPS = 0;
    double lastTime = 0;
};

// One item per whole disk with an identity, sampled each second from /proc/diskstats through
// a descriptor kept open.
class DiskActivityStatCollector : public StatCollector {
public:
    using ActivityItem = std::shared_ptr<DiskActivityStatCollectorItem>;

    DiskActivityStatCollector(const EngineContext& context, SysRoot root);

    static Value makeConfig();
    ItemPointer itemClassInstance() const override;
    void updateStats() override;

    // The disks as the block source now sees them; items follow.
    void rebuildDisks(const std::vector<ActivityDisk>& disks);
    ActivityItem itemWithBSD(std::string_view bsd) const;
    std::vector<ActivityItem> disks() const;
    Value arrayRepresentation() const;

private:
    SysRootFile diskstats_;
    std::int64_t session_ = 0;
};

} // namespace corvane
