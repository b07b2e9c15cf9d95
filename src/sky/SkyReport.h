#pragma once

#include "foundation/Date.h"

#include <optional>
#include <string>
#include <string_view>

// Text of the "sky" command: the sun's and moon's places for an observer (altitudes as seen from
// the place, without refraction), the moon's phase, its rise and set that day and the next
// principal phases. Times are shown in the system zone.

namespace corvane {

// Latitude north positive, longitude east positive, degrees. Uses the almanac and limb-angle
// state, so one thread at a time.
std::string skyReport(double latitude, double longitude, Date when);

// "YYYY-MM-DD", optionally followed by "T" or a blank and "HH:MM" or "HH:MM:SS", optionally
// followed by "Z" or an offset "+HH:MM" / "-HH:MM". Without a zone the fields are local time; a
// date alone means local midnight. Anything else gives nullopt.
std::optional<Date> parseSkyDate(std::string_view text);

} // namespace corvane
