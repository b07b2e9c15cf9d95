#include "collectors/disks/DiskManager.h"

#include <algorithm>

namespace corvane {

DiskManager::DiskManager(DiskInfoStatCollector& info, DisksStatCollector& disks,
                         DiskActivityStatCollector& activity)
    : info_(info)
    , disks_(disks)
    , activity_(activity) {}

void DiskManager::addDelegate(DiskManagerDelegate* delegate) {
    if (std::find(delegates_.begin(), delegates_.end(), delegate) == delegates_.end())
        delegates_.push_back(delegate);
}

void DiskManager::removeDelegate(DiskManagerDelegate* delegate) {
    std::erase(delegates_, delegate);
}

void DiskManager::diskEvent() {
    info_.diskChange();
    update();
}

void DiskManager::update() {
    disks_.update();
    activity_.rebuildDisks(info_.activityDisks());
    updateStructure();
    for (DiskManagerDelegate* delegate : std::vector(delegates_))
        delegate->diskManagedUpdated();
}

std::int64_t DiskManager::diskStructureGroupForType(std::int64_t type) {
    switch (type) {
    case 0:
        return 0;
    case 1:
        return 1;
    case 2:
        return 3;
    case 3:
        return 4;
    case 4:
        return 5;
    case 5:
        return 6;
    case 6:
        return 7;
    default:
        return 6;
    }
}

namespace {

bool skippedVolume(const DiskStatCollectorItem& volume) {
    const std::string& name = volume.name;
    if (name.empty() || name == "Recovery HD" || name == "Boot OSX" || name == "Boot OS X")
        return true;
    if (volume.path == "/private/var/vm")
        return true;
    // Without a volume-group member, a system's helper volumes stay out.
    return volume.type == VolumeNotMounted && (name == "Recovery" || name == "Preboot");
}

} // namespace

std::optional<DiskStructurePartition> DiskManager::partitionFor(const DiskStatCollectorItem& volume,
                                                                std::string& group) const {
    if (skippedVolume(volume))
        return std::nullopt;
    DiskStructurePartition partition;
    partition.name = volume.name;
    partition.mounted = volume.mounted;
    partition.key = volume.key();
    const auto physical = info_.stuctureForBSD(volume.bsd);
    group.clear();
    if (!physical.empty()) {
        std::vector<std::string> keys;
        for (const auto& disk : physical)
            keys.push_back(disk->key());
        partition.physicalDiskKeys = keys;
        if (physical.size() < 2) {
            const auto& only = physical.front();
            if (!only->key().empty() && volume.bsd.starts_with(only->key()))
                group = only->key();
            if (only->info.contains("serial"))
                partition.groupIdentifier = only->info["serial"].stringValue();
            partition.physicalDiskName = only->name;
        } else {
            partition.groupIdentifier = volume.key();
        }
    }
    switch (volume.type) {
    case VolumeNetwork:
        group = "_network";
        break;
    case VolumeDiskImage:
    case VolumeOptical:
        group = "_removable";
        break;
    case VolumeNotMounted:
        group = "_notmounted";
        break;
    default:
        break;
    }
    if (!partition.groupIdentifier)
        partition.groupIdentifier = group;
    if (group.empty()) {
        group =
            volume.unitID != 0 && volume.partitionID != 0
                ? "disk" + std::to_string(volume.unitID) + "s" + std::to_string(volume.partitionID)
                : volume.bsd;
    }
    if (partition.physicalDiskKeys) {
        std::vector<DiskActivityStatCollector::ActivityItem> found;
        for (const std::string& key : *partition.physicalDiskKeys) {
            if (auto item = activity_.itemWithBSD(key))
                found.push_back(item);
        }
        if (!found.empty())
            partition.activityCollectors = found;
    }
    return partition;
}

void DiskManager::updateStructure() {
    stucture_.clear();
    for (const auto& volume : disks_.volumes()) {
        std::string name;
        auto partition = partitionFor(*volume, name);
        if (!partition)
            continue;
        partition->collector = volume;
        auto group = std::find_if(stucture_.begin(), stucture_.end(),
                                  [&](const DiskStructureGroup& g) { return g.bsd == name; });
        if (group == stucture_.end()) {
            stucture_.push_back({name,
                                 diskStructureGroupForType(volume->type),
                                 {},
                                 {},
                                 false,
                                 std::nullopt,
                                 std::nullopt});
            group = std::prev(stucture_.end());
        }
        group->coreStorage = group->coreStorage || partition->coreStorage;
        if (partition->physicalDiskName)
            group->physicalDiskName = partition->physicalDiskName;
        if (partition->groupIdentifier)
            group->groupIdentifier = partition->groupIdentifier;
        for (const auto& item : partition->activityCollectors.value_or(
                 std::vector<DiskActivityStatCollector::ActivityItem>{})) {
            if (std::find(group->activityCollectors.begin(), group->activityCollectors.end(),
                          item) == group->activityCollectors.end())
                group->activityCollectors.push_back(item);
        }
        group->partitions.push_back(std::move(*partition));
    }
    sortGroups();
}

void DiskManager::sortGroups() {
    const auto holdsRoot = [](const DiskStructureGroup& group) {
        return std::any_of(group.partitions.begin(), group.partitions.end(),
                           [](const DiskStructurePartition& p) {
                               return p.collector && p.collector->path == "/";
                           });
    };
    std::stable_sort(stucture_.begin(), stucture_.end(),
                     [&](const DiskStructureGroup& a, const DiskStructureGroup& b) {
                         const bool rootA = holdsRoot(a);
                         const bool rootB = holdsRoot(b);
                         if (rootA || rootB)
                             return rootA && !rootB;
                         if (a.type != b.type)
                             return a.type < b.type;
                         return a.bsd < b.bsd;
                     });
}

} // namespace corvane
