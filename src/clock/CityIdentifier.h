#pragma once

#include <string>
#include <string_view>

namespace corvane {

// The identifier of a city in the cities database: a hash of its name, state, country code and
// position rounded to 0.01 degrees (about a kilometre), written in decimal. Stored settings
// (world clocks, weather places) point at it, so it must not change when the database is made
// again from newer data in which only populations or row order changed.
std::string cityIdentifier(std::string_view name, std::string_view state,
                           std::string_view countryCode, double latitude, double longitude);

} // namespace corvane
