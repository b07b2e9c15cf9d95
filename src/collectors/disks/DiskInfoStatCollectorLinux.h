#pragma once

#include "collectors/disks/BlockDevices.h"
#include "collectors/disks/DiskInfoStatCollector.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <string>
#include <vector>

namespace corvane {

// The media dictionaries and physical disks from the sysfs block tree, udev's database and the
// mount table. Each diskChange reads them again and applies only what differs, so that a
// volume's fields are worked over only when its medium changed.
class DiskInfoStatCollectorLinux final : public DiskInfoStatCollector {
public:
    DiskInfoStatCollectorLinux(const EngineContext& context, SysRoot root,
                               DeviceProber prober = {});

    void diskChange() override;
    const std::vector<ActivityDisk>& activityDisks() const override { return activityDisks_; }
    // The mount table as last read: whether a rescan is worth it.
    const std::string& mountTableText() const { return mountTable_; }

private:
    void apply(const std::vector<Value>& descriptions);

    SysRoot root_;
    BlockDevices devices_;
    SysRootFile mountinfo_;
    std::string mountTable_;
    std::map<std::string, Value> described_; // by media key
    std::vector<ActivityDisk> activityDisks_;
};

} // namespace corvane
