#include "collectors/disks/DiskInfoStatCollectorLinux.h"

#include "collectors/disks/DiskText.h"

namespace corvane {

DiskInfoStatCollectorLinux::DiskInfoStatCollectorLinux(const EngineContext& context, SysRoot root,
                                                       DeviceProber prober)
    : DiskInfoStatCollector(context)
    , root_(root)
    , devices_(root, std::move(prober))
    , mountinfo_(root, "/proc/self/mountinfo") {}

void DiskInfoStatCollectorLinux::diskChange() {
    const auto text = mountinfo_.read();
    mountTable_ = text ? std::string(*text) : std::string();
    BlockSnapshot snapshot = devices_.scan(parseMountinfo(mountTable_));
    apply(snapshot.descriptions);
    finishFetchingInfo(snapshot.physicalDisks);
    updateDiskIDS();
    activityDisks_ = std::move(snapshot.activityDisks);
}

void DiskInfoStatCollectorLinux::apply(const std::vector<Value>& descriptions) {
    const double now = mainQueue().clock().now();
    std::map<std::string, Value> current;
    for (const Value& description : descriptions) {
        const auto key = keyFromDADisk(description);
        if (!key)
            continue;
        const auto before = described_.find(*key);
        if (before == described_.end()) {
            mutableMedia().appeared(description, now);
        } else if (!(before->second == description)) {
            // Stored afresh, then the fields a mount changes are taken or dropped.
            mutableMedia().appeared(description, now);
            mutableMedia().changed(description, now);
        }
        current.emplace(*key, description);
    }
    for (const auto& [key, description] : described_) {
        if (!current.contains(key))
            mutableMedia().disappeared(description);
    }
    described_ = std::move(current);
}

} // namespace corvane
