#include "drawing/CVBDisksMenuExtraView.h"

#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/DiskInfoStatCollector.h"
#include "collectors/disks/DisksStatCollector.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "text/CVBTranslations.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kVertical = 0,
    kPercentage = 1,
    kUsedAndFree = 2,
    kPie = 5,
    kDots = 6,
    kArrows = 7,
    kActivityHistory = 8,
    kRates = 9,
    kCircular = 10,
    kLabel = 100,
    kSpacer = 101,
};

// Activity counts as such from a kilobyte a second.
constexpr double kActiveRate = 1024;

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

} // namespace

CVBDisksMenuExtraView::CVBDisksMenuExtraView(const DrawingContext& context,
                                             DisksStatCollector& disks,
                                             DiskActivityStatCollector& activity,
                                             DiskInfoStatCollector& info)
    : CVBModuleView(context)
    , disks_(disks)
    , activity_(activity)
    , info_(info) {
    loadConfig();
}

Value CVBDisksMenuExtraView::classConfig() {
    const auto style = [](const char* color, const char* shadow, const char* font, int weight) {
        return ModuleText::style(nullptr, color, shadow, font, weight);
    };
    return Value::dict({
        {"disks-percentage",
         ModuleText::style("Disks_MenubarPercentageSize", "Disks_MenubarPercentageColor",
                           "Disks_MenubarPercentageShadowColor", "Disks_MenubarFontStyle",
                           std::nullopt)},
        {"disks-used-label", style("Disks_MenubarUFUsedColor", "Disks_MenubarUFUsedShadowColor",
                                   "Disks_MenubarUFFontStyle", 0)},
        {"disks-used", style("Disks_MenubarUFUsedColor", "Disks_MenubarUFUsedShadowColor",
                             "Disks_MenubarUFFontStyle", 2)},
        {"disks-free-label", style("Disks_MenubarUFFreeColor", "Disks_MenubarUFFreeShadowColor",
                                   "Disks_MenubarUFFontStyle", 0)},
        {"disks-free", style("Disks_MenubarUFFreeColor", "Disks_MenubarUFFreeShadowColor",
                             "Disks_MenubarUFFontStyle", 2)},
        {"read-label", style("Disks_MenubarRWReadColor", "Disks_MenubarRWReadShadwColor",
                             "Disks_MenubarRWFontStyle", 0)},
        {"read-text", style("Disks_MenubarRWReadColor", "Disks_MenubarRWReadShadwColor",
                            "Disks_MenubarRWFontStyle", 2)},
        {"write-label", style("Disks_MenubarRWWriteColor", "Disks_MenubarRWWriteShadowColor",
                              "Disks_MenubarRWFontStyle", 0)},
        {"write-text", style("Disks_MenubarRWWriteColor", "Disks_MenubarRWWriteShadowColor",
                             "Disks_MenubarRWFontStyle", 2)},
    });
}

void CVBDisksMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

bool CVBDisksMenuExtraView::isPerVolume(std::int64_t code) {
    return code == kVertical || code == kPercentage || code == kUsedAndFree || code == kPie ||
           code == kCircular;
}

CVBDisksMenuExtraView::Space CVBDisksMenuExtraView::spaceOf(const DiskStatCollectorItem& volume,
                                                            bool hidePurgable) {
    const statsample s = volume.sampleAtIndex(0, 0);
    if (s.sampleID == 0 || s.empty || !s.values)
        return {};
    const double* v = s.values;
    using Slot = DiskStatCollectorItem::Slot;
    if (hidePurgable)
        return {v[Slot::Used] - v[Slot::Purgeable], v[Slot::Free] + v[Slot::Purgeable],
                v[Slot::PercentageWithoutPurgeable], true};
    return {v[Slot::Used], v[Slot::Free], v[Slot::Percentage], true};
}

std::vector<std::shared_ptr<DiskStatCollectorItem>> CVBDisksMenuExtraView::shownVolumes() const {
    std::vector<std::shared_ptr<DiskStatCollectorItem>> shown;
    const Value& entries = context().object("Disks_MenubarItems");
    for (const Value& entry : entries.arrayItems()) {
        if (!entry.isDictionary())
            continue;
        std::shared_ptr<DiskStatCollectorItem> volume;
        if (entry["boot"].boolValue()) {
            volume = disks_.bootDisk();
        } else {
            for (const auto& candidate : disks_.volumes()) {
                if (candidate->key() == entry["key"].stringValue())
                    volume = candidate;
            }
        }
        if (volume)
            shown.push_back(volume);
    }
    if (shown.empty() && entries.empty() && disks_.bootDisk())
        shown.push_back(disks_.bootDisk());
    return shown;
}

std::pair<double, double> CVBDisksMenuExtraView::activity() const {
    double read = 0, write = 0;
    for (const auto& disk : activity_.disks()) {
        const statsample s = disk->sampleAtIndex(0, 0);
        if (s.sampleID == 0 || !s.values)
            continue;
        read += finiteOr0(s.values[DiskActivityStatCollectorItem::Read]);
        write += finiteOr0(s.values[DiskActivityStatCollectorItem::Write]);
    }
    return {read, write};
}

