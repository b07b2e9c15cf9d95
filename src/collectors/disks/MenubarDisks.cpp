#include "collectors/disks/MenubarDisks.h"

#include "foundation/Log.h"

namespace corvane::menubar_disks {

namespace {

bool isBootPath(const std::string& path) {
    return path == "/" || path == "/System/Volumes/Data";
}

DisksStatCollector::VolumeItem volumeWithKey(const DisksStatCollector& disks,
                                             const std::string& key) {
    for (const auto& volume : disks.volumes()) {
        if (volume->key() == key)
            return volume;
    }
    return nullptr;
}

Value entryFor(const DiskStatCollectorItem& volume, bool boot) {
    Value entry = Value::dict({{"key", volume.key()}, {"name", volume.name}});
    if (boot)
        entry.set("boot", true);
    return entry;
}

} // namespace

bool migrateIfNeeded(Value& entries, const DisksStatCollector& disks) {
    bool metString = false;
    bool changed = false;
    Value migrated = Value::array();
    for (const Value& entry : entries.arrayItems()) {
        if (entry.isString()) {
            metString = true;
            if (const auto volume = volumeWithKey(disks, entry.string()))
                migrated.append(entryFor(*volume, isBootPath(volume->path)));
        } else if (entry.isArray()) {
            changed = true;
            if (entry[0].isDictionary())
                migrated.append(entry[0]);
        } else {
            migrated.append(entry);
        }
    }
    if (!metString && !changed)
        return false;
    entries = migrated;
    if (metString)
        CVBLog("Migrated disk menubar storage type");
    return true;
}

bool updateItemsIfNeeded(Value& entries, const DisksStatCollector& disks) {
    bool changed = false;
    for (Value& entry : entries.mutableArray()) {
        const auto volume = entry["boot"].boolValue()
                                ? disks.bootDisk()
                                : volumeWithKey(disks, entry["key"].stringValue());
        if (!volume)
            continue;
        if (entry["name"].stringValue() != volume->name ||
            entry["key"].stringValue() != volume->key()) {
            entry.set("name", volume->name);
            entry.set("key", volume->key());
            CVBLog("Updating disk name");
            changed = true;
        }
    }
    return changed;
}

bool setDefaultsIfNeeded(Value& entries, const DisksStatCollector& disks) {
    if (!entries.empty())
        return false;
    const auto boot = disks.bootDisk();
    if (!boot)
        return false;
    entries = Value::array({entryFor(*boot, true)});
    return true;
}

bool updateMenubarDisks(Value& entries, const DisksStatCollector& disks) {
    if (disks.items().empty())
        return false;
    if (!entries.isArray())
        entries = Value::array();
    bool changed = migrateIfNeeded(entries, disks);
    changed = updateItemsIfNeeded(entries, disks) || changed;
    changed = setDefaultsIfNeeded(entries, disks) || changed;
    return changed;
}

Value availableDisks(const std::vector<DiskStructureGroup>& structure) {
    Value sections = Value::array();
    for (const auto& [type, header] : {std::pair<std::int64_t, const char*>{0, "AVAILABLE DISKS"},
                                       {3, "AVAILABLE NETWORK DISKS"}}) {
        Value items = Value::array();
        for (const DiskStructureGroup& group : structure) {
            if (group.type != type)
                continue;
            for (const DiskStructurePartition& partition : group.partitions)
                items.append(Value::dict({{"key", partition.key}, {"name", partition.name}}));
        }
        if (!items.empty())
            sections.append(Value::dict({{"header", header}, {"items", items}}));
    }
    return sections;
}

} // namespace corvane::menubar_disks
