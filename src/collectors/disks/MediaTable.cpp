#include "collectors/disks/MediaTable.h"

#include "foundation/TextParsing.h"

#include <algorithm>

namespace corvane {

namespace dd = disk_description;

std::string stringForVolumeType(std::int64_t type) {
    switch (type) {
    case VolumePhysical:
        return "physical";
    case VolumeZFS:
        return "zfs";
    case VolumeNetwork:
        return "network";
    case VolumeDiskImage:
        return "disk image";
    case VolumeOptical:
        return "optical";
    case VolumeUnknown:
        return "unknown";
    default:
        return "";
    }
}

std::optional<std::string> keyFromDADisk(const Value& description) {
    std::optional<std::string> key;
    if (const std::string& bsd = description[dd::kMediaBSDName].string(); !bsd.empty())
        return bsd;
    const std::string& kind = description[dd::kVolumeKind].string();
    if (description[dd::kVolumeNetwork].boolValue()) {
        if (kind == "autofs")
            return std::nullopt;
        if (const std::string& url = description[dd::kVolumeURL].string(); !url.empty())
            key = url;
    }
    if (kind == "zfs") {
        const std::string& name = description[dd::kVolumeName].string();
        key = name.empty() ? std::nullopt : std::optional<std::string>(name);
    }
    return key;
}

std::int64_t volumeTypeFromDAInfo(const Value& description) {
    if (!description.isDictionary())
        return VolumeUnknown;
    if (description[dd::kVolumeName].string() == "Time Machine Backups" ||
        description[dd::kVolumeNetwork].boolValue())
        return VolumeNetwork;
    if (description[dd::kDeviceProtocol].string() == "Virtual Interface")
        return VolumeDiskImage;
    const std::string& media = description[dd::kMediaKind].string();
    if (media == "IODVDMedia" || media == "IOCDMedia")
        return VolumeOptical;
    if (description[dd::kVolumeKind].string() == "zfs")
        return VolumeZFS;
    return VolumePhysical;
}

namespace {

std::optional<std::string> storedText(const Value& source, std::string_view key, bool trim) {
    const Value* value = source.find(key);
    if (!value || value->isNull() || value->isArray() || value->isDictionary())
        return std::nullopt;
    std::string text = value->stringValue();
    return trim ? std::string(trimmed(text)) : text;
}

} // namespace

void FindAndAddKeyToStorage(const Value& source, std::string_view sourceKey, Value& target,
                            std::string_view targetKey) {
    if (auto text = storedText(source, sourceKey, true))
        target.set(targetKey, std::move(*text));
}

void FindAndAddKeyToStorageWithoutTrimming(const Value& source, std::string_view sourceKey,
                                           Value& target, std::string_view targetKey) {
    if (auto text = storedText(source, sourceKey, false))
        target.set(targetKey, std::move(*text));
}

void FindAndAddKeyToStorageOrRemove(const Value& source, std::string_view sourceKey, Value& target,
                                    std::string_view targetKey) {
    if (auto text = storedText(source, sourceKey, targetKey != "path"))
        target.set(targetKey, std::move(*text));
    else
        target.erase(targetKey);
}

Value& MediaTable::processDADiskWhole(const Value& description, const std::string& key) {
    for (Value& entry : disks_.mutableArray()) {
        if (entry["bsd"].string() == key)
            return entry;
    }
    Value whole = Value::dict({{"bsd", key}});
    FindAndAddKeyToStorage(description, dd::kDeviceModel, whole, "model");
    FindAndAddKeyToStorage(description, dd::kDeviceProtocol, whole, "protocol");
    FindAndAddKeyToStorage(description, dd::kDeviceVendor, whole, "vendor");
    disks_.append(std::move(whole));
    return disks_.mutableArray().back();
}

Value& MediaTable::partitionFromDADisk(Value& whole, const std::string& key) {
    Value::Array& list = whole.mutableDictionary()["partitions"].mutableArray();
    for (Value& partition : list) {
        if (partition["bsd"].string() == key)
            return partition;
    }
    list.push_back(Value::dict({{"bsd", key}}));
    return list.back();
}

void MediaTable::storeVolumeFields(const Value& description, const std::string& key, Value& target,
                                   double now) {
    FindAndAddKeyToStorage(description, dd::kMediaBSDMajor, target, "bsdMajor");
    FindAndAddKeyToStorage(description, dd::kMediaBSDMinor, target, "bsdMinor");
    FindAndAddKeyToStorage(description, dd::kVolumeMountable, target, "mountable");
    // The ejectable flag first: a medium without a name keeps the flag's text here.
    FindAndAddKeyToStorage(description, dd::kMediaEjectable, target, "mediaName");
    FindAndAddKeyToStorage(description, dd::kMediaName, target, "mediaName");
    FindAndAddKeyToStorage(description, dd::kVolumeName, target, "name");
    FindAndAddKeyToStorageWithoutTrimming(description, dd::kVolumePath, target, "path");
    FindAndAddKeyToStorage(description, dd::kMediaEjectable, target, "ejectable");
    if (description[dd::kVolumeNetwork].boolValue())
        target.set("ejectable", "1");
    FindAndAddKeyToStorage(description, dd::kMediaIcon, target, "icon");
    FindAndAddKeyToStorage(description, dd::kMediaSize, target, "size");
    if (auto uuid = storedText(description, dd::kVolumeUUID, true); uuid && !uuid->empty()) {
        target.set("uuid", *uuid);
        target.set("parition-uuid", *uuid);
    } else {
        target.set("uuid", key);
    }
    target.set("type", volumeTypeFromDAInfo(description));
    target.set("modificationTime", now);
    FindAndAddKeyToStorage(description, dd::kBSDUnit, target, "BSD Unit");
    FindAndAddKeyToStorage(description, dd::kPartitionID, target, "Partition ID");
    // Names of the form disk<unit>s<partition> carry the two numbers themselves.
    if ((!target.contains("BSD Unit") || !target.contains("Partition ID")) &&
        key.starts_with("disk")) {
        const std::string rest = key.substr(4);
        const auto split = rest.find('s');
        if (split != std::string::npos && rest.find('s', split + 1) == std::string::npos) {
            target.set("BSD Unit", rest.substr(0, split));
            target.set("Partition ID", rest.substr(split + 1));
        }
    }
}

bool MediaTable::appeared(const Value& description, double now) {
    if (!description.isDictionary())
        return false;
    const auto key = keyFromDADisk(description);
    if (!key)
        return false;
    const bool whole = description[dd::kMediaWhole].boolValue() ||
                       description[dd::kVolumeNetwork].boolValue() ||
                       description[dd::kVolumeKind].string() == "zfs";
    if (whole) {
        storeVolumeFields(description, *key, processDADiskWhole(description, *key), now);
        return true;
    }
    const std::string& wholeName = description[dd::kWholeDisk].string();
    if (wholeName.empty())
        return false;
    Value& wholeEntry = processDADiskWhole(Value::dict(), wholeName);
    storeVolumeFields(description, *key, partitionFromDADisk(wholeEntry, *key), now);
    return true;
}

void MediaTable::disappeared(const Value& description) {
    const auto key = keyFromDADisk(description);
    if (!key)
        return;
    Value::Array& list = disks_.mutableArray();
    for (auto it = list.begin(); it != list.end(); ++it) {
        if ((*it)["bsd"].string() == *key) {
            list.erase(it);
            return;
        }
    }
    for (Value& entry : list) {
        if (!entry.contains("partitions"))
            continue;
        Value::Array& parts = entry.mutableDictionary()["partitions"].mutableArray();
        const auto match = std::find_if(parts.begin(), parts.end(), [&](const Value& part) {
            return part["bsd"].string() == *key;
        });
        if (match == parts.end())
            continue;
        parts.erase(match);
        // The entry stays, without the key.
        if (parts.empty())
            entry.erase("partitions");
    }
}

void MediaTable::changed(const Value& description, double now) {
    const auto key = keyFromDADisk(description);
    if (!key || !storageForDADiskWithKey(*key))
        return;
    const auto rewrite = [&](Value& target) {
        FindAndAddKeyToStorageOrRemove(description, dd::kVolumeMountable, target, "mountable");
        FindAndAddKeyToStorageOrRemove(description, dd::kMediaEjectable, target, "mediaName");
        FindAndAddKeyToStorage(description, dd::kMediaName, target, "mediaName");
        FindAndAddKeyToStorageOrRemove(description, dd::kVolumeName, target, "name");
        FindAndAddKeyToStorageOrRemove(description, dd::kVolumePath, target, "path");
        FindAndAddKeyToStorageOrRemove(description, dd::kMediaEjectable, target, "ejectable");
        target.set("modificationTime", now);
    };
    for (Value& entry : disks_.mutableArray()) {
        if (entry["bsd"].string() == *key)
            return rewrite(entry);
    }
    for (Value& entry : disks_.mutableArray()) {
        if (!entry.contains("partitions"))
            continue;
        for (Value& part : entry.mutableDictionary()["partitions"].mutableArray()) {
            if (part["bsd"].string() == *key)
                return rewrite(part);
        }
    }
}

const Value* MediaTable::storageForDADiskWithKey(std::string_view key) const {
    for (const Value& entry : disks_.arrayItems()) {
        if (entry["bsd"].string() == key)
            return &entry;
    }
    for (const Value& entry : disks_.arrayItems()) {
        for (const Value& part : entry["partitions"].arrayItems()) {
            if (part["bsd"].string() == key)
                return &part;
        }
    }
    return nullptr;
}

} // namespace corvane
