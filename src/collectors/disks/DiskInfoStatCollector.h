#pragma once

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/MediaTable.h"
#include "engine/StatCollector.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// One physical disk: its information dictionary (serial, manufacturer, model, type,
// connectionType, size, name, bsd, partitions) and the name shown for it.
class DiskInfoStatCollectorItem : public StatCollectorItem {
public:
    using StatCollectorItem::StatCollectorItem;

    // The info's name; else manufacturer and model; else either; else the key.
    void createName();

    std::int64_t session = 0;
    Value info;
    std::string name;
};

// The physical disks and the media dictionaries of every disk, partition and network volume.
// Keeps no samples. A platform subclass fills both from the machine in diskChange.
class DiskInfoStatCollector : public StatCollector {
public:
    using InfoItem = std::shared_ptr<DiskInfoStatCollectorItem>;

    explicit DiskInfoStatCollector(const EngineContext& context);

    static Value makeConfig();
    ItemPointer itemClassInstance() const override;
    void updateStats() override {}

    // Reads the machine again after a disk event and applies what changed.
    virtual void diskChange() = 0;
    // The whole disks as last read, for the activity collector.
    virtual const std::vector<ActivityDisk>& activityDisks() const = 0;

    const MediaTable& media() const { return media_; }
    const Value& DADisks() const { return media_.disks(); }

    InfoItem physicalDiskForBSD(std::string_view bsd) const;
    std::string physicalBSDForPartition(std::string_view bsd) const;
    std::vector<InfoItem> stuctureForBSD(std::string_view bsd) const;
    bool hasSSD() const;
    std::string serialForBSD(std::string_view bsd) const;
    Value infoForBSD(std::string_view bsd) const;
    std::optional<double> sizeForDiskWithBSD(std::string_view bsd) const;
    // What a history export writes for an item.
    static Value xmlSamplesFromAttributes(const DiskInfoStatCollectorItem& item);

protected:
    // Takes the physical disks as read: items by their bsd, the rest removed.
    void finishFetchingInfo(const std::vector<Value>& infos);
    // Copies serials and sizes of the physical disks into the media dictionaries.
    void updateDiskIDS();
    MediaTable& mutableMedia() { return media_; }

private:
    MediaTable media_;
    std::int64_t session_ = 0;
};

} // namespace corvane
