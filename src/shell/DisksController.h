#pragma once

#include "collectors/disks/DiskManager.h"
#include "shell/SectionController.h"

namespace corvane {

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

} // namespace corvane
