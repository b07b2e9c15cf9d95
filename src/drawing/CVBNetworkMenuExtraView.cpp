#include "drawing/CVBNetworkMenuExtraView.h"

#include "drawing/Artwork.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "text/ValueFormatters.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kText = 0,
    kHistory = 1,
    kDots = 2,
    kStatus = 3,
    kAltLabel = 4,
    kArrows = 5,
    kVPN = 7,
    kLabel = 100,
    kSpacer = 101,
};

double finiteOr0(double v) {
    return std::isfinite(v) ? v : 0.0;
}

// The newest sample's rates of an item; nothing before its first sample.
std::optional<std::pair<double, double>> newestRates(const NetworkStatCollectorItem& item) {
    const statsample s = item.sampleAtIndex(0, 0);
    if (s.sampleID == 0 || !s.values)
        return std::nullopt;
    return std::pair(s.values[NetworkStatCollectorItem::Download],
                     s.values[NetworkStatCollectorItem::Upload]);
}

} // namespace

CVBNetworkMenuExtraView::CVBNetworkMenuExtraView(const DrawingContext& context,
                                                 NetworkStatCollector& network,
                                                 std::function<std::optional<bool>()> internet)
    : CVBModuleView(context)
    , network_(network)
    , internet_(std::move(internet)) {
    loadConfig();
}

Value CVBNetworkMenuExtraView::classConfig() {
    return Value::dict({
        {"text-up",
         ModuleText::style(nullptr, "Network_TextUploadColor", "Network_TextUploadShadowColor",
                           "Network_MenubarFontStyle", 2)},
        {"text-down",
         ModuleText::style(nullptr, "Network_TextDownloadColor", "Network_TextDownloadShadowColor",
                           "Network_MenubarFontStyle", 2)},
    });
}

void CVBNetworkMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

NetworkStatCollector::NetworkItem CVBNetworkMenuExtraView::primaryInterface() const {
    const Value& chosen = context().object("Network_PrimaryInterface");
    if (!chosen.isString() || chosen.string().empty() || chosen.string() == "PRIMARY" ||
        chosen.string() == "ALL")
        return nullptr;
    for (const auto& item : network_.services())
        if (item->key() == chosen.string() && !item->temporary())
            return item;
    return nullptr;
}

std::vector<NetworkStatCollector::NetworkItem> CVBNetworkMenuExtraView::activeCollectors() const {
    std::map<std::string, NetworkStatCollector::NetworkItem> gathered;
    for (const auto& item : network_.services()) {
        const auto rates = newestRates(*item);
        if (item->isConnected() && !item->bsd.empty() && item->hardware != "VPN" && rates &&
            (rates->first > 0 || rates->second > 0))
            gathered.emplace(item->bsd, item);
    }
    const auto primary = primaryInterface();
    std::vector<NetworkStatCollector::NetworkItem> active;
    for (const auto& item : network_.services()) {
        if ((primary && item != primary) || !gathered.contains(item->bsd) ||
            gathered.at(item->bsd) != item)
            continue;
        // A child interface does not count twice beside its parent.
        if (!item->parentBSD.empty() && gathered.contains(item->parentBSD))
            continue;
        active.push_back(item);
    }
    return active;
}

std::pair<double, double> CVBNetworkMenuExtraView::rates() const {
    double download = 0, upload = 0;
    for (const auto& item : activeCollectors()) {
        const auto r = newestRates(*item);
        if (r && r->first > 0)
            download += r->first;
        if (r && r->second > 0)
            upload += r->second;
    }
    return {download, upload};
}

int CVBNetworkMenuExtraView::drawAtOffset(int offset) {
    int total = 0;
    for (const Value& mode : context().modes("Network_MenubarMode").arrayItems())
        total += drawEntry(mode, offset + total);
    return itemWidth(total);
}

int CVBNetworkMenuExtraView::drawEntry(const Value& mode, int offset) {
    switch (mode["key"].integerValue()) {
    case kText:
        return drawText(offset);
    case kHistory:
        return drawHistoryGraph(history(), offset);
    case kDots:
        return drawSigns(false, offset);
    case kStatus:
        return drawStatus(offset);
    case kAltLabel:
        return drawLabel("menubar-label-network-alt", "Network_Label", offset);
    case kArrows:
        return drawSigns(true, offset);
    case kVPN:
        return drawVPN(offset);
    case kLabel:
        return drawLabel("menubar-label-network", "Network_Label", offset);
    case kSpacer:
        return static_cast<int>(mode["width"].integerValue());
    default:
        return 0;
    }
}

int CVBNetworkMenuExtraView::drawText(int offset) {
    const auto [download, upload] = rates();
    const TextContext text = context().text();
    const std::string up = formattedBandwidthFormatter(text, switchUnits, upload);
    const std::string down = formattedBandwidthFormatter(text, switchUnits, download);
    const TextAttributes& upStyle = smallTextAttributes("text-up");
    const TextAttributes& downStyle = smallTextAttributes("text-down");
    // The width of the longer text, kept, so that rates changing each second keep the item still.
    const std::string& longer =
        sizeSmallText(up, upStyle) >= sizeSmallText(down, downStyle) ? up : down;
    const double width = stableWidth("text-attributes-bandwidth-width", longer, upStyle);
    const double x = offset;
    drawSmallText(up, upStyle, Rect{x, 10, width, 12});
    return drawSmallText(down, downStyle, Rect{x, 1, width, 12});
}

