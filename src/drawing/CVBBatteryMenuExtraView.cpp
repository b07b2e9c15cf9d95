#include "drawing/CVBBatteryMenuExtraView.h"

#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/battery/WirelessDeviceKind.h"
#include "drawing/Artwork.h"
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
    kPercentage = 0,
    kTime = 1,
    kHorizontal = 2,
    kVertical = 3,
    kHorizontalColored = 4,
    kVerticalColored = 5,
    kStandardVertical = 6,
    kStacked = 7,
    kDevice = 8,
    kLabel = 100,
    kSpacer = 101,
};

// Where a spacer of a battery's list stands.
enum Place : std::int64_t { kLeading = 0, kBetween = 1, kTrailing = 2 };

// The place a spacer states, else the one its position gives.
std::int64_t placeOf(const Value& entry, std::size_t index, std::size_t count) {
    if (const Value* place = entry.find("mode"))
        return place->integerValue();
    if (index == 0)
        return kLeading;
    return index + 1 == count ? kTrailing : kBetween;
}

bool isSpacer(const Value& entry) {
    return entry["key"].integerValue() == kSpacer;
}

// The width of the list's first spacer at the place; 0 without one.
int spacerAt(const Value::Array& entries, std::int64_t place) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (isSpacer(entries[i]) && placeOf(entries[i], i, entries.size()) == place)
            return static_cast<int>(entries[i]["width"].integerValue());
    }
    return 0;
}

std::string percentText(double percentage) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f%%", percentage);
    return text;
}

// One earbud's level as the stacked lines show it; a side that reports nothing is a dash.
std::string earbudText(const TextContext& text, double percentage) {
    return percentage == 0 ? std::string("-") : formattedPercentage(text, 0, percentage);
}

// The level a pair of earbuds shows as one: the weaker side, or the only side that reports.
double pairLevel(double left, double right) {
    if (left > 0 && right > 0)
        return std::min(left, right);
    if (left > 0)
        return left;
    return right > 0 ? right : 0;
}

const char* deviceImage(std::int64_t subtype) {
    switch (subtype) {
    case Earbuds:
        return "menubar-bluetooth-airpods";
    case Headphones:
        return "menubar-bluetooth-headphones";
    case Keyboard:
        return "menubar-bluetooth-keyboard";
    case Trackpad:
        return "menubar-bluetooth-trackpad";
    case GameController:
        return "menubar-bluetooth-gamecontroller";
    default:
        return "menubar-bluetooth-mouse";
    }
}

bool isDevice(std::int64_t type) {
    return type == 2 || type == 3;
}

} // namespace

CVBBatteryMenuExtraView::Reading
CVBBatteryMenuExtraView::Reading::of(const BatteryStatCollectorItem& battery) {
    const auto finite = [](float v) { return std::isfinite(v) ? static_cast<double>(v) : 0.0; };
    return {battery.type,
            battery.subtype,
            battery.state,
            battery.time(),
            finite(battery.percentage),
            finite(battery.percentageLeft),
            finite(battery.percentageRight)};
}

CVBBatteryMenuExtraView::CVBBatteryMenuExtraView(const DrawingContext& context,
                                                 BatteryStatCollector& battery)
    : CVBModuleView(context)
    , battery_(battery) {
    loadConfig();
}

Value CVBBatteryMenuExtraView::classConfig() {
    return Value::dict({
        {"stacked-text",
         ModuleText::style(nullptr, "Battery_StackedColor", "Battery_StackedShadowColor",
                           "Battery_StackerMenubarFontStyle")},
        {"battery-percentage",
         ModuleText::style("Battery_PercentageSize", "Battery_PercentageColor",
                           "Battery_PercentageShadowColor", "Battery_MenubarFontStyle")},
        {"battery-time", ModuleText::style("Battery_TimeSize", "Battery_TimeColor",
                                           "Battery_TimeShadowColor", "Battery_MenubarFontStyle")},
        // The level as a graph host reads it: sample field 0 in the plain graph's colour.
        {"vertical-graph-standard",
         Value::array({Value::dict({{"index", 0},
                                    {"keys", Value::array({0})},
                                    {"peakIndex", 0},
                                    {"colorKey", "Battery_ColorGraphDraining-Standard"}})})},
        {"battery-time-combo", Value::dict({{"type", 3},
                                            {"format", 4},
                                            {"color", "Battery_TimeColor"},
                                            {"shadow", "Battery_TimeShadowColor"},
                                            {"offset", 10},
                                            {"alignment", 0},
                                            {"keys", Value::array()}})},
    });
}

void CVBBatteryMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

std::vector<std::shared_ptr<BatteryStatCollectorItem>>
CVBBatteryMenuExtraView::menubarBatteries() const {
    auto all = battery_.batteries();
    const Value& records = context().object("Battery_MenubarItems");
    if (!records.isArray() || records.arrayItems().empty())
        return all;
    std::vector<std::shared_ptr<BatteryStatCollectorItem>> picked;
    for (const Value& record : records.arrayItems()) {
        if (record["internal"].boolValue()) {
            if (auto internal = battery_.internalBattery())
                picked.push_back(std::move(internal));
            continue;
        }
        const std::string key = record["key"].stringValue();
        const auto it = std::find_if(all.begin(), all.end(),
                                     [&](const auto& battery) { return battery->key() == key; });
        if (it != all.end())
            picked.push_back(*it);
    }
    return picked;
}

Value CVBBatteryMenuExtraView::currentModesForBattery(const Reading& battery) const {
    const char* key = "Battery_MenubarMode";
    if (battery.type == 0 || battery.type == 1) {
        if (context().boolean("Battery_MenubarCustomizeStates")) {
            switch (battery.state) {
            case 0:
                key = "Battery_MenubarModeCharged";
                break;
            case 1:
                key = "Battery_MenubarModeCharging";
                break;
            case 3:
            case 5:
                key = "Battery_MenubarModeNotCharging";
                break;
            default:
                key = "Battery_MenubarModeDraining";
                break;
            }
        }
    } else {
        key = battery.earbuds() ? "Battery_MenubarModeAirpods" : "Battery_MenubarModeBluetooth";
    }
    return context().modes(key);
}

std::string CVBBatteryMenuExtraView::graphColorKey(const Reading& battery, bool standard) {
    const bool low = battery.percentage <= 10;
    std::string key;
    if (isDevice(battery.type)) {
        if (battery.subtype == 1 || battery.subtype == 2)
            key = low ? "Battery_ColorGraphAirpodsLow" : "Battery_ColorGraphAirpods";
        else
            key = low ? "Battery_ColorGraphBluetoothhLow" : "Battery_ColorGraphBluetooth";
    } else {
        switch (battery.state) {
        case 0:
            key = "Battery_ColorGraphCharged";
            break;
        case 1:
            key = "Battery_ColorGraphCharging";
            break;
        case 3:
        case 5:
            key = "Battery_ColorGraphNotCharging";
            break;
        default:
            key = low ? "Battery_ColorGraphLow" : "Battery_ColorGraphDraining";
            break;
        }
    }
    return standard ? key + "-Standard" : key;
}

std::string CVBBatteryMenuExtraView::formattedBatteryTime(const TextContext& text,
                                                          std::int64_t state, std::int64_t time) {
    if (state == 5)
        return HLVLocalizedString(text, "Paused", {}, "battery");
    if (state == 3)
        return HLVLocalizedString(text, "Not Charging", {}, "battery");
    if (time == -1)
        return HLVLocalizedString(text, "Calculating", {}, "battery");
    if (time == -3)
        return HLVLocalizedString(text, "Unknown Time", {}, "battery");
    if (state == 0)
        return HLVLocalizedString(text, "Charged", {}, "battery");
    char clock[48];
    std::snprintf(clock, sizeof clock, "%lli:%02lli", static_cast<long long>(time / 60),
                  static_cast<long long>(time % 60));
    return clock;
}

int CVBBatteryMenuExtraView::drawAtOffset(int offset) {
    labelDrawn_ = false;
    const auto batteries = menubarBatteries();
    int total = 0;
    for (const auto& battery : batteries)
        total += drawBattery(Reading::of(*battery), offset + total);
    if (batteries.empty()) {
        // No source at all: an empty battery says so.
        drawTinted("menubar-battery-vertical", offset);
        total += 15;
    }
    return std::max(itemWidth(total), 8);
}

