#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The fields of a medium's description as the block source hands them over (a dictionary):
// what the kernel, udev and the mount table say about one whole disk, partition or network
// mount.
namespace disk_description {
inline constexpr const char* kMediaBSDName = "MediaBSDName"; // kernel name: sda1, vda
inline constexpr const char* kMediaWhole = "MediaWhole";     // bool
inline constexpr const char* kWholeDisk = "WholeDisk";       // a partition's whole disk
inline constexpr const char* kMediaBSDMajor = "MediaBSDMajor";
inline constexpr const char* kMediaBSDMinor = "MediaBSDMinor";
inline constexpr const char* kMediaEjectable = "MediaEjectable"; // bool
inline constexpr const char* kMediaName = "MediaName";           // partition name from the table
inline constexpr const char* kMediaKind = "MediaKind";           // "IOCDMedia" for optical drives
inline constexpr const char* kMediaIcon = "MediaIcon";
inline constexpr const char* kMediaSize = "MediaSize"; // bytes
inline constexpr const char* kDeviceModel = "DeviceModel";
inline constexpr const char* kDeviceVendor = "DeviceVendor";
inline constexpr const char* kDeviceProtocol = "DeviceProtocol";   // bus; "Virtual Interface"
inline constexpr const char* kVolumeNetwork = "VolumeNetwork";     // bool
inline constexpr const char* kVolumeKind = "VolumeKind";           // filesystem type
inline constexpr const char* kVolumeMountable = "VolumeMountable"; // has a filesystem
inline constexpr const char* kVolumeName = "VolumeName";
inline constexpr const char* kVolumePath = "VolumePath"; // absent while unmounted
inline constexpr const char* kVolumeURL = "VolumeURL";   // network: "nfs://host/export"
inline constexpr const char* kVolumeUUID = "VolumeUUID";
inline constexpr const char* kBSDUnit = "BSD Unit";
inline constexpr const char* kPartitionID = "Partition ID";
} // namespace disk_description

// Volume types of a media dictionary and of a volume item.
enum VolumeType : std::int64_t {
    VolumePhysical = 0,
    VolumeZFS = 1,
    VolumeNetwork = 2,
    VolumeDiskImage = 3,
    VolumeOptical = 4,
    VolumeUnknown = 5,
    VolumeNotMounted = 6,
};
std::string stringForVolumeType(std::int64_t type);

// The media key of a description: the kernel name; a network volume's URL (autofs: none); a
// zfs dataset's name. Nothing: the description is ignored.
std::optional<std::string> keyFromDADisk(const Value& description);
// In order: no description, network (or a backup volume), disk image, optical, zfs, physical.
std::int64_t volumeTypeFromDAInfo(const Value& description);

// The storing routines: the source's value as text (numbers as their text), trimmed or not;
// the third also removes the target key when the source has none.
void FindAndAddKeyToStorage(const Value& source, std::string_view sourceKey, Value& target,
                            std::string_view targetKey);
void FindAndAddKeyToStorageWithoutTrimming(const Value& source, std::string_view sourceKey,
                                           Value& target, std::string_view targetKey);
void FindAndAddKeyToStorageOrRemove(const Value& source, std::string_view sourceKey, Value& target,
                                    std::string_view targetKey);

// The media dictionaries: one per whole disk (or network / zfs volume), partitions inside.
class MediaTable {
public:
    // A medium appeared or was described anew; false when it was ignored.
    bool appeared(const Value& description, double now);
    void disappeared(const Value& description);
    // Rewrites the fields a mount or a rename changes.
    void changed(const Value& description, double now);

    const Value& disks() const { return disks_; }
    Value& mutableDisks() { return disks_; }
    // The dictionary with that media key: a whole entry, else a partition; null if none.
    const Value* storageForDADiskWithKey(std::string_view key) const;

private:
    Value& processDADiskWhole(const Value& description, const std::string& key);
    static Value& partitionFromDADisk(Value& whole, const std::string& key);
    static void storeVolumeFields(const Value& description, const std::string& key, Value& target,
                                  double now);

    Value disks_ = Value::array();
};

} // namespace corvane
