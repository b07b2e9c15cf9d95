#include "collectors/disks/DisksStatCollector.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <cctype>

namespace corvane {

DisksStatCollector::DisksStatCollector(const EngineContext& context, DiskInfoStatCollector& info,
                                       std::shared_ptr<const VolumeSpaceReader> reader,
                                       OffThreadRunner runner)
    : StatCollector(context, 6)
    , info_(info)
    , reader_(std::move(reader))
    , runner_(std::move(runner)) {
    config() = makeConfig();
    setDbTablePrefix("disk");
    setStorageType(kStorageItems);
}

Value DisksStatCollector::makeConfig() {
    const Value keys = Value::dict({{"p", 3}, {"pur", 4}, {"u", 0}, {"f", 1}, {"s", 2}});
    return Value::dict({
        {"addSampleIDKeys", Value::array({"sample", "id"})},
        {"addSampleMap", Value::dict({{"u", 0},
                                      {"used", 0},
                                      {"f", 1},
                                      {"free", 1},
                                      {"s", 2},
                                      {"size", 2},
                                      {"p", 3},
                                      {"percentage", 3},
                                      {"pur", 4},
                                      {"purgeable", 4}})},
        {"sampleKeys", keys},
        {"xmlSampleKeys", keys},
        {"emptySampleKeys", Value::array()},
        {"xmlSampleDivideProtocols", Value::array({2, 1, 0})},
        {"xmlSampleDivide", 1048576.0},
        {"xmlSampleDivideExcludeKeys", Value::array({"p"})},
        {"sqlInsert", "insert into %@ (empty, sample, time) values (?, ?, ?)"},
        {"sqlInsertKeys", Value::array({"empty", "sample", "time"})},
        {"sqlInsertItem", "insert into %@ (sample, time, pur, used, free, size, uuid, format) "
                          "values (?, ?, ?, ?, ?, ?, ?, 1)"},
        {"sqlInsertItemKeys", Value::array({"sample", "time", "pur", "u", "f", "s", "uuid"})},
        {"sqlCreate", "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, "
                      "uuid varchar(100) NOT NULL, used double NOT NULL DEFAULT 0, free double "
                      "NOT NULL DEFAULT 0, size double NOT NULL, pur double NOT NULL DEFAULT 0)"},
        {"sqlCreateID", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                        "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateIDLong", "create table %@ (sample double PRIMARY KEY NOT NULL, time double NOT "
                            "NULL DEFAULT 0, empty integer NOT NULL DEFAULT 0)"},
        {"sqlCreateLong",
         "create table %@ (sample double, time double NOT NULL DEFAULT 0, empty integer NOT NULL "
         "DEFAULT 0, uuid varchar(100), used double NOT NULL DEFAULT 0, free double NOT NULL "
         "DEFAULT 0, size double NOT NULL DEFAULT 0, pur double NOT NULL DEFAULT 0)"},
        {"itemAttributeKeys", Value::array({"uuid"})},
    });
}

std::string DisksStatCollector::defaultDisplayName(const std::string& path,
                                                   const std::string& label) {
    if (!label.empty())
        return label;
    if (path == "/")
        return "Filesystem root";
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

StatCollector::ItemPointer DisksStatCollector::itemClassInstance() const {
    return std::make_shared<DiskStatCollectorItem>(sampleValueCount(), tierCount());
}

std::vector<DisksStatCollector::VolumeItem> DisksStatCollector::volumes() const {
    std::vector<VolumeItem> all;
    for (const auto& item : items())
        all.push_back(std::static_pointer_cast<DiskStatCollectorItem>(item));
    return all;
}

DisksStatCollector::VolumeItem DisksStatCollector::itemWithBSD(std::string_view bsd) const {
    for (const auto& volume : volumes()) {
        if (!volume->temporary() && volume->bsd == bsd)
            return volume;
    }
    return nullptr;
}

DisksStatCollector::VolumeItem DisksStatCollector::bootDisk() const {
    for (const char* path : {"/System/Volumes/Data", "/"}) {
        for (const auto& volume : volumes()) {
            if (volume->path == path)
                return volume;
        }
    }
    return nullptr;
}

void DisksStatCollector::update() {
    ++session_;
    partitionsChanged_ = true;
    updateStats();
    partitionsChanged_ = false;
}

namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool skipped(const Value& partition) {
    if (const Value* mountable = partition.find("mountable"); mountable && !mountable->boolValue())
        return true;
    const std::string media = lowered(partition["mediaName"].stringValue());
    if (media == "efi system partition" || media == "recovery hd")
        return true;
    const std::string& path = partition["path"].string();
    return path == "/Volumes/MobileBackups" || path == "/private/var/vm" ||
           path == "/Volumes/Recovery";
}

} // namespace

bool DisksStatCollector::processPartition(const Value& partition) {
    if (skipped(partition))
        return false;
    const std::string& key = partition["uuid"].string();
    if (key.empty())
        return false;
    bool changed = false;
    auto volume = std::static_pointer_cast<DiskStatCollectorItem>(itemWithKey(Value(key)));
    if (!volume) {
        volume = std::static_pointer_cast<DiskStatCollectorItem>(newItemWithKey2(key));
        volume->lastUpdate = 0;
        volume->modificationTime = -1;
        volume->name = partition["name"].stringValue();
        volume->newDisk = true;
        setChildrenChanged(true);
        changed = true;
    }
    if (partition["modificationTime"].doubleValue() != volume->modificationTime)
        changed = refreshItem(*volume, partition) || changed;
    if (!volume->path.empty())
        volume->url = volume->path;
    volume->setExists(true);
    return changed;
}

bool DisksStatCollector::refreshItem(DiskStatCollectorItem& volume, const Value& partition) {
    bool changed = false;
    const auto assign = [&changed](auto& field, const auto& value) {
        if (field != value) {
            field = value;
            changed = true;
        }
    };
    assign(volume.iokitSize, partition["size"].doubleValue());
    volume.modificationTime = partition["modificationTime"].doubleValue();
    std::string path = partition["path"].string();
    if (path.starts_with("file://localhost"))
        path.erase(0, 16);
    volume.label = partition["name"].stringValue();
    const std::string namePath = path == "/System/Volumes/Data" ? "/" : path;
    // Unmounted and without a label, a volume keeps the name it had, else its device's.
    std::string name = namer_(namePath, volume.label);
    if (name.empty())
        name = volume.name.empty() ? partition["bsd"].stringValue() : volume.name;
    assign(volume.name, name);
    volume.bsd = partition["bsd"].stringValue();
    volume.path = path;
    const std::int64_t type = partition["type"].integerValue();
    assign(volume.hardwareType, type);
    assign(volume.partitionID, partition["Partition ID"].integerValue());
    assign(volume.unitID, partition["BSD Unit"].integerValue());
    assign(volume.ejectable, partition["ejectable"].boolValue());
    volume.type = type;
    volume.iconInfo = partition["icon"];
    volume.setNohistory(type != VolumePhysical && type != VolumeZFS);
    if (!path.empty()) {
        volume.mounted = true;
    } else {
        if (volume.mounted || volume.type != VolumeNotMounted)
            changed = true;
        volume.mounted = false;
        volume.type = VolumeNotMounted;
    }
    return changed;
}

void DisksStatCollector::updateStats() {
    if (busy_)
        return;
    busy_ = true;
    bool changed = false;
    if (partitionsChanged_) {
        for (const auto& item : items())
            item->setExists(false);
        for (const Value& entry : info_.DADisks().arrayItems()) {
            if (!entry.contains("partitions")) {
                changed = processPartition(entry) || changed;
                continue;
            }
            for (const Value& partition : entry["partitions"].arrayItems())
                changed = processPartition(partition) || changed;
        }
        for (const auto& item : items()) {
            if (!item->exists())
                item->cleanup();
        }
        changed = removeOldItems() || changed;
    }
    const double now = mainQueue().clock().now();
    const double identifier = idForInterval(0);
    addSample(Value::dict({{"sample", identifier}, {"time", now}}), 0);
    for (const auto& volume : volumes()) {
        // A fresh mount is left alone for a moment before its space is asked for.
        if (now > volume->creationTime() + kMinimumAge)
            volume->updateWithIdentifier(identifier, now, mainQueue(), reader_, runner_);
    }
    if (changed) {
        sort();
        ++session_;
        notifyChildrenChanged();
    }
    notifyUpdated();
    busy_ = false;
}

} // namespace corvane
