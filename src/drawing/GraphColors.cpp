#include "drawing/GraphColors.h"

#include "drawing/CVBMenubarColorDetector.h"
#include "preferences/CVBPreferences.h"

namespace corvane {

namespace {

Color rgb(double r, double g, double b) {
    return {r, g, b, 1.0};
}

Color colorForIndex(std::int64_t index) {
    switch (index) {
    case 1:
        return rgb(0.988, 0.4, 0.396);
    case 2:
        return rgb(0.568, 0.321, 0.882);
    case 3:
        return rgb(0.525, 0.592, 0.725);
    default:
        return rgb(0.078, 0.501, 1.0);
    }
}

std::optional<Color> storedColor(std::string_view key) {
    if (key.empty() || CVBObjectForKey(key).isNull())
        return std::nullopt;
    return CVBColorForKey(key);
}

} // namespace

std::int64_t skinColor() {
    if (CVBMenubarColorDetector::sharedDetector().isMenubarDark())
        return CVBIntegerForKey("MenubarSkinColor-Dark");
    return CVBIntegerForKey(CVBBoolForKey("Theme-SeperateStyles") ? "MenubarSkinColor-Light"
                                                                  : "MenubarSkinColor");
}

std::int64_t menubarTheme() {
    return CVBMenubarColorDetector::sharedDetector().isMenubarDark()
               ? 0
               : CVBIntegerForKey("MenubarTheme");
}

Color defaultColorForTheme() {
    switch (skinColor()) {
    case 1:
        return rgb(0.992, 0.545, 0.27);
    case 2:
        return rgb(0.525, 0.592, 0.725);
    case 3:
        return rgb(0.27, 0.717, 0.584);
    case 4:
        return rgb(0.925, 0.294, 0.913);
    case 5:
        return rgb(0.568, 0.321, 0.882);
    case 6:
        return rgb(0.988, 0.4, 0.396);
    case 7:
        return Color::black();
    case 8:
        return Color::white();
    case 9:
        return rgb(0.964, 0.909, 0.396);
    case 10:
        return rgb(0.117, 0.643, 1.0);
    default:
        return rgb(0.078, 0.501, 1.0);
    }
}

Color fillColorForGraph2(std::string_view key, std::int64_t defaultIndex) {
    if (auto stored = storedColor(key))
        return *stored;
    return defaultIndex == -1 ? defaultColorForTheme() : colorForIndex(defaultIndex);
}

Color fillColorForGraph(const Value& series) {
    if (auto stored = storedColor(series["colorKey"].string()))
        return *stored;
    const Value& index = series["defaultColor"];
    return index.isNull() ? defaultColorForTheme() : colorForIndex(index.integerValue());
}

Color strokeColorForGraph(const Value& series) {
    if (auto stored = storedColor(series["colorKey"].string()))
        return *stored;
    return colorForIndex(series["defaultStroke"].integerValue());
}

} // namespace corvane
