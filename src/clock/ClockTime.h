#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// A moment given on a command line: Unix seconds ("1700000000"), or a date and time
// "2024-03-31T01:30[:SS]" read in `localZone` (empty: the system's), optionally ending in "Z"
// or an offset "+05:45". Nothing for anything else.
std::optional<double> parseClockTime(std::string_view text, const std::string& localZone = {});

} // namespace corvane
