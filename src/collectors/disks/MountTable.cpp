#include "collectors/disks/MountTable.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>

namespace corvane {

namespace {

constexpr std::array kNetworkTypes = {"nfs",  "nfs4",       "cifs",       "smb3",  "smbfs",
                                      "afs",  "fuse.sshfs", "sshfs",      "davfs", "fuse.davfs2",
                                      "ceph", "glusterfs",  "fuse.rclone"};

// Filesystems that are never storage a user thinks of as a volume.
constexpr std::array kExcludedTypes = {
    "proc",       "sysfs",           "devtmpfs",    "devpts",     "tmpfs",      "ramfs",
    "cgroup",     "cgroup2",         "autofs",      "overlay",    "debugfs",    "tracefs",
    "securityfs", "pstore",          "bpf",         "configfs",   "fusectl",    "mqueue",
    "hugetlbfs",  "binfmt_misc",     "efivarfs",    "nsfs",       "rpc_pipefs", "swap",
    "selinuxfs",  "fuse.gvfsd-fuse", "fuse.portal", "fuse.lxcfs", "nfsd"};

template <std::size_t N>
bool listed(const std::array<const char*, N>& names, std::string_view name) {
    return std::any_of(names.begin(), names.end(), [&](const char* n) { return name == n; });
}

std::string kernelNameFor(const SysRoot& root, const MountEntry& entry) {
    if (entry.major != 0) {
        const auto link = root.readLink("/sys/dev/block/" + std::to_string(entry.major) + ":" +
                                        std::to_string(entry.minor));
        if (link)
            return std::filesystem::path(*link).filename().string();
    }
    // btrfs reports an anonymous device number: the source names the device.
    if (!entry.source.starts_with("/dev/"))
        return {};
    std::filesystem::path source(entry.source);
    if (const auto link = root.readLink(entry.source))
        source = *link;
    const std::string name = source.filename().string();
    return root.exists("/sys/class/block/" + name) ? name : std::string();
}

bool excludedDevice(std::string_view name) {
    return name.starts_with("zram") || name.starts_with("ram");
}

bool snapImage(const MountEntry& entry) {
    return entry.mountPoint.starts_with("/snap/") ||
           entry.mountPoint.starts_with("/var/lib/snapd/");
}

// "/" wins; else the shorter path; else the one met first.
bool better(const MountEntry& candidate, const MountEntry& current) {
    if (current.mountPoint == "/")
        return false;
    if (candidate.mountPoint == "/")
        return true;
    return candidate.mountPoint.size() < current.mountPoint.size();
}

} // namespace

bool isNetworkFilesystem(std::string_view fsType) {
    return listed(kNetworkTypes, fsType);
}

std::string networkURL(const MountEntry& entry) {
    const std::string& source = entry.source;
    const std::string& type = entry.fsType;
    if (type.starts_with("nfs")) {
        const auto colon = source.find(':');
        if (colon == std::string::npos || colon == 0)
            return {};
        std::string path = source.substr(colon + 1);
        return "nfs://" + source.substr(0, colon) + (path.starts_with("/") ? "" : "/") + path;
    }
    if (type == "cifs" || type.starts_with("smb")) {
        if (!source.starts_with("//") || source.size() < 3)
            return {};
        return "smb:" + source;
    }
    if (type.ends_with("sshfs")) {
        const auto colon = source.find(':');
        if (colon == std::string::npos || colon == 0)
            return {};
        std::string path = source.substr(colon + 1);
        return "sftp://" + source.substr(0, colon) + (path.starts_with("/") ? "" : "/") + path;
    }
    if (source.find("://") != std::string::npos)
        return source;
    return source.empty() ? std::string() : type + "://" + source;
}

std::vector<VolumeMount> volumeMounts(const SysRoot& root, const std::vector<MountEntry>& all) {
    std::vector<VolumeMount> chosen;
    std::map<std::string, std::size_t> byFilesystem;
    for (const MountEntry& entry : all) {
        if (listed(kExcludedTypes, entry.fsType) || snapImage(entry))
            continue;
        VolumeMount volume{entry, {}, isNetworkFilesystem(entry.fsType)};
        std::string identity;
        if (volume.network) {
            if (networkURL(entry).empty())
                continue;
            identity = "dev:" + std::to_string(entry.major) + ":" + std::to_string(entry.minor);
        } else if (entry.fsType == "zfs") {
            identity = "zfs:" + entry.source;
        } else {
            volume.kernelName = kernelNameFor(root, entry);
            if (volume.kernelName.empty() || excludedDevice(volume.kernelName))
                continue;
            identity = volume.kernelName;
        }
        const auto [at, inserted] = byFilesystem.emplace(identity, chosen.size());
        if (inserted)
            chosen.push_back(std::move(volume));
        else if (better(entry, chosen[at->second].entry))
            chosen[at->second] = std::move(volume);
    }
    return chosen;
}

} // namespace corvane
