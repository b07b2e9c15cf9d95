#pragma once

#include "collectors/weather/WeatherUnits.h"
#include "foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// Unix seconds of the midnight that starts the day holding `now` in the IANA zone `zone`
// (empty or unknown: UTC).
double startOfDay(double now, const std::string& zone);

// Picture names of a reading's "icon": "<icon>[-day|-night]-<size>", the day and night forms
// only where the reading has "dn". Nothing when the reading has no icon.
std::optional<std::string> weatherIcon(const Value& record, bool night, int size);
// The coloured form for a light panel ("-onlight").
std::optional<std::string> weatherIconLight(const Value& record, bool night, int size);
// The panel's form: coloured, or white on a dark panel and black on a light one.
std::optional<std::string> weatherIconMenubar(const Value& record, bool night, bool coloured,
                                              int size, bool darkPanel);

// The entry of a day for the part of the day: "<key>-night" at night, else "<key>-day", else
// the key itself.
const Value& weatherDayPart(const Value& day, std::string_view key, bool night);

// A day's precipitation in words: "type", "label", "label-long", "value", "amount" and
// "probability"; empty for a type other than rain, snow or mixed.
Value rainFromData(const WeatherUtilities& units, const Value& day, bool night);

// The record's days from today on, each with its night flag, a high where the source gave
// none, its words for the part of the day and its precipitation in words.
Value formattedDayData(const WeatherUtilities& units, const Value& record, double now);

} // namespace corvane
