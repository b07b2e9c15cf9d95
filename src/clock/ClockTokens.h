#pragma once

#include "clock/ClockFormatCompiler.h"

#include <string>
#include <string_view>

namespace corvane {

class CVBDateAndTimeUtilities;

// The suffix of an ordinal day in the locale's language: "st", "nd", "rd", "th" in English,
// "." in German, nothing where the language writes none.
std::string ordinalSuffixFromDay(long day, std::string_view language);

// Replaces the clock's tokens in formatted text, in their fixed order, for a segment of
// `zone` at Unix seconds `time`; `flash` 1 shows the flashing separators, 0 blanks them.
std::string expandTokens(CVBDateAndTimeUtilities& utilities, std::string text,
                         const std::string& zone, double time, int flash);

// The text a pattern segment shows: the pattern formatted, then its tokens expanded. Icons
// have no text.
std::string segmentText(CVBDateAndTimeUtilities& utilities, const ClockSegment& segment,
                        const std::string& zone, double time, int flash);

// A line as plain text, icons left out: what a terminal can show of it.
std::string lineText(CVBDateAndTimeUtilities& utilities, const ClockLine& line, double time,
                     int flash);

} // namespace corvane
