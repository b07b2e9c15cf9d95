#pragma once

#include "foundation/Value.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corvane {

// A keyboard shortcut that opens a section's dropdown. It is stored as a plain dictionary
// {"keyCode", "modifiers", "display"}: the other processes read it without a toolkit's archive
// format, and "display" is what the button shows.
struct HotkeyShortcut {
    std::int64_t keyCode = 0;
    std::int64_t modifiers = 0;
    std::string display;

    Value archived() const;
    // Nothing for a value that is not such a dictionary.
    static std::optional<HotkeyShortcut> unarchived(const Value& value);

    friend bool operator==(const HotkeyShortcut&, const HotkeyShortcut&) = default;
};

} // namespace corvane
