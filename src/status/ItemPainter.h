#pragma once

#include "status/PanelItem.h"

namespace corvane {

class CPUStatCollector;
class CVBModuleView;
struct DrawingContext;
class Image;
struct ItemSummary;

// Pictures of the items as the panel front ends take them.
class ItemPainter {
public:
    // The columns of the processor's history graph in its dropdown; each averages the samples
    // of its share of the tier's ring.
    static constexpr int kGraphColumns = 150;

    // The item as `corvanebar render` draws it, on a transparent strip, for the host of the
    // context at its scale.
    static PanelPicture picture(CVBModuleView& view, const DrawingContext& context);
    // A square of the panel's height: the item's main value as a pie, or a battery.
    static PanelPicture compactPicture(const ItemSummary& summary, const DrawingContext& context);
    // The processor's load over the tier's ring, user over system, `kGraphColumns` wide.
    static PanelPicture historyGraph(const CPUStatCollector& cpu, int tier,
                                     const DrawingContext& context);

    // A drawn image's pixels as a panel picture.
    static PanelPicture fromImage(const Image& image);
};

} // namespace corvane
