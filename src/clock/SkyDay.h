#pragma once

#include <optional>

namespace corvane {

// The sun and the moon over one place on one local day, for the time dropdown.
struct SkyDay {
    // Unix seconds; nothing when the body does not cross the horizon that day.
    std::optional<double> sunrise;
    std::optional<double> sunset;
    std::optional<double> moonrise;
    std::optional<double> moonset;
    // Without sunrise and sunset: whether the sun stays up (polar day) or down (polar night).
    bool sunUpAllDay = false;
    int moonPhase = 0;           // 0 new moon ... 7 waning crescent, as the sky engines number them
    double moonIllumination = 0; // 0..1
};

// The local day holding `time` in a zone `zoneSeconds` east of UTC, at the place (degrees,
// north and east positive). The sun's horizon is the usual -50', for refraction and its disc.
SkyDay skyDay(double time, int zoneSeconds, double latitude, double longitude);

} // namespace corvane
