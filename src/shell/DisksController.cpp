#include "shell/DisksController.h"

#include "collectors/disks/MenubarDisks.h"
#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SectionNotifications.h"

namespace corvane {

namespace {
constexpr const char* kMenubarItems = "Disks_MenubarItems";
}

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

} // namespace corvane
