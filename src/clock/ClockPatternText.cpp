#include "clock/ClockPatternText.h"

#include "clock/ClockFormatCompiler.h"

#include <algorithm>
#include <array>

namespace corvane {

namespace {

constexpr std::array<std::string_view, 16> kNames{
    "__DAY_MTWRFSU__",        "__RELATIVE_DAY__",     "__RELATIVE_OFFSET__",
    "__DAY_SUFFIX_UPPER__",   "__DAY_SUFFIX__",       "FUZZY",
    "___ICON__CLOCK__",       "___ICON__MOON__",      "___ICON__RED___",
    "___ICON__BLUE___",       "___ICON__GEAPHITE___", "___ICON__GREEN___",
    "___ICON__ORANGE___",     "___ICON__PINK___",     "___ICON__BLACK___",
    "___ICON__TRANSPARENT___"};

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The longest token or icon name at the start of `text`; empty when none.
std::string_view nameAt(std::string_view text) {
    std::string_view best;
    for (const std::string_view name : kNames)
        if (text.starts_with(name) && name.size() > best.size())
            best = name;
    return best;
}

// Text that reads back as one quoted literal when written without its quotes.
bool readsBackBare(std::string_view inner) {
    if (inner.empty() || !nameAt(inner).empty())
        return false;
    return std::none_of(inner.begin(), inner.end(), [&](char c) {
        return isLetter(c) || c == '\'' || c == ':' || c == '.' || c == '_';
    });
}

} // namespace

Value clockComponentsFromText(std::string_view text) {
    Value components = Value::array();
    std::size_t i = 0;
    while (i < text.size()) {
        const char c = text[i];
        std::size_t end = i + 1;
        if (const auto name = nameAt(text.substr(i)); !name.empty()) {
            end = i + name.size();
        } else if (isLetter(c)) {
            while (end < text.size() && text[end] == c)
                ++end;
        } else if (c == '\'') {
            // '' inside a quoted text is a quote; an unclosed one runs to the end.
            while (end < text.size()) {
                if (text[end] == '\'' && (end + 1 >= text.size() || text[end + 1] != '\''))
                    break;
                end += text[end] == '\'' ? 2 : 1;
            }
            end = std::min(end + 1, text.size());
        } else if (c != ':' && c != '.') {
            while (end < text.size() && !isLetter(text[end]) && text[end] != '\'' &&
                   text[end] != ':' && text[end] != '.' && nameAt(text.substr(end)).empty())
                ++end;
            components.append("'" + std::string(text.substr(i, end - i)) + "'");
            i = end;
            continue;
        }
        std::string component(text.substr(i, end - i));
        if (component.front() == '\'' && (component.size() < 2 || component.back() != '\''))
            component += '\'';
        components.append(std::move(component));
        i = end;
    }
    return components;
}

std::string clockTextFromComponents(const Value& components) {
    std::string text;
    bool quoted = false; // whether `text` ends in a quoted literal
    for (const Value& item : components.arrayItems()) {
        const std::string c = item.stringValue();
        const bool literal = c.size() >= 2 && c.front() == '\'' && c.back() == '\'';
        if (literal && readsBackBare(std::string_view(c).substr(1, c.size() - 2))) {
            text += c.substr(1, c.size() - 2);
        } else if (literal && quoted) {
            // Two quoted texts side by side would read as one holding a quote: join them.
            text.pop_back();
            text += c.substr(1);
        } else {
            text += c;
        }
        quoted = literal && !readsBackBare(std::string_view(c).substr(1, c.size() - 2));
    }
    return text;
}

std::vector<std::string> menubarClockLines(const Value& format) {
    const Value& first = format[0];
    const std::size_t count = first["lines"].integerValue() == 2 ? 2 : 1;
    std::vector<std::string> lines;
    for (std::size_t line = 0; line < count; ++line)
        lines.push_back(clockTextFromComponents(first["format"][line]));
    return lines;
}

Value withMenubarClockLines(const Value& format, const std::vector<std::string>& lines) {
    Value first = format[0].isDictionary() ? format[0] : Value::dict();
    Value stored = Value::array();
    for (std::size_t line = 0; line < std::min<std::size_t>(lines.size(), 2); ++line)
        stored.append(clockComponentsFromText(lines[line]));
    first.set("format", std::move(stored));
    first.set("lines", lines.size() >= 2 ? 2 : 1);
    Value result = Value::array({std::move(first)});
    const auto& rest = format.arrayItems();
    for (std::size_t i = 1; i < rest.size(); ++i)
        result.append(rest[i]);
    return result;
}

} // namespace corvane
