#include "drawing/ModuleText.h"

#include "drawing/DrawingContext.h"

namespace corvane {

namespace {

constexpr int kSemibold = 600;

std::string themed(const DrawingContext& context, const std::string& key) {
    return context.dark ? key + "-Dark" : key;
}

std::int64_t fontStyle(const DrawingContext& context, const Value& style) {
    const Value* key = style.find("font-style");
    return key ? context.integer(key->string()) : 0;
}

void applyFace(TextAttributes& a, std::int64_t face, double size) {
    a.size = TextAttributes::panelSize(size);
    if (face == 1) {
        a.family = TextAttributes::kCondensedFont;
        a.condensed = true;
        a.tabularDigits = false;
    } else if (face == 2) {
        a.weight = kSemibold;
    }
}

TextAlignment alignmentOf(const Value& style) {
    switch (style["alignment"].integerValue()) {
    case 1:
        return TextAlignment::Centre;
    case 2:
        return TextAlignment::Right;
    default:
        return TextAlignment::Left;
    }
}

// The shadow of the older look, where a style names one and its colour is not clear.
void addShadow(const DrawingContext& context, TextAttributes& a, const Value& style,
               const std::string& key) {
    if (!style.contains("shadow"))
        return;
    const Color shadow = context.color(key);
    if (shadow.alpha != 0)
        a.shadow = shadow;
}

} // namespace

TextAttributes ModuleText::textAttributes(const DrawingContext& context, const Value& style,
                                          bool selected) {
    TextAttributes a;
    applyFace(a, fontStyle(context, style), context.number(style["font"].string()));
    const std::string colorKey = themed(context, style["color"].string());
    if (selected)
        a.color = Color::white();
    else if (context.modern && context.object(colorKey).isNull())
        a.color = context.foreground;
    else
        a.color = context.color(colorKey);
    if (style.contains("alignment"))
        a.alignment = alignmentOf(style);
    if (!context.modern && !selected && !context.dark)
        addShadow(context, a, style, style["shadow"].string());
    return a;
}

TextAttributes ModuleText::smallTextAttributes(const DrawingContext& context, const Value& style,
                                               bool selected) {
    TextAttributes a;
    const std::int64_t face = fontStyle(context, style);
    applyFace(a, face, 9);
    if (face == 1)
        a.letterSpacing = 0.5;
    a.color = selected ? Color::white() : context.color(themed(context, style["color"].string()));
    a.alignment = alignmentOf(style);
    if (!context.modern && !selected)
        addShadow(context, a, style, themed(context, style["shadow"].string()));
    return a;
}

TextAttributes ModuleText::percentageAttributes(const DrawingContext& context, const Value& style,
                                                bool selected) {
    TextAttributes a;
    applyFace(a, fontStyle(context, style), context.number(style["font"].string()));
    a.color = selected ? Color::white() : context.color(themed(context, style["color"].string()));
    a.alignment = TextAlignment::Centre;
    if (!selected && !context.dark)
        addShadow(context, a, style, style["shadow"].string());
    return a;
}

Value ModuleText::style(const char* font, const char* color, const char* shadow,
                        const char* fontStyle, std::optional<int> alignment) {
    Value s = Value::dict({{"color", color}, {"shadow", shadow}, {"font-style", fontStyle}});
    if (font)
        s.set("font", font);
    if (alignment)
        s.set("alignment", *alignment);
    return s;
}

} // namespace corvane
