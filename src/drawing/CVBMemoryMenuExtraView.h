#pragma once

#include "drawing/CVBModuleView.h"

namespace corvane {

class MemoryStatCollector;

// The memory item: how much is in use as graphs or text, used and free amounts, paging
// activity, and the label, as "Memory_MenubarMode" lists them.
class CVBMemoryMenuExtraView : public CVBModuleView {
public:
    // The collector is not owned and must outlive the view.
    CVBMemoryMenuExtraView(const DrawingContext& context, MemoryStatCollector& memory);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The amounts of one sample, in the collector's units.
    struct Amounts {
        double total = 0, free = 0, wired = 0, active = 0, inactive = 0, compressed = 0;
        double pressure = 0; // percent
        double pageinRate = 0, pageoutRate = 0;
    };
    // The graphs' layers, largest first: cumulative shares by kind, the overall share, or the
    // pressure, as the settings choose.
    std::vector<GraphComponent> components(const Amounts& amounts) const;
    bool pressureMode() const;

private:
    int drawEntry(const Value& mode, const Amounts& amounts, int offset);
    HistoryGraph history() const;
    int drawPercentage(const Amounts& amounts, int offset);
    int drawUsedAndFree(const Amounts& amounts, int offset);
    int drawPaging(const Amounts& amounts, bool arrows, int offset);

    MemoryStatCollector& memory_;
};

} // namespace corvane
