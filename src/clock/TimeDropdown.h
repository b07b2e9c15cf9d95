#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane {

class CVBDateAndTimeUtilities;

// The menu-bar clock as text, its locations side by side and each one's lines joined, for
// panels that show an item's text instead of its picture.
std::string menubarClockText(CVBDateAndTimeUtilities& utilities, const Value& format, double time);

// One row per world clock of "Time_Cities" (the moon has no clock and is left out): the name
// from "Time_CityNames" or the city's own, its time in the dropdown's format, weekday and date,
// and its day against the local one.
std::vector<std::string> worldClockRows(CVBDateAndTimeUtilities& utilities, const Value& cities,
                                        const Value& names, double time);

// Where the dropdown's sun and moon are for: the last known location (in the local zone), else
// the first world clock with a position and a zone.
struct SkyPlace {
    double latitude = 0;
    double longitude = 0;
    std::string zone; // empty: the local one
    std::string name;
};
std::optional<SkyPlace> skyPlace(const Value& lastLocation, const Value& cities);

// Sunrise and sunset, then the moon's phase with its rise and set, on the place's day.
std::vector<std::string> skyRows(CVBDateAndTimeUtilities& utilities, const SkyPlace& place,
                                 double time);

} // namespace corvane
