#pragma once

#include "drawing/CVBModuleView.h"

#include <memory>
#include <vector>

namespace corvane {

class DiskActivityStatCollector;
class DiskInfoStatCollector;
class DiskStatCollectorItem;
class DisksStatCollector;

// The disks item: the space of the volumes "Disks_MenubarItems" lists (graphs, percentage,
// used and free) and the activity of all disks (dots, arrows, a history graph, rates), as
// "Disks_MenubarMode" lists them.
class CVBDisksMenuExtraView : public CVBModuleView {
public:
    // The collectors are not owned and must outlive the view.
    CVBDisksMenuExtraView(const DrawingContext& context, DisksStatCollector& disks,
                          DiskActivityStatCollector& activity, DiskInfoStatCollector& info);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // A volume's figures from its newest sample; purgeable space counts as free when the
    // settings hide it.
    struct Space {
        double used = 0, free = 0, percent = 0;
        bool measured = false;
    };
    static Space spaceOf(const DiskStatCollectorItem& volume, bool hidePurgable);
    // The volumes the item shows, in the stored order; the boot volume when none is stored.
    std::vector<std::shared_ptr<DiskStatCollectorItem>> shownVolumes() const;
    // Read and write bytes a second, summed over the disks' newest samples.
    std::pair<double, double> activity() const;
    static bool isPerVolume(std::int64_t code);
    // The dropdown's read and write graph over a tier's ring, `perColumn` samples averaged in
    // each of `columns`; the dropdown's colours where chosen, else the panel's.
    HistoryGraph dropdownHistory(int tier, int columns, std::int64_t perColumn) const;

private:
    int drawEntry(const Value& mode, const DiskStatCollectorItem* volume, int offset);
    int drawPercentage(const Space& space, int offset);
    int drawUsedAndFree(const Space& space, int offset);
    int drawRates(int offset);
    int drawActivitySigns(bool arrows, int offset);
    HistoryGraph activityHistory(int tier, int columns, std::int64_t perColumn, const char* readKey,
                                 const char* writeKey) const;
    std::vector<GraphComponent> usedComponent(const Space& space) const;

    DisksStatCollector& disks_;
    DiskActivityStatCollector& activity_;
    DiskInfoStatCollector& info_;
};

} // namespace corvane