int CVBDisksMenuExtraView::drawAtOffset(int offset) {
    const Value modes = context().modes("Disks_MenubarMode");
    const auto volumes = shownVolumes();
    // Grouped: each per-volume element for every volume in turn; else the volumes one after
    // the other, each with all its elements. Activity and the label stand once either way.
    std::vector<std::pair<Value, const DiskStatCollectorItem*>> plan;
    if (context().boolean("Disks_MenubarGroupItems")) {
        for (const Value& mode : modes.arrayItems()) {
            if (!isPerVolume(mode["key"].integerValue())) {
                plan.emplace_back(mode, nullptr);
                continue;
            }
            for (const auto& volume : volumes)
                plan.emplace_back(mode, volume.get());
        }
    } else {
        const std::size_t rounds = std::max<std::size_t>(volumes.size(), 1);
        for (std::size_t i = 0; i < rounds; ++i) {
            for (const Value& mode : modes.arrayItems()) {
                const bool perVolume = isPerVolume(mode["key"].integerValue());
                if (perVolume && i < volumes.size())
                    plan.emplace_back(mode, volumes[i].get());
                else if (!perVolume)
                    plan.emplace_back(mode, nullptr);
            }
        }
    }
    std::set<std::int64_t> drawnOnce;
    int total = 0;
    for (const auto& [mode, volume] : plan) {
        const std::int64_t code = mode["key"].integerValue();
        if (code != kSpacer && !isPerVolume(code) && !drawnOnce.insert(code).second)
            continue;
        total += drawEntry(mode, volume, offset + total);
    }
    return itemWidth(total);
}

std::vector<GraphComponent> CVBDisksMenuExtraView::usedComponent(const Space& space) const {
    return {{fillColorForGraph2(context(), "Disks_MenubarGraphOverallColor", -1),
             finiteOr0(space.percent / 100)}};
}

int CVBDisksMenuExtraView::drawEntry(const Value& mode, const DiskStatCollectorItem* volume,
                                     int offset) {
    const std::int64_t code = mode["key"].integerValue();
    Space space;
    if (isPerVolume(code)) {
        if (!volume)
            return 0;
        space = spaceOf(*volume, context().boolean("Disks_HidePurgable"));
        if (!space.measured)
            return 0;
    }
    switch (code) {
    case kVertical:
        return drawVerticalGraphWithComponents(usedComponent(space), offset);
    case kPercentage:
        return drawPercentage(space, offset);
    case kUsedAndFree:
        return drawUsedAndFree(space, offset);
    case kPie:
        return drawPieGraphWithComponents(usedComponent(space), offset);
    case kCircular:
        return drawCircularGraphWithComponents(usedComponent(space), offset);
    case kDots:
        return drawActivitySigns(false, offset);
    case kArrows:
        return drawActivitySigns(true, offset);
    case kActivityHistory:
        return drawHistoryGraph(
            activityHistory(0,
                            static_cast<int>(context().integer("Disks_MenubarGraphActivityWidth")),
                            1, "Disks_MenubarGraphActivityRead", "Disks_MenubarGraphActivityWrite"),
            offset);
    case kRates:
        return drawRates(offset);
    case kLabel:
        return drawLabel(info_.hasSSD() ? "menubar-label-ssd" : "menubar-label-hhd", "Disks_Label",
                         offset);
    case kSpacer:
        return static_cast<int>(mode["width"].integerValue());
    default:
        return 0;
    }
}

int CVBDisksMenuExtraView::drawPercentage(const Space& space, int offset) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f%%", finiteOr0(space.percent));
    return drawLargeText(text, textAttributes("disks-percentage"), offset);
}

int CVBDisksMenuExtraView::drawUsedAndFree(const Space& space, int offset) {
    const TextContext text = context().text();
    int x = offset;
    if (context().boolean("Disks_MenubarUFShowLabel")) {
        drawSmallText(HLVLocalizedString(text, "U:", {}, "common"),
                      smallTextAttributes("disks-used-label"), Point{static_cast<double>(x), 10});
        x += drawSmallText(HLVLocalizedString(text, "F:", {}, "common"),
                           smallTextAttributes("disks-free-label"),
                           Point{static_cast<double>(x), 1}) +
             4;
    }
    const std::string used = formattedSpace(text, space.used);
    const std::string free = formattedSpace(text, space.free);
    const TextAttributes& usedStyle = smallTextAttributes("disks-used");
    const TextAttributes& freeStyle = smallTextAttributes("disks-free");
    // Measured afresh each time: sizes change seldom, and by whole units.
    const double width = std::max(sizeSmallText(used, usedStyle), sizeSmallText(free, freeStyle));
    drawSmallText(used, usedStyle, Rect{static_cast<double>(x), 10, width, 12});
    return x - offset + drawSmallText(free, freeStyle, Rect{static_cast<double>(x), 1, width, 12});
}

