#pragma once

#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace corvane {

// What the built-in defaults depend on.
struct DefaultsContext {
    bool menubarDark = false;
    bool laptop = false;
    bool metricSystem = true;
    std::string shortTimePattern = "HH:mm";
};

// Every key with a built-in default and its value. Defaults are never written to the domain:
// a key the user left alone follows the defaults of the running version.
Value builtInDefaults(const DefaultsContext& context);

// The hour field of a clock in the locale's short time: "HH", "H" or "hh".
std::string hourFieldForPattern(std::string_view shortTimePattern);
// The format list of a new menu-bar clock: "EE", "' '", hour, ":", "mm".
Value menubarClockFormatForPattern(std::string_view shortTimePattern);

} // namespace corvane
