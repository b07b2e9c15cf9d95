#pragma once

#include "drawing/CPUModePlan.h"
#include "drawing/CVBModuleView.h"

namespace corvane {

class CPUStatCollector;
class LoadStatCollector;
class StatCollectorItem;

// The processor item: graphs and texts of the whole machine or of each core, the load
// average, and the labels, as "CPU_MenubarMode" lists them. Graphics elements draw nothing
// while the machine has no graphics item.
class CVBCPUMenuExtraView : public CVBModuleView {
public:
    // The collectors are not owned and must outlive the view; `load` may be null.
    CVBCPUMenuExtraView(const DrawingContext& context, CPUStatCollector& cpu,
                        LoadStatCollector* load);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The cores the per-core elements show: physical ones when logical cores are combined on
    // a machine with two threads a core.
    std::vector<const StatCollectorItem*> cores() const;

private:
    struct Load {
        double user = 0;
        double system = 0;
    };

    int drawEntry(const CPUModeEntry& entry, const std::vector<const StatCollectorItem*>& cores,
                  int offset);
    Load newestLoad(const StatCollectorItem* core) const;
    bool hasSample(const StatCollectorItem* core) const;
    std::vector<GraphComponent> components(const Load& load) const;
    HistoryGraph history(const StatCollectorItem* core) const;
    int drawPercentage(const Load& load, int offset);
    int drawLoadAverage(int offset);

    CPUStatCollector& cpu_;
    LoadStatCollector* load_;
};

} // namespace corvane
