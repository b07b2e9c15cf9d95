#include "drawing/CVBMemoryMenuExtraView.h"

#include "collectors/memory/MemoryStatCollector.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "preferences/CVBPreferences.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kHistory = 0,
    kVertical = 1,
    kPercentage = 2,
    kUsedAndFree = 3,
    kPie = 6,
    kDots = 7,
    kArrows = 8,
    kCircular = 9,
    kLabel = 100,
    kSpacer = 101,
};

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

Value series(int index, std::initializer_list<int> keys, const char* colorKey,
             std::optional<int> defaultColor,
             std::initializer_list<std::pair<const char*, int>> conditions) {
    Value s = Value::dict({{"index", index}, {"peakIndex", 0}, {"colorKey", colorKey}});
    Value numbers = Value::array();
    for (int k : keys)
        numbers.append(k);
    s.set("keys", numbers);
    if (defaultColor)
        s.set("defaultColor", *defaultColor);
    const char* suffixes[] = {"", "2", "3"};
    std::size_t n = 0;
    for (const auto& [key, value] : conditions) {
        s.set(std::string("preferenceKey") + suffixes[n], key);
        s.set(std::string("preferenceValue") + suffixes[n], value);
        ++n;
    }
    return s;
}

CVBMemoryMenuExtraView::Amounts amountsOf(const statsample& s) {
    if (s.sampleID == 0 || s.empty || !s.values)
        return {};
    const double* v = s.values;
    using Slot = MemoryStatCollector::Slot;
    return {v[Slot::Total],
            v[Slot::Free],
            v[Slot::Wired],
            v[Slot::Active],
            v[Slot::Inactive],
            v[Slot::Compressed],
            v[Slot::WiredAndCompressed],
            v[Slot::PageInsSince],
            v[Slot::PageOutsSince]};
}

} // namespace

CVBMemoryMenuExtraView::CVBMemoryMenuExtraView(const DrawingContext& context,
                                               MemoryStatCollector& memory)
    : CVBModuleView(context)
    , memory_(memory) {
    loadConfig();
}

Value CVBMemoryMenuExtraView::classConfig() {
    const char* format = "Memory_DisplayFormat";
    const char* inactive = "Memory_IgnoreInactive";
    const char* breakdowns = "Memory_MenubarGraphBreakdowns";
    return Value::dict({
        {"memory-percentage",
         ModuleText::style("Memory_MenubarPercentageSize", "Memory_MenubarPercentageColor",
                           "Memory_MenubarPercentageShadowColor", "Memory_MenubarFontStyle",
                           std::nullopt)},
        {"memory-used-label",
         ModuleText::style(nullptr, "Memory_UFUsedColor", "Memory_UFUsedShadowColor",
                           "Memory_UFMenubarFontStyle", 0)},
        {"memory-used", ModuleText::style(nullptr, "Memory_UFUsedColor", "Memory_UFUsedShadowColor",
                                          "Memory_UFMenubarFontStyle", 2)},
        {"memory-free-label",
         ModuleText::style(nullptr, "Memory_UFFreeColor", "Memory_UFFreeShadowColor",
                           "Memory_UFMenubarFontStyle", 0)},
        {"memory-free", ModuleText::style(nullptr, "Memory_UFFreeColor", "Memory_UFFreeShadowColor",
                                          "Memory_UFMenubarFontStyle", 2)},
        {"history-graph-width", "Memory_MenubarGraphWidth"},
        {"history-graphs",
         Value::array({
             series(3, {12, 11, 10, 13}, "Memory_MenubarGraphInactive", 3,
                    {{format, 1}, {inactive, 0}, {breakdowns, 1}}),
             series(2, {11, 10, 13}, "Memory_MenubarGraphCompressed", 2,
                    {{format, 1}, {breakdowns, 1}}),
             series(1, {11, 10}, "Memory_MenubarGraphActive", 1, {{format, 1}, {breakdowns, 1}}),
             series(0, {10}, "Memory_MenubarGraphWired", 0, {{format, 1}, {breakdowns, 1}}),
             series(4, {10, 13}, "Memory_MenubarGraphOverall", std::nullopt, {{format, 0}}),
             series(5, {11, 10, 13}, "Memory_MenubarGraphOverall", std::nullopt,
                    {{format, 1}, {inactive, 1}, {breakdowns, 0}}),
             series(6, {11, 10, 13, 12}, "Memory_MenubarGraphOverall", std::nullopt,
                    {{format, 1}, {inactive, 0}, {breakdowns, 0}}),
         })},
    });
}

void CVBMemoryMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

// Pressure needs a source that measures it; the kernel without a compressor gives no
// comparable figure.
bool CVBMemoryMenuExtraView::pressureMode() const {
    return memory_.sourceCapabilities().hasCompressor &&
           context().integer("Memory_DisplayFormat") != 1;
}

std::vector<GraphComponent> CVBMemoryMenuExtraView::components(const Amounts& a) const {
    if (pressureMode())
        return {
            {fillColorForGraph2(context(), "Memory_MenubarGraphOverall", -1), a.pressure / 100}};
    const bool ignoreInactive = context().boolean("Memory_IgnoreInactive");
    const double t = a.total;
    if (!context().boolean("Memory_MenubarGraphBreakdowns")) {
        const double used = a.wired + a.active + a.compressed + (ignoreInactive ? 0 : a.inactive);
        return {
            {fillColorForGraph2(context(), "Memory_MenubarGraphOverall", -1), finiteOr0(used / t)}};
    }
    std::vector<GraphComponent> layers;
    if (!ignoreInactive)
        layers.push_back({fillColorForGraph2(context(), "Memory_MenubarGraphInactive", 3),
                          finiteOr0((a.wired + a.active + a.compressed + a.inactive) / t)});
    layers.push_back({fillColorForGraph2(context(), "Memory_MenubarGraphCompressed", 2),
                      finiteOr0((a.wired + a.active + a.compressed) / t)});
    layers.push_back({fillColorForGraph2(context(), "Memory_MenubarGraphActive", 1),
                      finiteOr0((a.wired + a.active) / t)});
    layers.push_back(
        {fillColorForGraph2(context(), "Memory_MenubarGraphWired", 0), finiteOr0(a.wired / t)});
    return layers;
}

int CVBMemoryMenuExtraView::drawAtOffset(int offset) {
    const statsample newest = memory_.sampleAtIndex(0, 0);
    const bool hasSample = newest.sampleID != 0;
    const Amounts amounts = amountsOf(newest);
    const Value modes = context().modes("Memory_MenubarMode");
    int total = 0;
    for (const Value& mode : modes.arrayItems()) {
        const std::int64_t code = mode["key"].integerValue();
        // Without a reading only the label and spacers have something to show.
        if (!hasSample && code != kLabel && code != kSpacer)
            continue;
        total += drawEntry(mode, amounts, offset + total);
    }
    return itemWidth(total);
}

int CVBMemoryMenuExtraView::drawEntry(const Value& mode, const Amounts& amounts, int offset) {
    switch (mode["key"].integerValue()) {
    case kHistory:
        return drawHistoryGraph(history(), offset);
    case kVertical:
        return drawVerticalGraphWithComponents(components(amounts), offset);
    case kPercentage:
        return drawPercentage(amounts, offset);
    case kUsedAndFree:
        return drawUsedAndFree(amounts, offset);
    case kPie:
        return drawPieGraphWithComponents(components(amounts), offset);
    case kDots:
        return drawPaging(amounts, false, offset);
    case kArrows:
        return drawPaging(amounts, true, offset);
    case kCircular:
        return drawCircularGraphWithComponents(components(amounts), offset);
    case kLabel:
        return drawLabel("menubar-label-memory", "Memory_Label", offset);
    case kSpacer:
        return static_cast<int>(mode["width"].integerValue());
    default:
        return 0;
    }
}

