#include "preferences/PreferenceCommands.h"

#include "foundation/Json.h"
#include "foundation/Log.h"
#include "foundation/PropertyList.h"
#include "foundation/TextParsing.h"
#include "preferences/SectionNotifications.h"

#include <set>

namespace corvane {

namespace {

std::optional<bool> boolWord(std::string_view text) {
    if (text == "true" || text == "yes" || text == "YES" || text == "TRUE")
        return true;
    if (text == "false" || text == "no" || text == "NO" || text == "FALSE")
        return false;
    return std::nullopt;
}

std::optional<Value> fromPropertyListFragment(std::string_view text, std::string& error) {
    std::string document(text);
    if (document.find("<plist") == std::string::npos)
        document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">" + document +
                   "</plist>";
    LogCapture reason;
    Value value = readPropertyList(document, "value");
    if (value.isNull()) {
        error = "not a property list: " + std::string(trimmed(reason.lines()));
        return std::nullopt;
    }
    return value;
}

std::optional<Value> fromJson(std::string_view text, std::string& error) {
    LogCapture quiet;
    Value value = parseJson(text, "value");
    if (value.isNull()) {
        error = "not JSON";
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<CommandValueType> commandValueTypeNamed(std::string_view name) {
    static const std::pair<std::string_view, CommandValueType> kNames[] = {
        {"auto", CommandValueType::Automatic},    {"int", CommandValueType::Integer},
        {"real", CommandValueType::Real},         {"bool", CommandValueType::Bool},
        {"string", CommandValueType::String},     {"json", CommandValueType::Json},
        {"plist", CommandValueType::PropertyList}};
    for (const auto& [n, type] : kNames) {
        if (n == name)
            return type;
    }
    return std::nullopt;
}

std::optional<Value> parseCommandValue(std::string_view text, CommandValueType type,
                                       std::string& error) {
    switch (type) {
    case CommandValueType::Integer:
        if (auto i = parseInteger(text))
            return Value(*i);
        error = "not a whole number";
        return std::nullopt;
    case CommandValueType::Real:
        if (auto d = parseDouble(text))
            return Value(*d);
        error = "not a number";
        return std::nullopt;
    case CommandValueType::Bool:
        if (auto b = boolWord(text))
            return Value(*b);
        if (auto i = parseInteger(text); i && (*i == 0 || *i == 1))
            return Value(*i == 1);
        error = "not true, false, yes, no, 1 or 0";
        return std::nullopt;
    case CommandValueType::String:
        return Value(std::string(text));
    case CommandValueType::Json:
        return fromJson(text, error);
    case CommandValueType::PropertyList:
        return fromPropertyListFragment(text, error);
    case CommandValueType::Automatic:
        break;
    }
    const std::string_view t = trimmed(text);
    if (auto b = boolWord(t))
        return Value(*b);
    if (auto i = parseInteger(t))
        return Value(*i);
    if (auto d = parseDouble(t))
        return Value(*d);
    if (!t.empty() && (t.front() == '[' || t.front() == '{'))
        return fromJson(t, error);
    if (!t.empty() && t.front() == '<')
        return fromPropertyListFragment(t, error);
    return Value(std::string(text));
}

std::string commandText(const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Bool:
        return value.boolValue() ? "true" : "false";
    case Value::Kind::Array:
    case Value::Kind::Dictionary:
    case Value::Kind::Data:
    case Value::Kind::Date:
        return toJson(value);
    default:
        return value.stringValue();
    }
}

PreferenceCommands::PreferenceCommands(CVBPreferences& preferences,
                                       DistributedNotificationCenter& center, std::ostream& out,
                                       std::ostream& err)
    : preferences_(preferences)
    , center_(center)
    , out_(out)
    , err_(err) {}

int PreferenceCommands::list(bool withDefaults) {
    const Value stored = preferences_.domain().copyAll();
    std::set<std::string> keys;
    for (const auto& [key, value] : stored.dictionaryItems())
        keys.insert(key);
    if (withDefaults) {
        for (const auto& [key, value] : preferences_.defaults().dictionaryItems())
            keys.insert(key);
    }
    for (const auto& key : keys) {
        const Value* own = stored.find(key);
        out_ << key << " = " << commandText(own ? *own : preferences_.defaults()[key]);
        if (!own)
            out_ << "  (default)";
        out_ << "\n";
    }
    return 0;
}

int PreferenceCommands::get(const std::string& key, bool storedOnly) {
    const Value value = preferences_.objectForKey(key, !storedOnly);
    if (value.isNull()) {
        err_ << "corvanebar prefs: " << key << (storedOnly ? " is not stored" : " has no value")
             << "\n";
        return 1;
    }
    out_ << commandText(value) << "\n";
    return 0;
}

int PreferenceCommands::set(const std::string& key, const std::string& text,
                            CommandValueType type) {
    std::string error;
    const auto value = parseCommandValue(text, type, error);
    if (!value) {
        err_ << "corvanebar prefs: cannot set " << key << ": \"" << text << "\" is " << error
             << "\n";
        return 2;
    }
    preferences_.setObject(*value, key);
    return announceIfWritten(key);
}

int PreferenceCommands::remove(const std::string& key) {
    preferences_.removeObjectForKey(key);
    return announceIfWritten(key);
}

// A failed write stays pending in memory, where a read would still find it; only another
// synchronize tells whether it reached the disk.
int PreferenceCommands::announceIfWritten(const std::string& key) {
    if (!preferences_.synchronize()) {
        err_ << "corvanebar prefs: " << key << " could not be stored; see the log\n";
        return 1;
    }
    announce(key);
    return 0;
}

// The section's notification reaches the status item and the agent; the settings window
// listens for its own.
void PreferenceCommands::announce(const std::string& key) {
    const std::string name = notificationForKey(key);
    const Value userInfo = Value::dict({{"key", key}});
    center_.postNotificationName(name, userInfo);
    center_.postNotificationName(kResetPreferencesAppNotification, userInfo);
    center_.flush();
    out_ << key << ": posted " << name << " and " << kResetPreferencesAppNotification << "\n";
}

} // namespace corvane
