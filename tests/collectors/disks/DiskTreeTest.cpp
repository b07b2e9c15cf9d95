#include "DiskFixture.h"
#include "support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::diskFixture;
using corvane::test::DiskRig;

namespace {

std::vector<std::string> volumeKeys(const DiskRig& rig) {
    std::vector<std::string> keys;
    for (const auto& v : rig.disks.volumes())
        keys.push_back(v->key());
    return keys;
}

std::vector<std::string> groupNames(const DiskRig& rig) {
    std::vector<std::string> names;
    for (const auto& g : rig.manager.stucture())
        names.push_back(g.bsd + "/" + std::to_string(g.type));
    return names;
}

} // namespace

TEST(DiskTree, LaptopWithEncryptedVolumeGroupListsItsTwoFilesystems) {
    DiskRig rig(diskFixture("disks-nvme-laptop"));
    rig.manager.diskEvent();
    // Not the EFI partition, the LUKS container, the physical volume, swap, the snap image,
    // overlay, autofs or tmpfs; the bind mount of / is the same volume.
    EXPECT_EQ(volumeKeys(rig), (std::vector<std::string>{"f00d-pseudo-root", "b007-pseudo-0001"}));
    const auto root = rig.volume("f00d-pseudo-root");
    EXPECT_EQ(root->path, "/");
    EXPECT_EQ(root->name, "Laptop");
    EXPECT_EQ(root->bsd, "dm-1");
    EXPECT_EQ(rig.disks.bootDisk(), root);
    EXPECT_EQ(rig.volume("b007-pseudo-0001")->name, "boot");

    // The root volume reaches the drive through its holders: its activity is the drive's.
    const auto* rootGroup = &rig.manager.stucture().front();
    EXPECT_EQ(rootGroup->partitions.front().collector, root);
    ASSERT_EQ(rootGroup->activityCollectors.size(), 1u);
    EXPECT_EQ(rootGroup->activityCollectors[0]->bsd, "nvme0n1");
    EXPECT_EQ(rootGroup->groupIdentifier, "SN-7f3a91c2e4");
    const auto* drive = rig.group("nvme0n1");
    ASSERT_NE(drive, nullptr);
    EXPECT_EQ(drive->physicalDiskName, "Vendo NV2 1TB SSD");
    // Only the drive has an identity: no activity item for the mapper devices or the snap loop.
    ASSERT_EQ(rig.activity.disks().size(), 1u);
    EXPECT_EQ(rig.activity.disks()[0]->serial, "SN-7f3a91c2e4");
    EXPECT_EQ(rig.info.physicalDiskForBSD("dm-1")->key(), "nvme0n1");
    EXPECT_TRUE(rig.info.hasSSD());
}

TEST(DiskTree, DesktopKeepsOneVolumePerFilesystemAndGroupsNetworkShares) {
    DiskRig rig(diskFixture("disks-sata-desktop"));
    rig.manager.diskEvent();
    EXPECT_EQ(volumeKeys(rig),
              (std::vector<std::string>{"aaaa-pseudo-root", "bbbb-pseudo-data", "1C2D-3E4F",
                                        "nfs://nas.lan/export/media", "smb://nas.lan/share",
                                        "sftp://user@box.lan/home/user"}));
    // Two btrfs subvolumes of one filesystem: one volume at the first of the shortest paths.
    EXPECT_EQ(rig.volume("bbbb-pseudo-data")->path, "/data");
    EXPECT_EQ(rig.volume("nfs://nas.lan/export/media")->path, "/mnt/media");
    EXPECT_EQ(rig.volume("nfs://nas.lan/export/media")->name, "media");
    const auto stick = rig.volume("1C2D-3E4F");
    EXPECT_TRUE(stick->ejectable);
    EXPECT_EQ(stick->name, "STICK");
    EXPECT_EQ(rig.info.serialForBSD("sdb"), "USB-pseudo-44aa91");
    EXPECT_EQ(groupNames(rig), (std::vector<std::string>{"sda/0", "sdb/0", "_network/3"}));
    // The optical drive without a disc has no volume, but is a disk with activity.
    EXPECT_NE(rig.activity.itemWithBSD("sr0"), nullptr);
    EXPECT_EQ(rig.activity.itemWithBSD("sda")->serial, "ZC1-pseudo-9b07");
    EXPECT_FALSE(rig.info.hasSSD());
}

