#include "drawing/GraphColors.h"

#include "drawing/DrawingContext.h"

#include <optional>

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

std::optional<Color> storedColor(const DrawingContext& context, std::string_view key) {
    if (key.empty() || context.object(key).isNull())
        return std::nullopt;
    return context.color(key);
}

} // namespace

std::int64_t skinColor(const DrawingContext& context) {
    if (context.dark)
        return context.integer("MenubarSkinColor-Dark");
    return context.integer(context.boolean("Theme-SeperateStyles") ? "MenubarSkinColor-Light"
                                                                   : "MenubarSkinColor");
}

std::int64_t menubarTheme(const DrawingContext& context) {
    return context.dark ? 0 : context.integer("MenubarTheme");
}

Color defaultColorForTheme(const DrawingContext& context) {
    switch (skinColor(context)) {
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

Color fillColorForGraph2(const DrawingContext& context, std::string_view key,
                         std::int64_t defaultIndex) {
    if (auto stored = storedColor(context, key))
        return *stored;
    return defaultIndex == -1 ? defaultColorForTheme(context) : colorForIndex(defaultIndex);
}

Color fillColorForGraph(const DrawingContext& context, const Value& series) {
    if (auto stored = storedColor(context, series["colorKey"].string()))
        return *stored;
    const Value& index = series["defaultColor"];
    return index.isNull() ? defaultColorForTheme(context) : colorForIndex(index.integerValue());
}

Color strokeColorForGraph(const DrawingContext& context, const Value& series) {
    if (auto stored = storedColor(context, series["colorKey"].string()))
        return *stored;
    return colorForIndex(series["defaultStroke"].integerValue());
}

} // namespace corvane
