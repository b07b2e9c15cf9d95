#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// How the text of "prefs set" is read.
enum class CommandValueType { Automatic, Integer, Real, Bool, String, Json, PropertyList };

std::optional<CommandValueType> commandValueTypeNamed(std::string_view name);

// Reads a value typed on the command line. Automatic: "true"/"false"/"yes"/"no" a bool, a
// whole number an integer, a decimal number a real, text starting with "[", "{" or a double
// quote JSON, text starting with "<" a property-list fragment, anything else a string. Numbers
// must be finite ("nan", "inf" and "1e999" are refused). On failure the reason goes to `error`.
std::optional<Value> parseCommandValue(std::string_view text, CommandValueType type,
                                       std::string& error);

// A value as "prefs get" prints it: text as it is, numbers and bools plainly, lists and
// dictionaries as JSON on one line (dates and data as JSON writes them).
std::string commandText(const Value& value);

// A value as "prefs list" prints it: on one line, typed so that "prefs set" reads back the same
// value. Text is a quoted JSON string, reals always carry a point or an exponent, and what JSON
// cannot hold (dates, data, non-finite reals) is a property-list fragment.
std::string typedCommandText(const Value& value);

// The log file the settings commands write to, for messages that send the user there.
std::filesystem::path commandLogFile();

// What a command says when the settings could not be written: the first reason the store
// logged while it tried, and where the log is. Collects from construction on.
class StoreFailureReport {
public:
    explicit StoreFailureReport(std::filesystem::path logFile = commandLogFile());
    // "REASON; the log is FILE", with a general reason when the store logged none.
    std::string text() const;

private:
    std::filesystem::path logFile_;
    LogCapture capture_;
};

// Stores one value unless the settings file holds it already, so that a choice already in
// place succeeds even where the settings are read-only. False when it could not be written.
bool storeUnlessStored(CVBPreferences& preferences, std::string_view key, const Value& value);

// After a command: when it loaded the settings and their file was damaged, one line on `err`
// naming the copy set aside, as the defaults now stand in for what it held.
void reportSetAsideSettings(std::ostream& err);

// What to tell the other processes after a key changed: its own notifications where it has
// them (as the menu item that writes it posts them), else its section's.
struct KeyNotification {
    std::string name;
    unsigned options = DistributedNotificationCenter::DeliverImmediately;
    bool withKey = true; // carries {"key": key}
};
std::vector<KeyNotification> notificationsForChangedKey(std::string_view key);
// Tells every program that the key changed: its notifications, then the one a settings window
// re-reads the key on. Answers the names posted.
std::vector<std::string> postKeyChanged(DistributedNotificationCenter& center,
                                        const std::string& key);

// The "prefs" commands; each returns the process's exit status.
class PreferenceCommands {
public:
    PreferenceCommands(CVBPreferences& preferences, DistributedNotificationCenter& center,
                       std::ostream& out, std::ostream& err,
                       std::filesystem::path logFile = commandLogFile());

    // Stored keys, "KEY = VALUE" a line, typed as typedCommandText; with defaults every key
    // with a value, defaults marked.
    int list(bool withDefaults);
    // The value as the product reads it; `storedOnly` skips the defaults.
    int get(const std::string& key, bool storedOnly);
    int set(const std::string& key, const std::string& text, CommandValueType type);
    int remove(const std::string& key);

private:
    // Says why a key cannot be stored, if it cannot.
    bool validKey(const std::string& key, const char* command);
    int announceIfWritten(const std::string& key, bool written, const StoreFailureReport& report);
    void announce(const std::string& key);

    CVBPreferences& preferences_;
    DistributedNotificationCenter& center_;
    std::ostream& out_;
    std::ostream& err_;
    std::filesystem::path logFile_;
};

} // namespace corvane
