#pragma once

#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace corvane {

// JSON text to a Value: objects become dictionaries, whole numbers integers (beyond the int64
// range, reals), other numbers reals. Malformed input gives the null value and one log line
// naming `origin`; so does nesting deeper than any real document.
Value parseJson(std::string_view text, std::string_view origin = "JSON");

// A Value as JSON text; `indent` < 0 writes one line. JSON has no dates or data, so dates are
// written as ISO 8601 text ("2026-11-22T08:15:00Z") and data as Base64 text; non-finite reals
// and null entries become null. Invalid UTF-8 in strings is replaced, never an error.
std::string toJson(const Value& value, int indent = -1);

// "2026-11-22T08:15:00Z": how JSON and property lists write a moment, to the whole second.
std::string iso8601Date(Date date);

} // namespace corvane
