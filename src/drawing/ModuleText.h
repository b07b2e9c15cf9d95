#pragma once

#include "drawing/TextAttributes.h"
#include "foundation/Value.h"

#include <optional>
#include <string>

namespace corvane {

struct DrawingContext;

// Text attributes of a view's named styles, built from the preference keys a style names.
// A style is a dictionary with "font" (key of the size), "color" and "shadow" (keys of
// colours, "-Dark" added on a dark panel), "font-style" (key: 1 condensed, 2 bold) and
// "alignment" (0 left, 1 centre, 2 right).
class ModuleText {
public:
    // A style dictionary from its keys; a null `font` leaves the size to the view.
    static Value style(const char* font, const char* color, const char* shadow,
                       const char* fontStyle, std::optional<int> alignment = std::nullopt);
    // `selected`: the item is highlighted because its menu is open.
    static TextAttributes textAttributes(const DrawingContext& context, const Value& style,
                                         bool selected);
    // The small face of stacked lines: size 9.
    static TextAttributes smallTextAttributes(const DrawingContext& context, const Value& style,
                                              bool selected);
    // As textAttributes, centred, in the stored colour whatever the look.
    static TextAttributes percentageAttributes(const DrawingContext& context, const Value& style,
                                               bool selected);
};

} // namespace corvane
