#include "collectors/disks/DiskText.h"

#include "collectors/disks/MediaTable.h"
#include "collectors/disks/MountTable.h"

#include <gtest/gtest.h>

using namespace corvane;
namespace dd = corvane::disk_description;

TEST(DiskText, MountinfoReadsFieldsAroundOptionalTagsAndEscapes) {
    const auto entries = parseMountinfo(
        "36 35 98:0 /mnt1 /mnt/My\\040Disk rw,noatime master:1 shared:2 - ext3 /dev/root rw\n"
        "37 35 0:40 /@home /home rw - btrfs /dev/sda2 rw,subvol=/@home\n"
        "garbage line\n"
        "38 35 x:1 / /bad rw - ext4 /dev/sdz rw\n"
        "39 35 8:1 / /short rw - ext4\n");
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].major, 98u);
    EXPECT_EQ(entries[0].root, "/mnt1");
    EXPECT_EQ(entries[0].mountPoint, "/mnt/My Disk");
    EXPECT_EQ(entries[0].fsType, "ext3");
    EXPECT_EQ(entries[0].source, "/dev/root");
    EXPECT_EQ(entries[1].minor, 40u);
    EXPECT_EQ(entries[1].root, "/@home");
}

TEST(DiskText, DiskstatsTakesOperationsAndSectorsAndSkipsShortLines) {
    const auto disks = parseDiskstats("   8       0 sda 9000 10 720000 500 4000 20 320000 900 0\n"
                                      "   8       1 sdb 1 2 3\n"
                                      " 259 0 nvme0n1 -1 0 5 0 6 0 7 0 0 0 0\n");
    ASSERT_EQ(disks.size(), 1u);
    EXPECT_EQ(disks[0].name, "sda");
    EXPECT_EQ(disks[0].readOperations, 9000u);
    EXPECT_EQ(disks[0].readSectors, 720000u);
    EXPECT_EQ(disks[0].writeOperations, 4000u);
    EXPECT_EQ(disks[0].writeSectors, 320000u);
}

TEST(DiskText, UdevDataKeepsOnlyProperties) {
    const auto properties = parseUdevData("S:disk/by-uuid/x\nE:ID_FS_UUID=ab-cd\nE:ID_FS_LABEL=My "
                                          "Disk=1\nE:=nothing\nE:NOEQUALS\nG:systemd\n");
    EXPECT_EQ(properties.size(), 2u);
    EXPECT_EQ(properties.at("ID_FS_UUID"), "ab-cd");
    EXPECT_EQ(properties.at("ID_FS_LABEL"), "My Disk=1");
}

TEST(DiskText, NetworkURLsFromMountSources) {
    const struct {
        const char* type;
        const char* source;
        const char* url;
    } cases[] = {
        {"nfs4", "nas.lan:/export/media", "nfs://nas.lan/export/media"},
        {"nfs", "10.0.0.2:export", "nfs://10.0.0.2/export"},
        {"cifs", "//nas.lan/share", "smb://nas.lan/share"},
        {"smb3", "//host/a b", "smb://host/a b"},
        {"fuse.sshfs", "user@box:/home/user", "sftp://user@box/home/user"},
        {"davfs", "https://dav.example/remote.php", "https://dav.example/remote.php"},
        {"nfs", "no-colon", ""},
        {"cifs", "nas/share", ""},
    };
    for (const auto& c : cases) {
        MountEntry entry;
        entry.fsType = c.type;
        entry.source = c.source;
        EXPECT_EQ(networkURL(entry), c.url) << c.type << " " << c.source;
    }
}