int CVBNetworkMenuExtraView::drawSigns(bool arrows, int offset) {
    const auto [download, upload] = rates();
    const bool flatten = context().boolean("Network_DotFlatten");
    const Color upColor = fillColorForGraph2(context(), "Network_DotUpload", 1);
    const Color downColor = fillColorForGraph2(context(), "Network_DotDownload", 0);
    const double x = offset;
    if (arrows) {
        drawArrow(upload >= kActiveRate, 1, upColor, {x, 12}, flatten);
        return drawArrow(download >= kActiveRate, 0, downColor, {x, 2}, flatten);
    }
    drawDot(upload >= kActiveRate, upColor, {x, 12}, flatten);
    return drawDot(download >= kActiveRate, downColor, {x, 2}, flatten);
}

int CVBNetworkMenuExtraView::drawStatus(int offset) {
    const std::int64_t status = network_.networkStatusValue();
    const char* key = status == 2   ? "Network_StatusConnected"
                      : status == 1 ? "Network_StatusNoAddress"
                                    : "Network_StatusNotConnected";
    if (context().boolean("Network_StatusCheckInternet") && internet_ &&
        internet_().value_or(true) == false)
        key = "Network_StatusNoInternet";
    const double x = offset;
    surface().fillOval(Rect{x, 6, 10, 10}, fillColorForGraph2(context(), key, -1));
    if (!context().boolean("Network_StatusCheckFlatten"))
        if (auto gloss = context().artwork->artwork().imageNamed("menubar-network-status-on",
                                                                 surface().scaleFactor()))
            surface().drawImage(*gloss, {x, 2});
    return 14;
}

int CVBNetworkMenuExtraView::drawVPN(int offset) {
    const auto services = network_.services();
    const bool up = std::any_of(services.begin(), services.end(), [](const auto& item) {
        return item->hardware == "VPN" && item->isConnected();
    });
    const std::string name =
        std::string(up ? "menubar-vpn" : "menubar-vpn-off") + (context().dark ? "-white" : "");
    if (auto picture = context().artwork->artwork().imageNamed(name, surface().scaleFactor()))
        surface().drawImage(*picture, {static_cast<double>(offset), 2});
    return 20;
}

HistoryGraph CVBNetworkMenuExtraView::history() const {
    const int width = static_cast<int>(context().integer("Network_GraphWidth"));
    HistoryGraph graph = rateHistory(0, std::clamp(width, 1, kMaximumColumns), 1,
                                     "Network_GraphUpload", "Network_GraphDownload");
    graph.width = width;
    return graph;
}

HistoryGraph CVBNetworkMenuExtraView::dropdownHistory(int tier, int columns,
                                                      std::int64_t perColumn) const {
    const auto chosen = [this](const char* dropdownKey, const char* panelKey) {
        return context().object(dropdownKey).isNull() ? panelKey : dropdownKey;
    };
    return rateHistory(tier, columns, perColumn,
                       chosen("Network_DropdownGraphUpload", "Network_GraphUpload"),
                       chosen("Network_DropdownGraphDownload", "Network_GraphDownload"));
}

HistoryGraph CVBNetworkMenuExtraView::rateHistory(int tier, int columns, std::int64_t perColumn,
                                                  const char* uploadKey,
                                                  const char* downloadKey) const {
    HistoryGraph graph;
    graph.width = columns;
    graph.colors = {fillColorForGraph2(context(), uploadKey, 1),
                    fillColorForGraph2(context(), downloadKey, 0)};
    graph.showBackground = context().boolean("Network_GraphShowBackground");
    const std::vector<Rect> bands{Rect{2, 11, 0, 8}, Rect{2, 3, 0, 8}};
    switch (context().integer("Network_GraphMode")) {
    case 0:
        graph.frames = bands;
        graph.flip = {true, false};
        break;
    case 1:
        graph.frames = bands;
        graph.flip = {false, true};
        break;
    case 2:
        graph.frames = bands;
        graph.flip = {false, false};
        break;
    default:
        graph.strokeOnly = true;
        break;
    }
    const auto services = network_.services();
    perColumn = std::max<std::int64_t>(1, perColumn);
    double peak = 0;
    for (int column = 0; column < columns; ++column) {
        double upload = 0, download = 0;
        std::int64_t counted = 0;
        for (std::int64_t i = column * perColumn; i < (column + 1) * perColumn; ++i) {
            bool any = false;
            for (const auto& item : services) {
                const statsample s = item->sampleAtIndex(i, tier);
                if (s.sampleID == 0 || !s.values)
                    continue;
                any = true;
                upload += finiteOr0(s.values[NetworkStatCollectorItem::Upload]);
                download += finiteOr0(s.values[NetworkStatCollectorItem::Download]);
            }
            if (!any)
                break;
            ++counted;
        }
        if (counted == 0)
            break;
        upload /= static_cast<double>(counted);
        download /= static_cast<double>(counted);
        peak = std::max({peak, upload, download});
        graph.samples.push_back({upload, download});
    }
    for (auto& column : graph.samples)
        for (double& value : column)
            value = finiteOr0(value / peak);
    return graph;
}

} // namespace corvane
