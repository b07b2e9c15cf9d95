#pragma once

#include "collectors/weather/WeatherUnits.h"

#include <string>
#include <string_view>

namespace corvane {

// A provider's forecast sentence in the chosen units: speeds, amounts and temperatures are
// written anew, and the clauses the dropdown shows on their own (chance of rain, the day's low
// and high) are taken out.
std::string weatherReplaceUnitsInString(const WeatherUtilities& units, std::string_view text);

} // namespace corvane