int CVBDisksMenuExtraView::drawRates(int offset) {
    const auto [read, write] = activity();
    const TextContext text = context().text();
    int x = offset;
    if (context().boolean("Disks_MenubarRWShowLabel")) {
        drawSmallText(HLVLocalizedString(text, "R:", {}, "common"),
                      smallTextAttributes("read-label"), Point{static_cast<double>(x), 10});
        x += drawSmallText(HLVLocalizedString(text, "W:", {}, "common"),
                           smallTextAttributes("write-label"), Point{static_cast<double>(x), 1}) +
             4;
    }
    const std::string readText = formattedDiskActivity(text, read);
    const std::string writeText = formattedDiskActivity(text, write);
    const TextAttributes& readStyle = smallTextAttributes("read-text");
    const TextAttributes& writeStyle = smallTextAttributes("write-text");
    const std::string& longer =
        sizeSmallText(readText, readStyle) >= sizeSmallText(writeText, writeStyle) ? readText
                                                                                   : writeText;
    const double width = stableWidth("text-attributes-activity-width", longer, readStyle);
    drawSmallText(readText, readStyle, Rect{static_cast<double>(x), 10, width, 12});
    return x - offset +
           drawSmallText(writeText, writeStyle, Rect{static_cast<double>(x), 1, width, 12});
}

int CVBDisksMenuExtraView::drawActivitySigns(bool arrows, int offset) {
    const auto [read, write] = activity();
    const double x = offset;
    const Color readColor = fillColorForGraph2(
        context(), arrows ? "Disks_MenubarArrowRead" : "Disks_MenubarDotActivityRead", 0);
    const Color writeColor = fillColorForGraph2(
        context(), arrows ? "Disks_MenubarArrowWrite" : "Disks_MenubarDotActivityWrite", 1);
    if (arrows) {
        drawArrow(read >= kActiveRate, 1, readColor, {x, 12}, false);
        return drawArrow(write >= kActiveRate, 0, writeColor, {x, 2}, false);
    }
    drawDot(read >= kActiveRate, readColor, {x, 12}, false);
    return drawDot(write >= kActiveRate, writeColor, {x, 2}, false);
}

HistoryGraph CVBDisksMenuExtraView::dropdownHistory(int tier, int columns,
                                                    std::int64_t perColumn) const {
    const auto chosen = [this](const char* dropdownKey, const char* panelKey) {
        return context().object(dropdownKey).isNull() ? panelKey : dropdownKey;
    };
    return activityHistory(tier, columns, perColumn,
                           chosen("Disks_DropdownGraphRead", "Disks_MenubarGraphActivityRead"),
                           chosen("Disks_DropdownGraphWrite", "Disks_MenubarGraphActivityWrite"));
}

HistoryGraph CVBDisksMenuExtraView::activityHistory(int tier, int columns, std::int64_t perColumn,
                                                    const char* readKey,
                                                    const char* writeKey) const {
    HistoryGraph graph;
    graph.width = columns;
    graph.colors = {fillColorForGraph2(context(), writeKey, 1),
                    fillColorForGraph2(context(), readKey, 0)};
    graph.showBackground = context().boolean("Disks_MenubarGraphActivityShowBackground");
    switch (context().integer("Disks_ActivityGraphMode")) {
    case 0:
        graph.frames = {Rect{2, 3, 0, 8}, Rect{2, 11, 0, 8}};
        graph.flip = {false, true};
        break;
    case 1:
        graph.frames = {Rect{2, 3, 0, 8}, Rect{2, 11, 0, 8}};
        graph.flip = {true, false};
        break;
    case 2:
        graph.frames = {Rect{2, 3, 0, 8}, Rect{2, 11, 0, 8}};
        graph.flip = {false, false};
        break;
    default:
        break;
    }
    const int shown = std::clamp(columns, 1, kMaximumColumns);
    perColumn = std::max<std::int64_t>(1, perColumn);
    const auto disks = activity_.disks();
    double peak = 0;
    for (int column = 0; column < shown; ++column) {
        double write = 0, read = 0;
        std::int64_t counted = 0;
        for (std::int64_t i = column * perColumn; i < (column + 1) * perColumn; ++i) {
            bool any = false;
            for (const auto& disk : disks) {
                const statsample s = disk->sampleAtIndex(i, tier);
                if (s.sampleID == 0 || !s.values)
                    continue;
                any = true;
                write += finiteOr0(s.values[DiskActivityStatCollectorItem::Write]);
                read += finiteOr0(s.values[DiskActivityStatCollectorItem::Read]);
            }
            if (!any)
                break;
            ++counted;
        }
        if (counted == 0)
            break;
        write /= static_cast<double>(counted);
        read /= static_cast<double>(counted);
        peak = std::max({peak, write, read});
        graph.samples.push_back({write, read});
    }
    for (auto& column : graph.samples) {
        for (double& value : column)
            value = finiteOr0(value / peak);
    }
    return graph;
}

} // namespace corvane
