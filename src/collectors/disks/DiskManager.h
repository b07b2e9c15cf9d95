#pragma once

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/DiskInfoStatCollector.h"
#include "collectors/disks/DisksStatCollector.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane {

// A volume in the tree.
struct DiskStructurePartition {
    std::string name;
    std::shared_ptr<DiskStatCollectorItem> collector;
    bool mounted = false;
    std::string key; // the volume key
    bool coreStorage = false;
    std::optional<std::vector<std::string>> physicalDiskKeys;
    std::optional<std::string> physicalDiskName;
    std::optional<std::string> groupIdentifier;
    std::optional<std::vector<DiskActivityStatCollector::ActivityItem>> activityCollectors;
};

// A group of volumes: those of one physical disk, or the network, removable or unmounted ones.
struct DiskStructureGroup {
    std::string bsd; // the group's identity
    std::int64_t type = 0;
    std::vector<DiskStructurePartition> partitions;
    std::vector<DiskActivityStatCollector::ActivityItem> activityCollectors;
    bool coreStorage = false;
    std::optional<std::string> physicalDiskName;
    std::optional<std::string> groupIdentifier;
};

class DiskManagerDelegate {
public:
    virtual ~DiskManagerDelegate() = default;
    virtual void diskManagedUpdated() = 0;
};

// Runs the disk collectors in their order after each disk event and builds the tree of
// groups and volumes that the views, the window and the command line show.
class DiskManager {
public:
    DiskManager(DiskInfoStatCollector& info, DisksStatCollector& disks,
                DiskActivityStatCollector& activity);

    void addDelegate(DiskManagerDelegate* delegate);
    void removeDelegate(DiskManagerDelegate* delegate);

    // Reads the machine again (a disk event) and updates everything that hangs on it.
    void diskEvent();
    // The volume-group collectors (none yet), volumes, activity; then the tree.
    void update();
    const std::vector<DiskStructureGroup>& stucture() const { return stucture_; }
    void updateStructure();

    static std::int64_t diskStructureGroupForType(std::int64_t type);

    DiskInfoStatCollector& info() const { return info_; }
    DisksStatCollector& disks() const { return disks_; }
    DiskActivityStatCollector& activity() const { return activity_; }

private:
    std::optional<DiskStructurePartition> partitionFor(const DiskStatCollectorItem& volume,
                                                       std::string& group) const;
    void sortGroups();

    DiskInfoStatCollector& info_;
    DisksStatCollector& disks_;
    DiskActivityStatCollector& activity_;
    std::vector<DiskStructureGroup> stucture_;
    std::vector<DiskManagerDelegate*> delegates_;
};

} // namespace corvane
