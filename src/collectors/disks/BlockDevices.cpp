#include "collectors/disks/BlockDevices.h"

#include "collectors/disks/DiskText.h"
#include "collectors/disks/MediaTable.h"
#include "foundation/TextParsing.h"

#include <blkid/blkid.h>
#include <cstdio>
#include <filesystem>
#include <map>

namespace corvane {

namespace dd = disk_description;

namespace {

// The GPT type of an EFI system partition.
constexpr std::string_view kEfiSystemPartitionType = "c12a7328-f81f-11d2-ba4b-00a0c93ec93b";

struct Partition {
    std::string name;
    std::string device;
    std::int64_t number = 0;
    double size = 0;
    DeviceProperties properties;
};

std::string lowered(std::string text) {
    for (char& c : text)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return text;
}

bool skippedDisk(std::string_view name) {
    return name.starts_with("ram") || name.starts_with("zram") || name.starts_with("fd");
}

std::string busName(const DeviceProperties& properties, const std::string& sysPath) {
    static const std::map<std::string, std::string, std::less<>> names = {
        {"ata", "SATA"}, {"usb", "USB"}, {"nvme", "NVMe"}, {"scsi", "SCSI"}, {"virtio", "Virtio"}};
    if (const auto bus = properties.find("ID_BUS"); bus != properties.end()) {
        const auto known = names.find(lowered(bus->second));
        return known != names.end() ? known->second : bus->second;
    }
    for (const char* part : {"/usb", "/nvme", "/ata", "/virtio"}) {
        if (sysPath.find(part) != std::string::npos)
            return names.at(std::string(part + 1));
    }
    return {};
}

// Page 0x80 of a SCSI device: four bytes of header, then the serial as text.
std::string serialFromVpdPage(const std::string& page) {
    if (page.size() <= 4)
        return {};
    std::string serial;
    for (char c : page.substr(4)) {
        if (c >= 0x21 && c <= 0x7e)
            serial.push_back(c);
    }
    return serial;
}

} // namespace

std::string identifierFromVpdPage83(const std::string& page) {
    // A four-byte page header, then descriptors of four header bytes and the designator.
    constexpr std::size_t kHeader = 4;
    if (page.size() < kHeader + kHeader || static_cast<unsigned char>(page[1]) != 0x83)
        return {};
    const std::size_t length = static_cast<unsigned char>(page[kHeader + 3]);
    if (length == 0 || page.size() < kHeader + kHeader + length)
        return {};
    const std::string designator = page.substr(kHeader + kHeader, length);
    const int codeSet = page[kHeader] & 0x0f;
    if (codeSet == 2 || codeSet == 3) { // ASCII, UTF-8
        std::string text;
        for (char c : designator)
            if (c >= 0x21 && c <= 0x7e)
                text.push_back(c);
        return text;
    }
    std::string hex;
    char digits[3];
    for (unsigned char c : designator) {
        std::snprintf(digits, sizeof digits, "%02x", c);
        hex += digits;
    }
    return hex;
}

DeviceProperties probeWithBlkid(const std::string& name, const std::string&) {
    DeviceProperties found;
    const std::string path = "/dev/" + name;
    blkid_probe probe = blkid_new_probe_from_filename(path.c_str());
    if (!probe)
        return found;
    blkid_probe_enable_superblocks(probe, 1);
    blkid_probe_set_superblocks_flags(probe, BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID |
                                                 BLKID_SUBLKS_TYPE | BLKID_SUBLKS_USAGE);
    blkid_probe_enable_partitions(probe, 1);
    blkid_probe_set_partitions_flags(probe, BLKID_PARTS_ENTRY_DETAILS);
    if (blkid_do_safeprobe(probe) == 0) {
        static const std::pair<const char*, const char*> names[] = {
            {"UUID", "ID_FS_UUID"},
            {"LABEL", "ID_FS_LABEL"},
            {"TYPE", "ID_FS_TYPE"},
            {"USAGE", "ID_FS_USAGE"},
            {"PTUUID", "ID_PART_TABLE_UUID"},
            {"PART_ENTRY_NAME", "ID_PART_ENTRY_NAME"},
            {"PART_ENTRY_TYPE", "ID_PART_ENTRY_TYPE"}};
        for (const auto& [probeName, udevName] : names) {
            const char* value = nullptr;
            if (blkid_probe_lookup_value(probe, probeName, &value, nullptr) == 0 && value)
                found.emplace(udevName, value);
        }
    }
    blkid_free_probe(probe);
    return found;
}

struct BlockDevices::Disk {
    std::string name;
    std::string sysPath;
    std::string device;
    std::size_t unit = 0;
    double size = 0;
    bool loop = false;
    bool optical = false;
    bool physical = false;
    bool removable = false;
    bool rotational = false;
    std::string backingFile;
    std::string model;
    std::string vendor;
    std::string bus;
    DeviceProperties properties;
    std::vector<Partition> partitions;
};

BlockDevices::BlockDevices(SysRoot root, DeviceProber prober)
    : root_(std::move(root))
    , prober_(std::move(prober))
    , hasUdev_(root_.isDirectory("/run/udev/data")) {}

DeviceProperties BlockDevices::properties(const std::string& name,
                                          const std::string& device) const {
    if (hasUdev_) {
        if (auto text = root_.readFile("/run/udev/data/b" + device))
            return parseUdevData(*text);
        return {};
    }
    return prober_ ? prober_(name, device) : DeviceProperties{};
}

BlockDevices::Disk BlockDevices::readDisk(const std::string& name, std::size_t unit) const {
    Disk disk;
    disk.name = name;
    disk.unit = unit;
    disk.sysPath = "/sys/block/" + name;
    if (const auto link = root_.readLink(disk.sysPath))
        disk.sysPath = (std::filesystem::path("/sys/block") / *link).lexically_normal().string();
    const auto attribute = [&](std::string_view relative) {
        return root_.readAttribute(disk.sysPath + "/" + std::string(relative)).value_or("");
    };
    disk.device = attribute("dev");
    disk.size = static_cast<double>(root_.readUnsigned(disk.sysPath + "/size").value_or(0)) * 512;
    disk.loop = name.starts_with("loop");
    disk.backingFile = attribute("loop/backing_file");
    disk.physical = !disk.loop && root_.exists(disk.sysPath + "/device");
    disk.removable = attribute("removable") == "1";
    disk.rotational = attribute("queue/rotational") == "1";
    disk.model = std::string(trimmed(attribute("device/model")));
    disk.vendor = std::string(trimmed(attribute("device/vendor")));
    if (disk.vendor.starts_with("0x")) // a PCI id, not a maker's name
        disk.vendor.clear();
    disk.properties = properties(name, disk.device);
    disk.bus = disk.loop ? "Virtual Interface" : busName(disk.properties, disk.sysPath);
    disk.optical = name.starts_with("sr") || disk.properties.contains("ID_CDROM");
    for (const std::string& entry : root_.list(disk.sysPath)) {
        const std::string path = disk.sysPath + "/" + entry;
        if (!entry.starts_with(name) || !root_.exists(path + "/partition"))
            continue;
        Partition partition;
        partition.name = entry;
        partition.device = root_.readAttribute(path + "/dev").value_or("");
        partition.number = root_.readInteger(path + "/partition").value_or(0);
        partition.size = static_cast<double>(root_.readUnsigned(path + "/size").value_or(0)) * 512;
        partition.properties = properties(entry, partition.device);
        disk.partitions.push_back(std::move(partition));
    }
    return disk;
}

std::string BlockDevices::serialOf(const Disk& disk) const {
    if (const auto serial = disk.properties.find("ID_SERIAL_SHORT");
        serial != disk.properties.end())
        return serial->second;
    for (const char* relative : {"/device/serial", "/serial"}) {
        if (auto serial = root_.readAttribute(disk.sysPath + relative); serial && !serial->empty())
            return *serial;
    }
    if (auto page = root_.readFile(disk.sysPath + "/device/vpd_pg80")) {
        if (std::string serial = serialFromVpdPage(*page); !serial.empty())
            return serial;
    }
    // A USB stick: the serial of the USB device above it.
    for (std::filesystem::path up(disk.sysPath); up.has_relative_path() && up != "/sys";
         up = up.parent_path()) {
        if (root_.exists((up / "idVendor").string()))
            return root_.readAttribute((up / "serial").string()).value_or("");
    }
    return {};
}

std::vector<std::string> BlockDevices::holders(const std::string& sysPath) const {
    std::vector<std::string> found;
    for (const std::string& holder : root_.list(sysPath + "/holders")) {
        found.push_back(holder);
        for (std::string& above : holders("/sys/block/" + holder))
            found.push_back(std::move(above));
    }
    return found;
}

Value BlockDevices::physicalInfo(const Disk& disk) const {
    const bool solid = !disk.rotational || disk.model.find("SSD") != std::string::npos;
    Value partitions = Value::array();
    const auto addHolders = [&](const std::string& sysPath) {
        for (const std::string& holder : holders(sysPath))
            partitions.append(Value::dict({{"bsd", holder}, {"visible", true}, {"name", holder}}));
    };
    for (const Partition& partition : disk.partitions) {
        const auto name = partition.properties.find("ID_PART_ENTRY_NAME");
        partitions.append(Value::dict(
            {{"bsd", partition.name},
             {"visible", true},
             {"name", name != partition.properties.end() ? name->second : partition.name},
             {"size", partition.size}}));
        addHolders(disk.sysPath + "/" + partition.name);
    }
    addHolders(disk.sysPath);
    Value info = Value::dict(
        {{"bsd", disk.name},
         {"size", disk.size},
         {"type", solid ? "Solid State" : "Rotational"},
         {"connectionType", disk.bus},
         {"connectionLocation", disk.removable || disk.bus == "USB" ? "External" : "Internal"},
         {"partitions", partitions}});
    if (std::string serial = serialOf(disk); !serial.empty())
        info.set("serial", serial);
    if (!disk.vendor.empty())
        info.set("manufacturer", disk.vendor);
    if (!disk.model.empty())
        info.set("model", disk.model);
    return info;
}

void BlockDevices::addVolumeFields(Value& description, const DeviceProperties& properties,
                                   const VolumeMount* mount) const {
    const auto property = [&](std::string_view key) {
        const auto found = properties.find(key);
        return found != properties.end() ? found->second : std::string();
    };
    if (std::string uuid = property("ID_FS_UUID"); !uuid.empty())
        description.set(dd::kVolumeUUID, uuid);
    if (std::string label = property("ID_FS_LABEL"); !label.empty())
        description.set(dd::kVolumeName, label);
    if (std::string name = property("ID_PART_ENTRY_NAME"); !name.empty())
        description.set(dd::kMediaName, name);
    // The EFI system partition by its type, whatever its table calls it.
    if (lowered(property("ID_PART_ENTRY_TYPE")) == kEfiSystemPartitionType)
        description.set(dd::kMediaName, "EFI System Partition");
    std::string kind = property("ID_FS_TYPE");
    if (mount) {
        description.set(dd::kVolumePath, mount->entry.mountPoint);
        if (kind.empty())
            kind = mount->entry.fsType;
    }
    if (!kind.empty())
        description.set(dd::kVolumeKind, kind);
    // Unknown without a probe: a mounted device has a filesystem, an unmounted one is left out.
    const bool known = properties.contains("ID_FS_USAGE");
    description.set(dd::kVolumeMountable,
                    known ? property("ID_FS_USAGE") == "filesystem" : mount != nullptr);
}

BlockSnapshot BlockDevices::scan(const std::vector<MountEntry>& mountTable) const {
    BlockSnapshot snapshot;
    const std::vector<VolumeMount> mounts = volumeMounts(root_, mountTable);
    std::map<std::string, const VolumeMount*, std::less<>> mountOf;
    for (const VolumeMount& mount : mounts) {
        if (!mount.kernelName.empty())
            mountOf.emplace(mount.kernelName, &mount);
    }
    const auto mounted = [&](const std::string& name) -> const VolumeMount* {
        const auto found = mountOf.find(name);
        return found != mountOf.end() ? found->second : nullptr;
    };
    std::size_t unit = 0;
    for (const std::string& name : root_.list("/sys/block")) {
        if (skippedDisk(name))
            continue;
        Disk disk = readDisk(name, unit);
        // An unused loop device, or a snap package's image.
        if (disk.loop &&
            (disk.backingFile.empty() || disk.backingFile.find("/snapd/") != std::string::npos))
            continue;
        ++unit;
        const auto [major, minor] = std::pair(disk.device.substr(0, disk.device.find(':')),
                                              disk.device.substr(disk.device.find(':') + 1));
        Value whole = Value::dict({{dd::kMediaBSDName, name},
                                   {dd::kMediaWhole, true},
                                   {dd::kMediaBSDMajor, major},
                                   {dd::kMediaBSDMinor, minor},
                                   {dd::kMediaSize, disk.size},
                                   {dd::kMediaEjectable, disk.removable || disk.bus == "USB"},
                                   {dd::kDeviceProtocol, disk.bus},
                                   {dd::kBSDUnit, static_cast<std::int64_t>(disk.unit)}});
        if (!disk.model.empty())
            whole.set(dd::kDeviceModel, disk.model);
        if (!disk.vendor.empty())
            whole.set(dd::kDeviceVendor, disk.vendor);
        if (disk.optical)
            whole.set(dd::kMediaKind, "IOCDMedia");
        if (disk.partitions.empty())
            addVolumeFields(whole, disk.properties, mounted(name));
        else
            whole.set(dd::kVolumeMountable, false);
        snapshot.descriptions.push_back(whole);
        for (const Partition& partition : disk.partitions) {
            Value description = whole;
            for (auto key : {dd::kMediaWhole, dd::kVolumeMountable, dd::kMediaSize})
                description.erase(key);
            description.set(dd::kMediaBSDName, partition.name);
            description.set(dd::kWholeDisk, name);
            description.set(dd::kMediaSize, partition.size);
            description.set(dd::kPartitionID, partition.number);
            const auto colon = partition.device.find(':');
            description.set(dd::kMediaBSDMajor, partition.device.substr(0, colon));
            description.set(dd::kMediaBSDMinor,
                            colon == std::string::npos ? "" : partition.device.substr(colon + 1));
            addVolumeFields(description, partition.properties, mounted(partition.name));
            snapshot.descriptions.push_back(std::move(description));
        }
        if (disk.physical)
            snapshot.physicalDisks.push_back(physicalInfo(disk));
        const auto property = [&](std::string_view key) {
            const auto found = disk.properties.find(key);
            return found != disk.properties.end() ? found->second : std::string();
        };
        std::string wwid = root_.readAttribute(disk.sysPath + "/device/wwid").value_or("");
        if (wwid.empty())
            wwid = root_.readAttribute(disk.sysPath + "/wwid").value_or(property("ID_WWN"));
        ActivityDisk activity{name,
                              disk.loop,
                              disk.physical ? serialOf(disk) : "",
                              wwid,
                              disk.vendor,
                              property("ID_PART_TABLE_UUID"),
                              {},
                              disk.rotational ? "Rotational" : "Solid State",
                              disk.model.empty() ? name : disk.model};
        if (auto page = root_.readFile(disk.sysPath + "/device/vpd_pg83"))
            activity.deviceIdentification = identifierFromVpdPage83(*page);
        snapshot.activityDisks.push_back(std::move(activity));
    }
    for (const VolumeMount& mount : mounts) {
        if (mount.network) {
            const std::string url = networkURL(mount.entry);
            const std::string share = std::filesystem::path(url).filename().string();
            snapshot.descriptions.push_back(
                Value::dict({{dd::kVolumeNetwork, true},
                             {dd::kVolumeKind, mount.entry.fsType},
                             {dd::kVolumeURL, url},
                             {dd::kVolumePath, mount.entry.mountPoint},
                             {dd::kVolumeName, share.empty() ? url : share},
                             {dd::kVolumeMountable, true}}));
        } else if (mount.entry.fsType == "zfs") {
            snapshot.descriptions.push_back(Value::dict({{dd::kVolumeKind, "zfs"},
                                                         {dd::kVolumeName, mount.entry.source},
                                                         {dd::kVolumePath, mount.entry.mountPoint},
                                                         {dd::kVolumeMountable, true}}));
        }
    }
    return snapshot;
}

} // namespace corvane
