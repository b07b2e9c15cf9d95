#pragma once

#include "foundation/Value.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// One piece of a clock line drawn in one go: a date pattern (with tokens quoted in it), the
// seconds, which alone change within a minute, or an icon.
struct ClockSegment {
    enum class Kind { Pattern, Seconds, Icon };
    Kind kind = Kind::Pattern;
    std::string text;

    friend bool operator==(const ClockSegment&, const ClockSegment&) = default;
};

struct ClockLine {
    std::string zone; // empty: the local zone
    std::vector<ClockSegment> segments;
};

// A location of "Time_MenubarFormat" made ready to draw. Two-line records draw their icons
// first, beside both lines.
struct ClockLocation {
    bool twoLines = false;
    std::vector<ClockLine> lines;
    std::vector<std::string> icons;
};

struct CompiledClock {
    std::vector<ClockLocation> locations;
    // The fixed widths of the flashing separators, keyed "'__COLON__'" and "'__DOT__'", so that
    // a blank drawn in their place keeps the line from moving.
    std::map<std::string, int, std::less<>> separatorWidths;

    // The stored width of a segment, or -1 when it is measured as drawn.
    int separatorWidth(std::string_view segment) const;
};

struct ClockCompileOptions {
    // "Time_MenubarFlashSeperators".
    bool flashSeparators = false;
    // Width in points of a separator in the style of one-line or two-line clocks.
    std::function<double(std::string_view text, bool twoLines)> measure;
};

// Compiles the location list: component strings into segments, following the rules of which
// fields may share a pattern.
CompiledClock formattedLocations(const Value& locations, const ClockCompileOptions& options);

// Kinds of component strings.
bool isClockIcon(std::string_view component);
bool isClockToken(std::string_view component);

} // namespace corvane
