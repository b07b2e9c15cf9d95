#pragma once

#include "foundation/Value.h"

#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// The panel clock's lines as the user types them ("EEE d MMM HH:mm", tokens and icons by their
// names) and as "Time_MenubarFormat" stores them: lists of components ("EEE", "' '", "d", ...).

// Runs of one pattern letter are fields, ':' and '.' stand alone so that they can flash, other
// text becomes a quoted literal, and a token or icon name is one component.
Value clockComponentsFromText(std::string_view text);
// The inverse, for showing a stored line: literals are written bare where that reads back the
// same.
std::string clockTextFromComponents(const Value& components);

// The lines of the format's first location as text: one, or two for a two-line record.
std::vector<std::string> menubarClockLines(const Value& format);
// The format with its first location's lines replaced by `lines` (one or two); its zones and
// the other locations are kept.
Value withMenubarClockLines(const Value& format, const std::vector<std::string>& lines);

} // namespace corvane
