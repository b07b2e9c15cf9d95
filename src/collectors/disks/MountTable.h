#pragma once

#include "collectors/disks/DiskText.h"
#include "foundation/SysRoot.h"

#include <string>
#include <vector>

namespace corvane {

// A filesystem as the disk tree sees it: one mount of it, and the block device behind it.
struct VolumeMount {
    MountEntry entry;
    std::string kernelName; // "sda1", "dm-0"; empty for network and zfs volumes
    bool network = false;
};

// nfs, nfs4, cifs, smb3, fuse.sshfs, davfs and the like.
bool isNetworkFilesystem(std::string_view fsType);
// The URL a network mount is keyed by: "nfs://host/export", "smb://host/share",
// "sftp://user@host/path"; empty when the source does not read.
std::string networkURL(const MountEntry& entry);

// The volumes of a mount table: one mount per filesystem however many bind mounts or btrfs
// subvolumes show it ("/" first, else the shortest path), and nothing that is not storage:
// pseudo filesystems, tmpfs, overlay, autofs, zram, snap images.
std::vector<VolumeMount> volumeMounts(const SysRoot& root, const std::vector<MountEntry>& all);

} // namespace corvane