TEST(DiskText, MediaKeyAndVolumeTypeFollowTheirOrder) {
    const struct {
        Value description;
        std::optional<std::string> key;
        std::int64_t type;
    } cases[] = {
        {Value(), std::nullopt, VolumeUnknown},
        {Value::dict({{dd::kMediaBSDName, "sda1"}}), "sda1", VolumePhysical},
        {Value::dict({{dd::kVolumeNetwork, true}, {dd::kVolumeKind, "autofs"}}), std::nullopt,
         VolumeNetwork},
        {Value::dict({{dd::kVolumeNetwork, true}, {dd::kVolumeURL, "nfs://h/x"}}), "nfs://h/x",
         VolumeNetwork},
        // A backup volume counts as network even on a local disk.
        {Value::dict({{dd::kMediaBSDName, "sdb1"}, {dd::kVolumeName, "Time Machine Backups"}}),
         "sdb1", VolumeNetwork},
        {Value::dict({{dd::kMediaBSDName, "loop3"},
                      {dd::kDeviceProtocol, "Virtual Interface"},
                      {dd::kMediaKind, "IOCDMedia"}}),
         "loop3", VolumeDiskImage},
        {Value::dict(
             {{dd::kMediaBSDName, "sr0"}, {dd::kMediaKind, "IOCDMedia"}, {dd::kVolumeKind, "zfs"}}),
         "sr0", VolumeOptical},
        // A dataset without a device is keyed by its name, even over a URL.
        {Value::dict({{dd::kVolumeNetwork, true},
                      {dd::kVolumeURL, "nfs://h/x"},
                      {dd::kVolumeKind, "zfs"},
                      {dd::kVolumeName, "tank/data"}}),
         "tank/data", VolumeNetwork},
        {Value::dict({{dd::kVolumeKind, "zfs"}, {dd::kVolumeName, "tank/home"}}), "tank/home",
         VolumeZFS},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(keyFromDADisk(c.description), c.key) << c.description;
        EXPECT_EQ(volumeTypeFromDAInfo(c.description), c.type) << c.description;
    }
}

TEST(DiskText, StoringRoutinesTrimConvertAndRemove) {
    const Value source = Value::dict({{"text", "  name \n"}, {"number", 42}, {"flag", true}});
    Value target = Value::dict({{"gone", "old"}});
    FindAndAddKeyToStorage(source, "text", target, "trimmed");
    FindAndAddKeyToStorageWithoutTrimming(source, "text", target, "raw");
    FindAndAddKeyToStorage(source, "number", target, "number");
    FindAndAddKeyToStorage(source, "flag", target, "flag");
    FindAndAddKeyToStorage(source, "missing", target, "gone");
    EXPECT_EQ(target["gone"], Value("old"));
    FindAndAddKeyToStorageOrRemove(source, "missing", target, "gone");
    EXPECT_EQ(
        target,
        Value::dict({{"trimmed", "name"}, {"raw", "  name \n"}, {"number", "42"}, {"flag", "1"}}));
}

TEST(DiskText, MediaTableKeepsAWholeEntryWhoseLastPartitionWent) {
    MediaTable table;
    const Value whole = Value::dict({{dd::kMediaBSDName, "sdb"},
                                     {dd::kMediaWhole, true},
                                     {dd::kMediaEjectable, true},
                                     {dd::kDeviceModel, " Stick "}});
    const Value partition = Value::dict({{dd::kMediaBSDName, "sdb1"},
                                         {dd::kWholeDisk, "sdb"},
                                         {dd::kMediaEjectable, true},
                                         {dd::kVolumePath, "/media/STICK "}});
    ASSERT_TRUE(table.appeared(whole, 10));
    ASSERT_TRUE(table.appeared(partition, 11));
    // An orphan partition without its whole disk is dropped.
    EXPECT_FALSE(table.appeared(Value::dict({{dd::kMediaBSDName, "sdx1"}}), 12));
    const Value* stored = table.storageForDADiskWithKey("sdb1");
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ((*stored)["uuid"], Value("sdb1")); // no volume UUID: keyed by the media key
    EXPECT_FALSE(stored->contains("parition-uuid"));
    EXPECT_EQ((*stored)["mediaName"], Value("1")); // the ejectable flag's text, no media name
    EXPECT_EQ((*stored)["path"], Value("/media/STICK ")); // paths are not trimmed
    EXPECT_EQ(table.disks()[0]["model"], Value("Stick"));

    table.disappeared(partition);
    ASSERT_EQ(table.disks().size(), 1u);
    EXPECT_FALSE(table.disks()[0].contains("partitions"));
    table.disappeared(whole);
    EXPECT_TRUE(table.disks().empty());
}
