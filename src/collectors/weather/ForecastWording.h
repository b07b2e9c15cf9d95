#pragma once

#include "collectors/weather/WeatherUnits.h"
#include "foundation/Value.h"

#include <string>
#include <utility>
#include <vector>

namespace corvane {

// A forecast record in the words the dropdown and the command line show, in the chosen units
// and the place's own time zone.
struct ForecastWording {
    using Line = std::pair<std::string, std::string>; // label, value

    bool empty = true;         // no record: nothing but `note`
    std::string place;         // "Berlin", or "Current Location"
    std::string now;           // "5° Overcast"
    std::vector<Line> details; // feels like, today's high and low, wind, humidity, UV, sun
    std::vector<Line> hours;   // "11:00", "5° Overcast 10%"
    std::vector<Line> days;    // "Wednesday", "7° / 2° Light Rain"
    std::string attribution;
    std::string note; // why the numbers may be old, or that there are none yet
};

inline constexpr int kWordedHours = 6;

ForecastWording wordForecast(const Value& record, const WeatherUtilities& units, double now);

} // namespace corvane
