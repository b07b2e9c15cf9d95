#include "drawing/CVBCPUMenuExtraView.h"

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/LoadStatCollector.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "preferences/CVBPreferences.h"
#include "text/CVBFormatters.h"

#include <algorithm>
#include <cstdio>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kHistory = 0,
    kVertical = 1,
    kPercentage = 2,
    kPie = 3,
    kLoadText = 4,
    kCombinedVertical = 6,
    kLoadLabel = 7,
    kCircular = 13,
    kLabel = 100,
    kSpacer = 101,
};

statsample newestOf(const StatCollector& cpu, const StatCollectorItem* core) {
    return core ? core->sampleAtIndex(0, 0) : cpu.sampleAtIndex(0, 0);
}

} // namespace

CVBCPUMenuExtraView::CVBCPUMenuExtraView(const DrawingContext& context, CPUStatCollector& cpu,
                                         LoadStatCollector* load)
    : CVBModuleView(context)
    , cpu_(cpu)
    , load_(load) {
    loadConfig();
}

Value CVBCPUMenuExtraView::classConfig() {
    return Value::dict({
        {"cpu-percentage",
         ModuleText::style("CPU_MenubarTextSize", "CPU_MenubarTextColor",
                           "CPU_MenubarTextShadowColor", "CPU_MenubarFontStyle", 1)},
        {"gpu-percentage",
         ModuleText::style("GPU_MenubarTextSize", "GPU_MenubarTextColor",
                           "GPU_MenubarTextShadowColor", "GPU_MenubarFontStyle", 1)},
        {"gpu-percentage-proc",
         ModuleText::style("GPU_MenubarTextSize", "GPU_MenubarTextColorProcessor",
                           "GPU_MenubarTextShadowColorProcessor", "GPU_MenubarFontStyle", 1)},
        {"load-text",
         ModuleText::style("Load_MenubarTextSize", "Load_MenubarTextColor",
                           "Load_MenubarTextShadowColor", "Load_MenubarFontStyle", std::nullopt)},
    });
}

void CVBCPUMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

std::vector<const StatCollectorItem*> CVBCPUMenuExtraView::cores() const {
    std::vector<const StatCollectorItem*> result;
    if (context().boolean("CPU_CombineLogicalCores") && cpu_.hyperThreading()) {
        for (const auto& core : cpu_.physicalCores())
            result.push_back(core.get());
    } else {
        for (const auto& item : cpu_.items())
            result.push_back(item.get());
    }
    return result;
}

int CVBCPUMenuExtraView::drawAtOffset(int offset) {
    const auto inPlay = cores();
    const auto plan = CPUModePlan::fromPreferences(context()).entries(
        context().modes("CPU_MenubarMode"), inPlay.size());
    int total = 0;
    for (const auto& entry : plan)
        total += drawEntry(entry, inPlay, offset + total);
    return itemWidth(total);
}

int CVBCPUMenuExtraView::drawEntry(const CPUModeEntry& entry,
                                   const std::vector<const StatCollectorItem*>& cores, int offset) {
    const StatCollectorItem* core =
        entry.core >= 0 && static_cast<std::size_t>(entry.core) < cores.size()
            ? cores[static_cast<std::size_t>(entry.core)]
            : nullptr;
    if (entry.core >= 0 && !core)
        return 0;
    switch (entry.code()) {
    case kHistory:
        return drawHistoryGraph(history(core), offset);
    case kVertical:
        return hasSample(core)
                   ? drawVerticalGraphWithComponents(components(newestLoad(core)), offset)
                   : 0;
    case kPercentage:
        return hasSample(core) ? drawPercentage(newestLoad(core), offset) : 0;
    case kPie:
        return hasSample(core) ? drawPieGraphWithComponents(components(newestLoad(core)), offset)
                               : 0;
    case kCircular:
        return hasSample(core)
                   ? drawCircularGraphWithComponents(components(newestLoad(core)), offset)
                   : 0;
    case kLoadText:
        return drawLoadAverage(offset);
    case kCombinedVertical: {
        std::vector<std::vector<GraphComponent>> bars;
        for (const auto* c : cores)
            bars.push_back(components(newestLoad(c)));
        return bars.empty() ? 0 : drawCombinedVerticalGraph(bars, offset);
    }
    case kLoadLabel:
        return drawLabel("menubar-label-load", "Load_Label", offset);
    case kLabel:
        return drawLabel("menubar-label-cpu", "CPU_Label", offset);
    case kSpacer:
        return static_cast<int>(entry.mode["width"].integerValue());
    default:
        // The graphics elements (5, 8 to 11) without a graphics item, and unknown codes.
        return 0;
    }
}