HistoryGraph CVBMemoryMenuExtraView::history() const {
    HistoryGraph graph;
    graph.width = static_cast<int>(context().integer("Memory_MenubarGraphWidth"));
    const std::vector<GraphComponent> layout = components({});
    for (const auto& layer : layout)
        graph.colors.push_back(layer.color);
    const int columns = std::clamp(graph.width, 1, kMaximumColumns);
    for (int i = 0; i < columns; ++i) {
        const statsample s = memory_.sampleAtIndex(i, 0);
        if (s.sampleID == 0)
            break;
        std::vector<double> values;
        for (const auto& layer : components(amountsOf(s)))
            values.push_back(layer.percentage);
        graph.samples.push_back(std::move(values));
    }
    return graph;
}

int CVBMemoryMenuExtraView::drawPercentage(const Amounts& a, int offset) {
    double percent = a.pressure;
    if (!pressureMode()) {
        const double used = a.wired + a.active + a.compressed +
                            (context().boolean("Memory_IgnoreInactive") ? 0 : a.inactive);
        percent = finiteOr0(used / a.total) * 100;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.0f%%", percent);
    return drawLargeText(text, textAttributes("memory-percentage"), offset);
}

int CVBMemoryMenuExtraView::drawUsedAndFree(const Amounts& a, int offset) {
    double used = a.wired + a.active + a.compressed + a.inactive;
    double free = a.free;
    if (context().boolean("Memory_IgnoreInactive")) {
        used -= a.inactive;
        free += a.inactive;
    }
    const TextContext text = context().text();
    int x = offset;
    if (context().boolean("Memory_UFShowLabel")) {
        drawSmallText(HLVLocalizedString(text, "U:", {}, "common"),
                      smallTextAttributes("memory-used-label"), Point{static_cast<double>(x), 10});
        x += drawSmallText(HLVLocalizedString(text, "F:", {}, "common"),
                           smallTextAttributes("memory-free-label"),
                           Point{static_cast<double>(x), 1}) +
             4;
    }
    const std::string usedText = formattedMemory(text, used);
    const std::string freeText = formattedMemory(text, free);
    const TextAttributes& usedStyle = smallTextAttributes("memory-used");
    const TextAttributes& freeStyle = smallTextAttributes("memory-free");
    // One width for both lines, kept so the item does not jitter.
    const std::string& longer =
        sizeSmallText(usedText, usedStyle) >= sizeSmallText(freeText, freeStyle) ? usedText
                                                                                 : freeText;
    const double width = stableWidth("text-attributes-usedfree-width", longer, usedStyle);
    drawSmallText(usedText, usedStyle, Rect{static_cast<double>(x), 10, width, 12});
    return x - offset +
           drawSmallText(freeText, freeStyle, Rect{static_cast<double>(x), 1, width, 12});
}

int CVBMemoryMenuExtraView::drawPaging(const Amounts& a, bool arrows, int offset) {
    const double x = offset;
    const bool flatten =
        context().boolean(arrows ? "Memory_MenubarArrowFlatten" : "Memory_MenubarDotFlatten");
    const Color in = fillColorForGraph2(
        context(), arrows ? "Memory_MenubarArrowPageIn" : "Memory_MenubarDotPageIn", 0);
    const Color out = fillColorForGraph2(
        context(), arrows ? "Memory_MenubarArrowPageOut" : "Memory_MenubarDotPageOut", 1);
    if (arrows) {
        drawArrow(a.pageinRate > 0, 1, in, {x, 12}, flatten);
        return drawArrow(a.pageoutRate > 0, 0, out, {x, 2}, flatten);
    }
    drawDot(a.pageinRate > 0, in, {x, 12}, flatten);
    return drawDot(a.pageoutRate > 0, out, {x, 2}, flatten);
}

} // namespace corvane
