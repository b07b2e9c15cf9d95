#include "preferences/PreferenceCommands.h"

#include "foundation/FileLogger.h"
#include "foundation/Json.h"
#include "foundation/Paths.h"
#include "foundation/PropertyList.h"
#include "foundation/TextParsing.h"
#include "preferences/SectionNotifications.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>
#include <glib.h>
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

// Text that a number parser would take for NaN or an infinity: "nan", "-inf", "Infinity", or
// a decimal too large for a double. Stored as text, it would still read as that number.
bool nonFiniteNumberText(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && (text.front() == '+' || text.front() == '-'))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || end != text.data() + text.size())
        return false;
    if (error == std::errc::result_out_of_range)
        return !std::isfinite(leadingDouble(text));
    return error == std::errc{} && !std::isfinite(value);
}

bool allFinite(const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Real:
        return std::isfinite(value.doubleValue());
    case Value::Kind::Array:
        for (const Value& item : value.arrayItems())
            if (!allFinite(item))
                return false;
        return true;
    case Value::Kind::Dictionary:
        for (const auto& [key, item] : value.dictionaryItems())
            if (!allFinite(item))
                return false;
        return true;
    default:
        return true;
    }
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

std::optional<Value> parseAutomatic(std::string_view text, std::string& error) {
    const std::string_view t = trimmed(text);
    if (auto b = boolWord(t))
        return Value(*b);
    if (auto i = parseInteger(t))
        return Value(*i);
    if (auto d = parseDouble(t))
        return Value(*d);
    if (nonFiniteNumberText(t)) {
        error = "not a finite number; give --type string to store it as text";
        return std::nullopt;
    }
    if (!t.empty() && (t.front() == '[' || t.front() == '{' || t.front() == '"'))
        return fromJson(t, error);
    if (!t.empty() && t.front() == '<')
        return fromPropertyListFragment(t, error);
    return Value(std::string(text));
}

std::optional<Value> parseTyped(std::string_view text, CommandValueType type, std::string& error) {
    switch (type) {
    case CommandValueType::Integer:
        if (auto i = parseInteger(text))
            return Value(*i);
        error = "not a whole number";
        return std::nullopt;
    case CommandValueType::Real:
        if (auto d = parseDouble(text))
            return Value(*d);
        error = nonFiniteNumberText(text) ? "not a finite number" : "not a number";
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
    return parseAutomatic(text, error);
}

// Dates, data and non-finite reals have no JSON form that reads back as themselves.
bool needsPropertyList(const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Date:
    case Value::Kind::Data:
    case Value::Kind::Null:
        return true;
    case Value::Kind::Real:
        return !std::isfinite(value.doubleValue());
    case Value::Kind::Array:
        for (const Value& item : value.arrayItems())
            if (needsPropertyList(item))
                return true;
        return false;
    case Value::Kind::Dictionary:
        for (const auto& [key, item] : value.dictionaryItems())
            if (needsPropertyList(item))
                return true;
        return false;
    default:
        return false;
    }
}

// XML text with line breaks and other controls as character references, so that the fragment
// stays on one line.
void appendEscaped(std::string& out, std::string_view text) {
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
                out += "&#" + std::to_string(static_cast<int>(c)) + ";";
            else
                out += c;
        }
    }
}

void appendTagged(std::string& out, const char* tag, std::string_view text) {
    out += std::string("<") + tag + ">";
    appendEscaped(out, text);
    out += std::string("</") + tag + ">";
}

void appendPropertyList(std::string& out, const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Null:
        break;
    case Value::Kind::Bool:
        out += value.boolValue() ? "<true/>" : "<false/>";
        break;
    case Value::Kind::Integer:
        appendTagged(out, "integer", std::to_string(value.integerValue()));
        break;
    case Value::Kind::Real:
        appendTagged(out, "real", shortestDoubleText(value.doubleValue()));
        break;
    case Value::Kind::String:
        appendTagged(out, "string", value.string());
        break;
    case Value::Kind::Data: {
        const auto& bytes = value.data();
        gchar* text = g_base64_encode(bytes.data(), bytes.size());
        appendTagged(out, "data", text);
        g_free(text);
        break;
    }
    case Value::Kind::Date:
        appendTagged(out, "date", iso8601Date(value.date()));
        break;
    case Value::Kind::Array:
        out += "<array>";
        for (const Value& item : value.arrayItems())
            appendPropertyList(out, item);
        out += "</array>";
        break;
    case Value::Kind::Dictionary:
        out += "<dict>";
        for (const auto& [key, item] : value.dictionaryItems()) {
            appendTagged(out, "key", key);
            appendPropertyList(out, item);
        }
        out += "</dict>";
        break;
    }
}

