#include "drawing/DrawingContext.h"

#include "drawing/Artwork.h"
#include "preferences/CVBPreferences.h"
#include "text/TextContext.h"

namespace corvane {

DrawingContext DrawingContext::forHost(CVBPreferences& preferences, CVBCache& artwork, double scale,
                                       bool modern) {
    DrawingContext context;
    context.preferences = &preferences;
    context.artwork = &artwork;
    context.formatters = &artwork.text().formatters;
    context.translations = &artwork.text().translations;
    context.modern = modern;
    context.scale = scale;
    return context.withDark(preferences.isMenubarDark());
}

DrawingContext DrawingContext::withDark(bool isDark) const {
    DrawingContext context = *this;
    context.dark = isDark;
    context.foreground = isDark ? Color::white() : Color::black();
    return context;
}

DrawingContext DrawingContext::withScale(double pixels) const {
    DrawingContext context = *this;
    context.scale = pixels;
    return context;
}

const Value& DrawingContext::object(std::string_view key) const {
    return preferences->objectForKey(key);
}

// Parsed here rather than through the preferences' colour cache, whose fallback follows the
// preferences' own look rather than this host's.
Color DrawingContext::color(std::string_view key) const {
    return colorFromString(object(key)).value_or(foreground);
}

Value DrawingContext::modes(std::string_view key) const {
    if (previewModes)
        return *previewModes;
    return preferences->menubarModesForKey(key);
}

TextContext DrawingContext::text() const {
    return {*preferences, *formatters, *translations};
}

} // namespace corvane
