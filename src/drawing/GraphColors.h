#pragma once

#include "foundation/Color.h"
#include "foundation/Value.h"

#include <cstdint>
#include <string_view>

namespace corvane {

struct DrawingContext;

// The colours graphs fall back on when the user has chosen none.
std::int64_t skinColor(const DrawingContext& context);
std::int64_t menubarTheme(const DrawingContext& context);
Color defaultColorForTheme(const DrawingContext& context);
// The stored colour of the key, else the colour of the default index (-1: the theme's).
Color fillColorForGraph2(const DrawingContext& context, std::string_view key,
                         std::int64_t defaultIndex);
// From a series dictionary: "colorKey", else "defaultColor" (absent: the theme's).
Color fillColorForGraph(const DrawingContext& context, const Value& series);
// From a series dictionary: "colorKey", else "defaultStroke".
Color strokeColorForGraph(const DrawingContext& context, const Value& series);

} // namespace corvane
