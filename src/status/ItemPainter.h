#pragma once

#include "status/PanelItem.h"

namespace corvane {

class CPUStatCollector;
class CVBModuleView;
class DiskManager;
class SensorsStatCollector;
struct DrawingContext;
class Image;
struct HistoryGraph;
class NetworkStatCollector;
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

    // The network's upload and download over the tier's ring, `kGraphColumns` wide.
    static PanelPicture networkGraph(NetworkStatCollector& network, int tier,
                                     const DrawingContext& context);
    // The disks' read and write, and the panel's sensors, over the tier's ring, `kGraphColumns`
    // wide.
    static PanelPicture disksGraph(DiskManager& disks, int tier, const DrawingContext& context);
    static PanelPicture sensorsGraph(SensorsStatCollector& sensors, int tier,
                                     const DrawingContext& context);
    // A history graph of a dropdown, `graph.width` wide, drawn by `view` (of that context).
    static PanelPicture graphPicture(CVBModuleView& view, const HistoryGraph& graph,
                                     const DrawingContext& context);

    // A drawn image's pixels as a panel picture.
    static PanelPicture fromImage(const Image& image);
};

} // namespace corvane