TEST(DiskTree, WithoutUdevAWholeDiskFilesystemIsKeyedByItsKernelName) {
    DiskRig rig(diskFixture("disks-this-machine"));
    rig.manager.diskEvent();
    EXPECT_EQ(volumeKeys(rig), (std::vector<std::string>{"vda"}));
    const auto vda = rig.volume("vda");
    EXPECT_EQ(vda->path, "/");
    EXPECT_EQ(vda->name, "Filesystem root");
    EXPECT_EQ(vda->type, VolumePhysical);
    EXPECT_EQ(groupNames(rig), (std::vector<std::string>{"vda/0"}));
    ASSERT_EQ(rig.activity.disks().size(), 1u);
    EXPECT_EQ(rig.activity.disks()[0]->serial, "overlayblk");
}

TEST(DiskTree, AProbeStandsInForUdev) {
    int probes = 0;
    DiskRig rig(diskFixture("disks-this-machine"),
                [&probes](const std::string& name, const std::string& device) {
                    ++probes;
                    EXPECT_EQ(device, name == "vda" ? "254:0" : device);
                    return name == "vda" ? DeviceProperties{{"ID_FS_UUID", "0e1f-probed"},
                                                            {"ID_FS_USAGE", "filesystem"},
                                                            {"ID_FS_LABEL", "Probed"}}
                                         : DeviceProperties{};
                });
    rig.manager.diskEvent();
    EXPECT_GT(probes, 0);
    EXPECT_EQ(volumeKeys(rig), (std::vector<std::string>{"0e1f-probed"}));
    EXPECT_EQ(rig.volume("0e1f-probed")->name, "Probed");
}

TEST(DiskTree, UnmountedVolumeStaysAsTypeSixAndGoesWithItsDevice) {
    test::TemporaryDirectory copy;
    std::filesystem::copy(diskFixture("disks-sata-desktop"), copy.path(),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::copy_symlinks);
    DiskRig rig(copy.path());
    rig.manager.diskEvent();
    const auto stick = rig.volume("1C2D-3E4F");
    ASSERT_NE(stick, nullptr);

    // Unmounted: the line of the stick leaves the mount table.
    const auto mountinfo = copy / "proc/self/mountinfo";
    std::string text;
    {
        std::ifstream in(mountinfo);
        for (std::string line; std::getline(in, line);) {
            if (line.find("/media/user/STICK") == std::string::npos)
                text += line + "\n";
        }
    }
    std::ofstream(mountinfo) << text;
    rig.queue.advance(1);
    rig.manager.diskEvent();
    EXPECT_EQ(rig.volume("1C2D-3E4F"), stick);
    EXPECT_EQ(stick->type, VolumeNotMounted);
    EXPECT_EQ(stick->hardwareType, VolumePhysical);
    EXPECT_EQ(stick->typeText(), "physical");
    EXPECT_FALSE(stick->mounted);
    EXPECT_EQ(groupNames(rig), (std::vector<std::string>{"sda/0", "_network/3", "_notmounted/7"}));

    // Its space is not read any more.
    rig.queue.advance(60);
    rig.disks.updateStats();
    EXPECT_EQ(rig.held.tasks.size(), 5u); // the other five volumes

    // Pulled out: the disk leaves the block tree and the volume goes.
    std::filesystem::remove(copy / "sys/block/sdb");
    rig.manager.diskEvent();
    EXPECT_EQ(rig.volume("1C2D-3E4F"), nullptr);
    EXPECT_EQ(rig.activity.itemWithBSD("sdb"), nullptr);
}
