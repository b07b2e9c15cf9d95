#include "collectors/disks/DiskInfoStatCollector.h"

namespace corvane {

void DiskInfoStatCollectorItem::createName() {
    const std::string& infoName = info["name"].string();
    const std::string& manufacturer = info["manufacturer"].string();
    const std::string& model = info["model"].string();
    if (!infoName.empty())
        name = infoName;
    else if (!manufacturer.empty() && !model.empty())
        name = manufacturer + " " + model;
    else if (!model.empty())
        name = model;
    else if (!manufacturer.empty())
        name = manufacturer;
    else
        name = key();
}

DiskInfoStatCollector::DiskInfoStatCollector(const EngineContext& context)
    : StatCollector(context, 0) {
    config() = makeConfig();
    setStorageType(kStorageItems);
}

Value DiskInfoStatCollector::makeConfig() {
    return Value::dict({{"itemAttributeKeys", Value::array({"key"})},
                        {"xmlNoSamples", true},
                        {"xmlSessionBased", true}});
}

StatCollector::ItemPointer DiskInfoStatCollector::itemClassInstance() const {
    return std::make_shared<DiskInfoStatCollectorItem>(sampleValueCount(), tierCount());
}

namespace {

bool holdsPartition(const Value& info, std::string_view bsd) {
    for (const Value& partition : info["partitions"].arrayItems()) {
        if (partition["bsd"].string() == bsd)
            return true;
    }
    return false;
}

} // namespace

DiskInfoStatCollector::InfoItem
DiskInfoStatCollector::physicalDiskForBSD(std::string_view bsd) const {
    for (const auto& item : items()) {
        auto disk = std::static_pointer_cast<DiskInfoStatCollectorItem>(item);
        if (disk->key() == bsd || holdsPartition(disk->info, bsd))
            return disk;
    }
    return nullptr;
}

std::string DiskInfoStatCollector::physicalBSDForPartition(std::string_view bsd) const {
    const auto disk = physicalDiskForBSD(bsd);
    return disk ? disk->key() : std::string();
}

std::vector<DiskInfoStatCollector::InfoItem>
DiskInfoStatCollector::stuctureForBSD(std::string_view bsd) const {
    std::vector<InfoItem> found;
    for (const auto& item : items()) {
        auto disk = std::static_pointer_cast<DiskInfoStatCollectorItem>(item);
        if (disk->key() == bsd || holdsPartition(disk->info, bsd))
            found.push_back(disk);
    }
    return found;
}

bool DiskInfoStatCollector::hasSSD() const {
    for (const auto& item : items()) {
        if (static_cast<const DiskInfoStatCollectorItem&>(*item).info["type"].string() ==
            "Solid State")
            return true;
    }
    return false;
}

Value DiskInfoStatCollector::infoForBSD(std::string_view bsd) const {
    for (const auto& item : items()) {
        const Value& info = static_cast<const DiskInfoStatCollectorItem&>(*item).info;
        if (info["bsd"].string() == bsd)
            return info;
    }
    return {};
}

std::string DiskInfoStatCollector::serialForBSD(std::string_view bsd) const {
    return infoForBSD(bsd)["serial"].stringValue();
}

std::optional<double> DiskInfoStatCollector::sizeForDiskWithBSD(std::string_view bsd) const {
    for (const auto& item : items()) {
        const Value& info = static_cast<const DiskInfoStatCollectorItem&>(*item).info;
        if (info["bsd"].string() == bsd && info.contains("size"))
            return info["size"].doubleValue();
        for (const Value& partition : info["partitions"].arrayItems()) {
            if (partition["bsd"].string() == bsd && partition.contains("size"))
                return partition["size"].doubleValue();
        }
    }
    return std::nullopt;
}

Value DiskInfoStatCollector::xmlSamplesFromAttributes(const DiskInfoStatCollectorItem& item) {
    const Value& info = item.info;
    std::string partitions;
    std::string raid;
    for (const Value& partition : info["partitions"].arrayItems()) {
        partitions += (partitions.empty() ? "" : ",") + partition["bsd"].stringValue();
        if (partition.contains("RAIDBsd"))
            raid = partition["RAIDBsd"].stringValue();
    }
    Value out = Value::dict(
        {{"key", info["bsd"]}, {"uuid", item.key()}, {"partitions", partitions}, {"raid", raid}});
    for (const char* field : {"name", "model", "serial", "type"}) {
        if (info.contains(field))
            out.set(field, info[field]);
    }
    return out;
}

void DiskInfoStatCollector::finishFetchingInfo(const std::vector<Value>& infos) {
    ++session_;
    for (const auto& item : items())
        item->setExists(false);
    for (const Value& info : infos) {
        const std::string& bsd = info["bsd"].string();
        if (bsd.empty())
            continue;
        auto disk = std::static_pointer_cast<DiskInfoStatCollectorItem>(newItemWithKey2(bsd));
        disk->setExists(true);
        disk->info = info;
        disk->session = session_;
        disk->createName();
    }
    for (const auto& item : items()) {
        if (!item->exists())
            item->cleanup();
    }
    removeOldItems();
}

void DiskInfoStatCollector::updateDiskIDS() {
    // Sizes come with the descriptions; the serial is the physical disk's.
    for (Value& whole : media_.mutableDisks().mutableArray()) {
        if (const auto disk = physicalDiskForBSD(whole["bsd"].string());
            disk && disk->info.contains("serial"))
            whole.set("serial", disk->info["serial"]);
    }
}

} // namespace corvane
