#pragma once

#include "collectors/disks/DiskManager.h"
#include "shell/SectionController.h"

#include <functional>
#include <string>
#include <vector>

namespace corvane {

class CVBPreferences;
class DistributedNotificationCenter;

// Disk space and activity.
class DisksController : public SectionController {
public:
    using SectionController::SectionController;

    std::string sectionName() const override { return "Disks"; }
    std::optional<std::string> bundleName() const override {
        return "com.halvorn.CorvaneBarDrives";
    }
    std::string stateNotificationKey() const override { return "diskusage"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Disks_Hotkey"; }
};

// Keeps "Disks_MenubarItems" in step with the volumes after each update of the disk tree:
// an older list is migrated, names follow renamed volumes, an empty list gets the boot volume.
// A change is stored and announced as the section's own controls do.
class MenubarDisksKeeper final : public DiskManagerDelegate {
public:
    // `center` null: stored without telling anyone.
    MenubarDisksKeeper(DiskManager& manager, DistributedNotificationCenter* center);
    ~MenubarDisksKeeper() override;
    MenubarDisksKeeper(const MenubarDisksKeeper&) = delete;
    MenubarDisksKeeper& operator=(const MenubarDisksKeeper&) = delete;

    void diskManagedUpdated() override;

private:
    DiskManager& manager_;
    DistributedNotificationCenter* center_;
};

// Tells the disks page when what it offers changed after a disk event: a volume or disk came
// or went, or a volume was renamed. The page then rebuilds its switches; they read the stored
// choices, so the user's ticks stay, also for a volume that comes back later.
class DiskChoiceWatcher final : public DiskManagerDelegate {
public:
    DiskChoiceWatcher(DiskManager& manager, std::function<void()> changed);
    ~DiskChoiceWatcher() override;
    DiskChoiceWatcher(const DiskChoiceWatcher&) = delete;
    DiskChoiceWatcher& operator=(const DiskChoiceWatcher&) = delete;

    void diskManagedUpdated() override;
    // One line per switch the page shows: panel volumes, dropdown volumes, disks' activity.
    static std::vector<std::string> offered(const DiskManager& manager);

private:
    DiskManager& manager_;
    std::function<void()> changed_;
    std::vector<std::string> offered_;
};

// The page's choices of volumes: which the panel item shows ("Disks_MenubarItems") and which
// volumes and disks' activity the dropdown leaves out ("FilteringDisks" by volume key,
// "FilteringDiskActivity" by whole-disk name). Each change is stored and announced; each
// setter answers false when nothing could be stored.
class DiskChoices {
public:
    // `bus` null: stored without telling anyone.
    DiskChoices(CVBPreferences& preferences, DiskManager& manager,
                DistributedNotificationCenter* bus = nullptr)
        : preferences_(preferences)
        , manager_(manager)
        , bus_(bus) {}

    // Nothing stored means the boot volume, as the panel item reads it.
    bool inPanel(const std::string& key);
    // The panel item keeps at least one volume: turning off the last one is refused.
    bool setInPanel(const std::string& key, bool shown);
    bool volumeShown(const std::string& key);
    bool setVolumeShown(const std::string& key, bool shown);
    bool activityShown(const std::string& disk);
    bool setActivityShown(const std::string& disk, bool shown);
    // Both lists emptied, and one notice for each.
    bool resetFiltering();

private:
    // The stored entries, or the boot volume's where none are stored, as the item shows them.
    Value panelEntries();
    std::string entryKey(const Value& entry) const;
    bool store(const Value& value, const char* key);
    bool setListed(const char* key, const std::string& entry, bool listed);
    void post(const char* key);

    CVBPreferences& preferences_;
    DiskManager& manager_;
    DistributedNotificationCenter* bus_;
};

} // namespace corvane
