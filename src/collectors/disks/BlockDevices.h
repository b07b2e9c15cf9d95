#pragma once

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/MountTable.h"
#include "foundation/SysRoot.h"
#include "foundation/Value.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace corvane {

// A block device's properties in udev's names (ID_FS_UUID, ID_FS_LABEL, ID_FS_TYPE,
// ID_FS_USAGE, ID_PART_ENTRY_NAME, ID_PART_ENTRY_TYPE, ID_PART_TABLE_UUID, ID_BUS, ...).
using DeviceProperties = std::map<std::string, std::string, std::less<>>;
// Properties of a device by kernel name and "major:minor", when udev has no record of it.
using DeviceProber =
    std::function<DeviceProperties(const std::string& name, const std::string& device)>;
// libblkid's probe of /dev/<name>; it needs the right to read the device, else it finds nothing.
DeviceProperties probeWithBlkid(const std::string& name, const std::string& device);

// The first designator of a SCSI device identification page (vpd_pg83): text as it is,
// binary as hexadecimal digits; empty when the page holds none.
std::string identifierFromVpdPage83(const std::string& page);

// What the machine's block devices and mounts say, in the terms of the disk tree.
struct BlockSnapshot {
    std::vector<Value> descriptions; // whole disks before their partitions, then network
    std::vector<Value> physicalDisks;
    std::vector<ActivityDisk> activityDisks;
};

// Reads the sysfs block tree, udev's database under /run/udev/data when there is one (else
// the prober), and the mount table, under a SysRoot.
class BlockDevices {
public:
    explicit BlockDevices(SysRoot root, DeviceProber prober = {});

    BlockSnapshot scan(const std::vector<MountEntry>& mountTable) const;

private:
    struct Disk;
    Disk readDisk(const std::string& name, std::size_t unit) const;
    DeviceProperties properties(const std::string& name, const std::string& device) const;
    std::string serialOf(const Disk& disk) const;
    std::vector<std::string> holders(const std::string& sysPath) const;
    Value physicalInfo(const Disk& disk) const;
    void addVolumeFields(Value& description, const DeviceProperties& properties,
                         const VolumeMount* mount) const;

    SysRoot root_;
    DeviceProber prober_;
    bool hasUdev_;
};

} // namespace corvane
