#pragma once

#include "foundation/Value.h"

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

} // namespace corvane
