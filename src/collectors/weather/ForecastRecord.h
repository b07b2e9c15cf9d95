#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The forecast record the status program keeps and the weather view, its dropdown and the
// command line read. All readings are metric: °C, m/s, hPa, km, mm, percent; times are Unix
// seconds.
//
//   "source", "attribution", "fetched" (time), "stale" (bool: the last fetch failed, so the
//   numbers are older than they should be), "timezone" (IANA name),
//   "metadata": {"location": {"name", "timezone", "latitude", "longitude", "identifier"}},
//   "currently": {"time", "temperature", "apparent", "dew", "humidity", "pressure",
//                 "wind-speed", "wind-direction", "uv-index", "visibility", "icon", "dn",
//                 "conditions", "is-night"},
//   "hourly": [{"time", "temperature", "icon", "dn", "conditions", "probability", "is-night"}],
//   "forecast": [{"start", "end", "temperature-high", "temperature-low", "sunrise", "sunset",
//                 "uv-index", "icon", "dn", "conditions", "summary",
//                 "precipitation": {"type" ("rain", "snow" or "mixed"), "probability",
//                                   "rain-forecast", "snow-forecast"}}],
//   "sun-data": {"current": {"sun": {"rise", "set"}}}
//
// A key is left out when the source gave no reading for it.
namespace forecast {
inline constexpr const char* kAttribution = "Weather data by Open-Meteo.com";
inline constexpr const char* kSource = "open-meteo";
// Answers longer than this are refused unread: a week's forecast is some 30 KB.
inline constexpr std::size_t kLongestAnswer = 1 << 20;
// Hours of the hourly list kept from the current one on.
inline constexpr int kHoursKept = 48;
} // namespace forecast

// One WMO weather code as the icon set and the wording name it. "dn": the icon has day and
// night forms ("<icon>-day", "<icon>-night").
struct WeatherCondition {
    int code;
    const char* icon;
    bool dayNight;
    const char* conditions;
};
// nullptr for a code that is not a WMO weather code.
const WeatherCondition* weatherConditionForCode(std::int64_t code);

// Where a forecast is for.
struct ForecastPlace {
    std::string identifier; // a city's, or "-7" for the current location
    std::string name;
    double latitude = 0;
    double longitude = 0;

    bool operator==(const ForecastPlace&) const = default;
};

// The query of the source's forecast endpoint for the place, appended to its base address.
std::string forecastQuery(const ForecastPlace& place);

// The record of one answer of the source, or nullopt with a log line when the answer is not a
// whole, sane forecast: malformed or truncated JSON, missing or mismatched series, readings out
// of any real range. `now` picks the current hour of the hourly list.
std::optional<Value> forecastRecordFromAnswer(std::string_view answer, const ForecastPlace& place,
                                              double now);

} // namespace corvane
