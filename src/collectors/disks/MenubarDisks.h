#pragma once

#include "collectors/disks/DiskManager.h"
#include "collectors/disks/DisksStatCollector.h"
#include "foundation/Value.h"

namespace corvane {

// The volumes the panel shows ("Disks_MenubarItems"): dictionaries of key, name and, for the
// boot volume, boot true. Each step answers whether the list changed and must be stored.
namespace menubar_disks {

// Plain strings of an older format become dictionaries (unknown keys are dropped); an array
// entry becomes its first dictionary.
bool migrateIfNeeded(Value& entries, const DisksStatCollector& disks);
// Names and keys follow the volumes; the boot entry follows the boot volume.
bool updateItemsIfNeeded(Value& entries, const DisksStatCollector& disks);
// An empty list gets the boot volume.
bool setDefaultsIfNeeded(Value& entries, const DisksStatCollector& disks);
// All three in order; false when the collector has no volumes yet (nothing is touched).
bool updateMenubarDisks(Value& entries, const DisksStatCollector& disks);

// The volumes a user may add: groups of type 0 under "AVAILABLE DISKS" and of type 3 under
// "AVAILABLE NETWORK DISKS", as an array of {header, items: [{key, name}]}.
Value availableDisks(const std::vector<DiskStructureGroup>& structure);

} // namespace menubar_disks
} // namespace corvane