bool CVBCPUMenuExtraView::hasSample(const StatCollectorItem* core) const {
    return newestOf(cpu_, core).sampleID != 0;
}

CVBCPUMenuExtraView::Load CVBCPUMenuExtraView::newestLoad(const StatCollectorItem* core) const {
    const statsample sample = newestOf(cpu_, core);
    if (sample.sampleID == 0 || !sample.values)
        return {};
    return {sample.values[CPUStatCollectorItem::User], sample.values[CPUStatCollectorItem::System]};
}

std::vector<GraphComponent> CVBCPUMenuExtraView::components(const Load& load) const {
    if (context().boolean("CPU_MenubarGraphBreakdowns"))
        return {{fillColorForGraph2(context(), "CPU_MenubarGraphSystem", 1),
                 (load.user + load.system) / 100},
                {fillColorForGraph2(context(), "CPU_MenubarGraphUser", 0), load.user / 100}};
    return {{fillColorForGraph2(context(), "CPU_MenubarGraphOverall", -1),
             (load.user + load.system) / 100}};
}

HistoryGraph CVBCPUMenuExtraView::history(const StatCollectorItem* core) const {
    const bool breakdowns = context().boolean("CPU_MenubarGraphBreakdowns");
    HistoryGraph graph;
    graph.width = static_cast<int>(context().integer("CPU_MenubarGraphWidth"));
    if (breakdowns)
        graph.colors = {fillColorForGraph2(context(), "CPU_MenubarGraphSystem", 1),
                        fillColorForGraph2(context(), "CPU_MenubarGraphUser", 0)};
    else
        graph.colors = {fillColorForGraph2(context(), "CPU_MenubarGraphOverall", -1)};
    const int columns = std::clamp(graph.width, 1, kMaximumColumns);
    for (int i = 0; i < columns; ++i) {
        const statsample s = core ? core->sampleAtIndex(i, 0) : cpu_.sampleAtIndex(i, 0);
        if (s.sampleID == 0)
            break;
        const double user = s.empty ? 0 : s.values[CPUStatCollectorItem::User];
        const double busy =
            s.empty ? 0
                    : s.values[CPUStatCollectorItem::User] + s.values[CPUStatCollectorItem::System];
        if (breakdowns)
            graph.samples.push_back({busy / 100, user / 100});
        else
            graph.samples.push_back({busy / 100});
    }
    return graph;
}

int CVBCPUMenuExtraView::drawPercentage(const Load& load, int offset) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f%%", load.user + load.system);
    const TextAttributes& attributes = textAttributes("cpu-percentage");
    const double width = stableWidth("text-attributes-cpu-percentage-width", text, attributes);
    return drawLargeText(text, attributes,
                         Rect{static_cast<double>(offset), 0, width, Surface::kStripHeight});
}

int CVBCPUMenuExtraView::drawLoadAverage(int offset) {
    if (!load_)
        return 0;
    const statsample sample = load_->sampleAtIndex(0, 0);
    if (sample.sampleID == 0 || sample.empty)
        return 0;
    const std::string text =
        context().formatters->stringFromDouble2(sample.values[LoadStatCollector::OneMinute]);
    return drawLargeText(text, textAttributes("load-text"), offset);
}

} // namespace corvane
