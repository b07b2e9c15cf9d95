#include "status/ItemPainter.h"

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/CPUStatCollectorItem.h"
#include "collectors/disks/DiskManager.h"
#include "collectors/sensors/SensorsStatCollector.h"
#include "drawing/CVBDisksMenuExtraView.h"
#include "drawing/CVBModuleView.h"
#include "drawing/CVBNetworkMenuExtraView.h"
#include "drawing/CVBSensorsMenuExtraView.h"
#include "drawing/GraphColors.h"
#include "drawing/ItemRenderer.h"
#include "drawing/Surface.h"
#include "status/DropdownBuilders.h"

#include <algorithm>
#include <cairo.h>

namespace corvane {

namespace {

// The square picture: one element of the strip, centred.
class CompactView final : public CVBModuleView {
public:
    CompactView(const DrawingContext& context, const ItemSummary& summary)
        : CVBModuleView(context)
        , summary_(summary) {}

    int drawAtOffset(int offset) override {
        if (summary_.batteryState)
            return drawBatteryVerticalGraph(summary_.fraction * 100, "", *summary_.batteryState,
                                            offset);
        return drawPieGraphWithPecentage(summary_.fraction, defaultColorForTheme(context()),
                                         offset);
    }
    // The width the element takes, so that it can be centred.
    int elementWidth() const { return summary_.batteryState ? 22 : graphHeight() + 4; }

private:
    const ItemSummary& summary_;
};

// A dropdown graph's columns each average this many samples of the tier's ring.
std::int64_t samplesPerColumn(const sampleindexconfig& tier) {
    return std::max<std::int64_t>(1, tier.maximumSamples / ItemPainter::kGraphColumns);
}

class GraphView final : public CVBModuleView {
public:
    using CVBModuleView::CVBModuleView;
};

} // namespace

PanelPicture ItemPainter::fromImage(const Image& image) {
    cairo_surface_t* surface = image.cairoSurface();
    cairo_surface_flush(surface);
    return PanelPicture::fromRows(
        cairo_image_surface_get_data(surface), cairo_image_surface_get_width(surface),
        cairo_image_surface_get_height(surface), cairo_image_surface_get_stride(surface));
}

PanelPicture ItemPainter::picture(CVBModuleView& view, const DrawingContext& context) {
    return fromImage(ItemRenderer::render(view, context, ItemRenderer::Background::Transparent));
}

PanelPicture ItemPainter::compactPicture(const ItemSummary& summary,
                                         const DrawingContext& context) {
    CompactView view(context, summary);
    Image image(Surface::kStripHeight, Surface::kStripHeight, context.scale);
    Surface surface(image);
    view.setSurface(&surface);
    view.drawAtOffset((static_cast<int>(Surface::kStripHeight) - view.elementWidth()) / 2);
    view.setSurface(nullptr);
    return fromImage(image);
}

PanelPicture ItemPainter::historyGraph(const CPUStatCollector& cpu, int tier,
                                       const DrawingContext& context) {
    const auto perColumn = samplesPerColumn(cpu.sampleIndex(tier));
    HistoryGraph graph;
    graph.width = kGraphColumns;
    graph.colors = {fillColorForGraph2(context, "CPU_MenubarGraphSystem", 1),
                    fillColorForGraph2(context, "CPU_MenubarGraphUser", 0)};
    for (std::int64_t column = 0; column < kGraphColumns; ++column) {
        double busy = 0, user = 0;
        int counted = 0;
        for (std::int64_t i = column * perColumn; i < (column + 1) * perColumn; ++i) {
            const statsample s = cpu.sampleAtIndex(i, tier);
            if (s.sampleID == 0)
                break;
            ++counted;
            if (s.empty)
                continue;
            user += s.values[CPUStatCollectorItem::User];
            busy += s.values[CPUStatCollectorItem::User] + s.values[CPUStatCollectorItem::System];
        }
        if (counted == 0)
            break;
        graph.samples.push_back({busy / counted / 100, user / counted / 100});
    }
    GraphView view(context);
    return graphPicture(view, graph, context);
}

PanelPicture ItemPainter::networkGraph(NetworkStatCollector& network, int tier,
                                       const DrawingContext& context) {
    CVBNetworkMenuExtraView view(context, network);
    return graphPicture(
        view,
        view.dropdownHistory(tier, kGraphColumns, samplesPerColumn(network.sampleIndex(tier))),
        context);
}

PanelPicture ItemPainter::disksGraph(DiskManager& disks, int tier, const DrawingContext& context) {
    CVBDisksMenuExtraView view(context, disks.disks(), disks.activity(), disks.info());
    return graphPicture(view,
                        view.dropdownHistory(tier, kGraphColumns,
                                             samplesPerColumn(disks.activity().sampleIndex(tier))),
                        context);
}

PanelPicture ItemPainter::sensorsGraph(SensorsStatCollector& sensors, int tier,
                                       const DrawingContext& context) {
    CVBSensorsMenuExtraView view(context, sensors);
    return graphPicture(
        view,
        view.dropdownHistory(tier, kGraphColumns, samplesPerColumn(sensors.sampleIndex(tier))),
        context);
}

PanelPicture ItemPainter::graphPicture(CVBModuleView& view, const HistoryGraph& graph,
                                       const DrawingContext& context) {
    Image image(graph.width, Surface::kStripHeight, context.scale);
    Surface surface(image);
    view.setSurface(&surface);
    view.drawHistoryGraph(graph, 0);
    view.setSurface(nullptr);
    return fromImage(image);
}

} // namespace corvane