// A key as it is, unless it could be mistaken for something else on a "KEY = VALUE" line.
std::string keyText(const std::string& key) {
    const bool plain = !key.empty() && key.front() != ' ' && key.back() != ' ' &&
                       key.front() != '"' && key.find(" = ") == std::string::npos &&
                       std::none_of(key.begin(), key.end(),
                                    [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    return plain ? key : toJson(Value(key));
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
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
    auto value = parseTyped(text, type, error);
    // A NaN in the settings turns every comparison and drawing size that reads it to nonsense.
    if (value && !allFinite(*value)) {
        error = "holds a number that is not finite (nan or inf)";
        return std::nullopt;
    }
    return value;
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

std::string typedCommandText(const Value& value) {
    if (needsPropertyList(value)) {
        std::string text;
        appendPropertyList(text, value);
        return text;
    }
    return toJson(value);
}

std::filesystem::path commandLogFile() {
    return FileLogger(Paths::logDirectory("App"), "App").currentFile();
}

StoreFailureReport::StoreFailureReport(std::filesystem::path logFile)
    : logFile_(std::move(logFile)) {}

std::string StoreFailureReport::text() const {
    // The first line is the cause; what follows in the log is what each layer made of it.
    const std::string lines = capture_.lines();
    std::string reason = "the settings file cannot be written";
    for (const auto line : splitLines(lines)) {
        if (!trimmed(line).empty()) {
            reason = trimmed(line);
            break;
        }
    }
    return reason + "; the log is " + logFile_.string();
}

bool storeUnlessStored(CVBPreferences& preferences, std::string_view key, const Value& value) {
    return preferences.objectForKey(key, false) == value ||
           preferences.updateObjectForKey(key, [&](const Value&) { return value; });
}

void reportSetAsideSettings(std::ostream& err) {
    if (!CVBPreferences::hasSharedPreferences())
        return;
    if (const auto aside = CVBPreferences::sharedPreferences().setAsideCopy())
        err << "corvanebar: the settings file could not be read and was set aside as "
            << aside->string() << "; the settings started again from their defaults\n";
}

std::vector<KeyNotification> notificationsForChangedKey(std::string_view key) {
    using Center = DistributedNotificationCenter;
    // As the menu items that write these keys post: a name of their own, nothing attached.
    static const std::pair<std::string_view, KeyNotification> kOwn[] = {
        {"Sensors_DisableIntelKext",
         {"CorvaneBarIntelFrequencyChange", Center::DeliverImmediately, false}},
        {"Weather_PWSDisabled", {"CorvaneBarWeatherPWSChanged", Center::DeliverImmediately, false}},
        {"language", {"CorvaneBarLanguageChange", Center::DeliverImmediately, false}},
        {"UpdateCheckerDisabled",
         {"CorvaneBarUpdateCheckerChange", Center::DeliverImmediately | Center::PostToAllSessions,
          false}},
        {"UpdateCheckerAutomaticDisabled",
         {"CorvaneBarUpdateCheckerChange", Center::DeliverImmediately | Center::PostToAllSessions,
          false}},
    };
    for (const auto& [ownKey, notification] : kOwn) {
        if (ownKey == key)
            return {notification};
    }
    // Read by the diagnostics upload when it next runs; nobody listens for a change.
    if (key == "Diagnostics_Enabled")
        return {};
    return {KeyNotification{notificationForKey(key)}};
}

PreferenceCommands::PreferenceCommands(CVBPreferences& preferences,
                                       DistributedNotificationCenter& center, std::ostream& out,
                                       std::ostream& err, std::filesystem::path logFile)
    : preferences_(preferences)
    , center_(center)
    , out_(out)
    , err_(err)
    , logFile_(std::move(logFile)) {}

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
        out_ << keyText(key) << " = "
             << typedCommandText(own ? *own : preferences_.defaults()[key]);
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
    if (!validKey(key, "set"))
        return 2;
    std::string error;
    const auto value = parseCommandValue(text, type, error);
    // Shown as JSON writes it, so that bytes that are no text reach no terminal.
    if (!value) {
        err_ << "corvanebar prefs: cannot set " << key << ": " << toJson(Value(text)) << " is "
             << error << "\n";
        return 2;
    }
    if (const auto why = invalidPreferenceText(*value)) {
        err_ << "corvanebar prefs: cannot set " << key << ": the value " << *why << "\n";
        return 2;
    }
    StoreFailureReport report(logFile_);
    return announceIfWritten(key, preferences_.setObject(*value, key), report);
}

int PreferenceCommands::remove(const std::string& key) {
    if (!validKey(key, "remove"))
        return 2;
    StoreFailureReport report(logFile_);
    return announceIfWritten(key, preferences_.removeObjectForKey(key), report);
}

bool PreferenceCommands::validKey(const std::string& key, const char* command) {
    const auto why = invalidPreferenceKey(key);
    if (why)
        err_ << "corvanebar prefs: cannot " << command << " " << toJson(Value(key)) << ": " << *why
             << "\n";
    return !why;
}

int PreferenceCommands::announceIfWritten(const std::string& key, bool written,
                                          const StoreFailureReport& report) {
    if (!written) {
        err_ << "corvanebar prefs: " << key << " could not be stored: " << report.text() << "\n";
        return 1;
    }
    announce(key);
    return 0;
}

// The key's notification reaches the status item and the agent; the settings window listens
// for its own.
std::vector<std::string> postKeyChanged(DistributedNotificationCenter& center,
                                        const std::string& key) {
    const Value userInfo = Value::dict({{"key", key}});
    std::vector<std::string> names;
    for (const auto& notification : notificationsForChangedKey(key)) {
        center.postNotificationName(notification.name, notification.withKey ? userInfo : Value(),
                                    notification.options);
        names.push_back(notification.name);
    }
    center.postNotificationName(kResetPreferencesAppNotification, userInfo);
    names.push_back(kResetPreferencesAppNotification);
    return names;
}

void PreferenceCommands::announce(const std::string& key) {
    const std::vector<std::string> names = postKeyChanged(center_, key);
    center_.flush();
    if (center_.isConnected())
        out_ << key << ": posted " << joined(names) << "\n";
    else
        out_ << key << ": stored; no session bus, so no running program was told (" << joined(names)
             << ")\n";
}

} // namespace corvane
