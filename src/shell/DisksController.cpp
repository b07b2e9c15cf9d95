#include "shell/DisksController.h"

#include "collectors/disks/MenubarDisks.h"
#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SectionNotifications.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr const char* kMenubarItems = "Disks_MenubarItems";
constexpr const char* kHiddenVolumes = "FilteringDisks";
constexpr const char* kHiddenActivity = "FilteringDiskActivity";

bool holds(const Value& list, const std::string& entry) {
    const auto& items = list.arrayItems();
    return std::any_of(items.begin(), items.end(),
                       [&](const Value& item) { return item.stringValue() == entry; });
}

} // namespace

MenubarDisksKeeper::MenubarDisksKeeper(DiskManager& manager, DistributedNotificationCenter* center)
    : manager_(manager)
    , center_(center) {
    manager_.addDelegate(this);
}

MenubarDisksKeeper::~MenubarDisksKeeper() {
    manager_.removeDelegate(this);
}

void MenubarDisksKeeper::diskManagedUpdated() {
    Value entries = CVBObjectForKey(kMenubarItems);
    if (!menubar_disks::updateMenubarDisks(entries, manager_.disks()))
        return;
    CVBSetObjectForKey(entries, kMenubarItems);
    if (center_)
        center_->postNotificationName(notificationForKey(kMenubarItems),
                                      Value::dict({{"key", kMenubarItems}}));
}

DiskChoiceWatcher::DiskChoiceWatcher(DiskManager& manager, std::function<void()> changed)
    : manager_(manager)
    , changed_(std::move(changed))
    , offered_(offered(manager)) {
    manager_.addDelegate(this);
}

DiskChoiceWatcher::~DiskChoiceWatcher() {
    manager_.removeDelegate(this);
}

void DiskChoiceWatcher::diskManagedUpdated() {
    auto now = offered(manager_);
    if (now == offered_)
        return;
    offered_ = std::move(now);
    changed_();
}

std::vector<std::string> DiskChoiceWatcher::offered(const DiskManager& manager) {
    std::vector<std::string> lines;
    const Value available = menubar_disks::availableDisks(manager.stucture());
    for (const Value& section : available.arrayItems())
        for (const Value& volume : section["items"].arrayItems())
            lines.push_back("panel " + volume["key"].stringValue() + " " +
                            volume["name"].stringValue());
    for (const DiskStructureGroup& group : manager.stucture())
        for (const DiskStructurePartition& volume : group.partitions)
            lines.push_back("volume " + group.bsd + " " + volume.key + " " + volume.name);
    for (const auto& disk : manager.activity().disks())
        lines.push_back("activity " + disk->key() + " " + disk->name);
    return lines;
}

Value DiskChoices::panelEntries() {
    const Value& stored = preferences_.objectForKey(kMenubarItems);
    if (stored.isArray() && !stored.arrayItems().empty())
        return stored;
    // Nothing stored: the panel item shows the boot volume.
    Value entries = Value::array();
    if (const auto boot = manager_.disks().bootDisk())
        entries.append(Value::dict({{"key", boot->key()}, {"name", boot->name}, {"boot", true}}));
    return entries;
}

std::string DiskChoices::entryKey(const Value& entry) const {
    // The boot entry follows the boot volume, whatever key it was stored with.
    const auto boot = manager_.disks().bootDisk();
    return entry["boot"].boolValue() && boot ? boot->key() : entry["key"].stringValue();
}

bool DiskChoices::inPanel(const std::string& key) {
    const Value entries = panelEntries();
    const auto& items = entries.arrayItems();
    return std::any_of(items.begin(), items.end(),
                       [&](const Value& entry) { return entryKey(entry) == key; });
}

bool DiskChoices::setInPanel(const std::string& key, bool shown) {
    if (inPanel(key) == shown)
        return true;
    Value entries = Value::array();
    const Value before = panelEntries();
    for (const Value& entry : before.arrayItems())
        if (entryKey(entry) != key)
            entries.append(entry);
    if (shown) {
        const auto volumes = manager_.disks().volumes();
        const auto volume = std::find_if(volumes.begin(), volumes.end(),
                                         [&](const auto& item) { return item->key() == key; });
        const auto boot = manager_.disks().bootDisk();
        Value entry =
            Value::dict({{"key", key}, {"name", volume != volumes.end() ? (*volume)->name : key}});
        if (boot && boot->key() == key)
            entry.set("boot", true);
        entries.append(std::move(entry));
    } else if (entries.arrayItems().empty()) {
        return false;
    }
    if (!store(entries, kMenubarItems))
        return false;
    post(kMenubarItems);
    return true;
}

bool DiskChoices::volumeShown(const std::string& key) {
    return !holds(preferences_.objectForKey(kHiddenVolumes), key);
}

bool DiskChoices::setVolumeShown(const std::string& key, bool shown) {
    return setListed(kHiddenVolumes, key, !shown);
}

bool DiskChoices::activityShown(const std::string& disk) {
    return !holds(preferences_.objectForKey(kHiddenActivity), disk);
}

bool DiskChoices::setActivityShown(const std::string& disk, bool shown) {
    return setListed(kHiddenActivity, disk, !shown);
}

bool DiskChoices::resetFiltering() {
    if (!store(Value::array(), kHiddenVolumes) || !store(Value::array(), kHiddenActivity))
        return false;
    post(kHiddenVolumes);
    post(kHiddenActivity);
    return true;
}

bool DiskChoices::setListed(const char* key, const std::string& entry, bool listed) {
    const Value& stored = preferences_.objectForKey(key);
    if (holds(stored, entry) == listed)
        return true;
    Value list = Value::array();
    for (const Value& item : stored.arrayItems())
        if (item.stringValue() != entry)
            list.append(item);
    if (listed)
        list.append(Value(entry));
    if (!store(list, key))
        return false;
    post(key);
    return true;
}

bool DiskChoices::store(const Value& value, const char* key) {
    return preferences_.setObject(value, key);
}

void DiskChoices::post(const char* key) {
    if (bus_)
        bus_->postNotificationName(notificationForKey(key), Value::dict({{"key", key}}));
}

} // namespace corvane