int CVBBatteryMenuExtraView::drawBattery(const Reading& battery, int offset) {
    const Value modes = currentModesForBattery(battery);
    const Value::Array& entries = modes.arrayItems();
    int x = offset + spacerAt(entries, kLeading);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Value& entry = entries[i];
        if (isSpacer(entry)) {
            if (placeOf(entry, i, entries.size()) == kBetween)
                x += static_cast<int>(entry["width"].integerValue());
            continue;
        }
        x += battery.earbuds() ? drawEarbudsEntry(entry, battery, x)
                               : drawEntry(entry["key"].integerValue(), battery, x);
    }
    return x + spacerAt(entries, kTrailing) - offset;
}

// Earbuds show either side on its own where the entry asks for it, else the pair as one.
int CVBBatteryMenuExtraView::drawEarbudsEntry(const Value& mode, const Reading& battery,
                                              int offset) {
    const std::int64_t code = mode["key"].integerValue();
    if (code == kStacked)
        return drawEntry(code, battery, offset);
    Reading side = battery;
    if (mode["show"].integerValue() == 1 && code != kDevice) {
        side.percentage = battery.percentageLeft;
        const int left = drawEntry(code, side, offset);
        side.percentage = battery.percentageRight;
        return left + drawEntry(code, side, offset + left);
    }
    side.percentage = pairLevel(battery.percentageLeft, battery.percentageRight);
    return drawEntry(code, side, offset);
}

int CVBBatteryMenuExtraView::drawEntry(std::int64_t code, const Reading& battery, int offset) {
    const double level = battery.percentage;
    switch (code) {
    case kPercentage:
        return drawPercentage(battery, offset);
    case kTime:
        return drawTime(battery, offset);
    case kHorizontal:
        return drawBatteryHorizontalGraph(level, {}, battery.state, offset);
    case kVertical:
        return drawBatteryVerticalGraph(level, {}, battery.state, offset);
    case kHorizontalColored:
        return drawBatteryHorizontalGraph(level, graphColorKey(battery, false), battery.state,
                                          offset);
    case kVerticalColored:
        return drawBatteryVerticalGraph(level, graphColorKey(battery, false), battery.state,
                                        offset);
    case kStandardVertical:
        return drawBatteryStandardVerticalGraph(graphColorKey(battery, true), level / 100, offset);
    case kStacked:
        return drawStackedText(battery, offset);
    case kDevice:
        return drawDeviceImage(battery, offset);
    case kLabel:
        if (labelDrawn_)
            return 0;
        labelDrawn_ = true;
        return drawLabel("menubar-label-bat", "Battery_Label", offset);
    default:
        return 0;
    }
}

int CVBBatteryMenuExtraView::drawPercentage(const Reading& battery, int offset) {
    return drawLargeText(percentText(battery.percentage), textAttributes("battery-percentage"),
                         offset);
}

// Devices give no estimate, and a supply on mains without one has nothing to say.
int CVBBatteryMenuExtraView::drawTime(const Reading& battery, int offset) {
    if (battery.type == 2 || (battery.type == 1 && battery.time == -3))
        return 0;
    return drawLargeText(formattedBatteryTime(context().text(), battery.state, battery.time),
                         textAttributes("battery-time"), offset);
}

int CVBBatteryMenuExtraView::drawStackedText(const Reading& battery, int offset) {
    if (battery.type == 2 && battery.subtype != 1)
        return 0;
    std::string upper;
    std::string lower;
    if (battery.subtype == 1) {
        upper = earbudText(context().text(), battery.percentageLeft);
        lower = earbudText(context().text(), battery.percentageRight);
    } else {
        upper = formattedBatteryTime(context().text(), battery.state, battery.time);
        lower = percentText(battery.percentage);
    }
    const TextAttributes& attributes = smallTextAttributes("stacked-text");
    const double x = offset;
    const int top = drawSmallText(upper, attributes, Point{x, 10});
    return std::max(top, drawSmallText(lower, attributes, Point{x, 1}));
}

int CVBBatteryMenuExtraView::drawDeviceImage(const Reading& battery, int offset) {
    if (isDevice(battery.type))
        drawTinted(deviceImage(battery.subtype), offset);
    return 20;
}

void CVBBatteryMenuExtraView::drawTinted(const std::string& image, int offset) {
    if (const auto tinted = tintedArtwork(image))
        surface().drawImage(*tinted, {static_cast<double>(offset), 2});
}

} // namespace corvane
