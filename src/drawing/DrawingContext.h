#pragma once

#include "foundation/Color.h"
#include "foundation/Value.h"

#include <cstdint>
#include <string_view>

namespace corvane {

class CVBPreferences;
class CVBCache;

// What a view draws with in one frame: the settings it reads, the host's look and the artwork
// cache. A host computes it once per frame, so one process can draw the same item for hosts
// of different looks.
struct DrawingContext {
    CVBPreferences* preferences = nullptr;
    CVBCache* artwork = nullptr;
    bool dark = false;
    // The flat look; false is the older shaded one.
    bool modern = true;
    double scale = 1.0;
    // The colour of text and outlines on the host's panel.
    Color foreground = Color::black();

    // The look the preferences follow now, with the foreground that goes with it.
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
};

} // namespace corvane
