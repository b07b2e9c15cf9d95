#pragma once

#include "foundation/Color.h"
#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvane {

class CVBPreferences;
class CVBCache;
class CVBFormatters;
class CVBTranslations;
struct TextContext;

// What a view draws with in one frame: the settings it reads, the host's look, the artwork
// cache and what its texts are made with. A host computes it once per frame, so one process
// can draw the same item for hosts of different looks or languages.
struct DrawingContext {
    CVBPreferences* preferences = nullptr;
    CVBCache* artwork = nullptr;
    CVBFormatters* formatters = nullptr;
    CVBTranslations* translations = nullptr;
    bool dark = false;
    // The flat look; false is the older shaded one.
    bool modern = true;
    double scale = 1.0;
    // The colour of text and outlines on the host's panel.
    Color foreground = Color::black();
    // A preview of chosen elements: when set, every mode key reads as this list.
    std::optional<Value> previewModes;

    // The look the preferences follow now, with the foreground that goes with it; texts are
    // made with the formatter and tables the artwork cache keeps.
    static DrawingContext forHost(CVBPreferences& preferences, CVBCache& artwork,
                                  double scale = 1.0, bool modern = true);
    // The same settings for a host of the other look, or at another scale.
    DrawingContext withDark(bool isDark) const;
    DrawingContext withScale(double pixels) const;

    const Value& object(std::string_view key) const;
    bool boolean(std::string_view key) const { return object(key).boolValue(); }
    std::int64_t integer(std::string_view key) const { return object(key).integerValue(); }
    double number(std::string_view key) const { return object(key).doubleValue(); }
    Color color(std::string_view key) const;
    Value modes(std::string_view key) const;
    TextContext text() const;
};

} // namespace corvane
