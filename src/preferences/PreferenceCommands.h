#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace corvane {

// How the text of "prefs set" is read.
enum class CommandValueType { Automatic, Integer, Real, Bool, String, Json, PropertyList };

std::optional<CommandValueType> commandValueTypeNamed(std::string_view name);

// Reads a value typed on the command line. Automatic: "true"/"false"/"yes"/"no" a bool, a
// whole number an integer, a decimal number a real, text starting with "[" or "{" JSON, text
// starting with "<" a property-list fragment, anything else a string. On failure the reason
// goes to `error`.
std::optional<Value> parseCommandValue(std::string_view text, CommandValueType type,
                                       std::string& error);

// A value as the commands print it: text as it is, numbers and bools plainly, lists and
// dictionaries as JSON on one line (dates and data as JSON writes them).
std::string commandText(const Value& value);

// The "prefs" commands; each returns the process's exit status.
class PreferenceCommands {
public:
    PreferenceCommands(CVBPreferences& preferences, DistributedNotificationCenter& center,
                       std::ostream& out, std::ostream& err);

    // Stored keys, "KEY = VALUE" a line; with defaults every key with a value, defaults marked.
    int list(bool withDefaults);
    // The value as the product reads it; `storedOnly` skips the defaults.
    int get(const std::string& key, bool storedOnly);
    int set(const std::string& key, const std::string& text, CommandValueType type);
    int remove(const std::string& key);

private:
    int announceIfWritten(const std::string& key);
    void announce(const std::string& key);

    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    std::ostream& out_;
    std::ostream& err_;
};

} // namespace corvane
