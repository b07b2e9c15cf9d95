#include "clock/ClockTokens.h"

#include "clock/CVBDateAndTimeUtilities.h"

#include <cmath>
#include <cstdio>
#include <unicode/unistr.h>

namespace corvane {

namespace {

void replaceAll(std::string& s, std::string_view from, const std::string& to) {
    for (std::size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
        s.replace(at, from.size(), to);
}

// Replaces only when the token is there, so that the costlier values are made on demand.
template <class Make>
void expand(std::string& s, std::string_view token, Make make) {
    if (s.find(token) != std::string::npos)
        replaceAll(s, token, make());
}

std::string dayLetter(CVBDateAndTimeUtilities& u, const std::string& zone, double time) {
    static constexpr char kLetters[] = "UMTWRFS";
    int index = u.formatters().field(time, zone, UCAL_DAY_OF_WEEK) - 1;
    if (index < 0 || index > 6)
        index = 0;
    return std::string(1, kLetters[index]);
}

std::string relativeOffset(CVBDateAndTimeUtilities& u, const std::string& zone, double time) {
    auto& f = u.formatters();
    const double hours = (f.offsetSeconds(time, zone) - f.offsetSeconds(time, {})) / 3600.0;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.1f", hours);
    std::string text = buffer;
    if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0)
        text.resize(text.size() - 2);
    if (text == "-0")
        text = "0";
    return hours >= 0 || text == "0" ? "+" + text : text;
}

// Pattern "g" numbers days locally in each zone, so comparing it tells the calendar day apart.
std::string relativeDay(CVBDateAndTimeUtilities& u, const std::string& zone, double time) {
    const long here = std::stol("0" + u.formatters().format(time, {}, "g"));
    const long there = std::stol("0" + u.formatters().format(time, zone, "g"));
    return u.localized(there > here ? "Tomorrow" : there < here ? "Yesterday" : "Today");
}

std::string firstLetter(const std::string& text, bool upper, const icu::Locale& locale) {
    icu::UnicodeString s = icu::UnicodeString::fromUTF8(text);
    if (s.countChar32() > 1)
        s.truncate(s.moveIndex32(0, 1));
    upper ? s.toUpper(locale) : s.toLower(locale);
    std::string out;
    return s.toUTF8String(out);
}

std::string amPm(CVBDateAndTimeUtilities& u, const std::string& zone, double time) {
    if (u.amSymbol && u.pmSymbol)
        return u.formatters().field(time, zone, UCAL_HOUR_OF_DAY) < 12 ? *u.amSymbol : *u.pmSymbol;
    return u.formatters().format(time, zone, "a");
}

} // namespace

std::string ordinalSuffixFromDay(long day, std::string_view language) {
    if (language == "de")
        return ".";
    if (language != "en")
        return {};
    if (day % 100 >= 11 && day % 100 <= 13)
        return "th";
    switch (day % 10) {
    case 1:
        return "st";
    case 2:
        return "nd";
    case 3:
        return "rd";
    default:
        return "th";
    }
}

std::string expandTokens(CVBDateAndTimeUtilities& u, std::string s, const std::string& zone,
                         double time, int flash) {
    if (s.find("__") == std::string::npos && s.find("FUZZY") == std::string::npos)
        return s;
    const icu::Locale& locale = u.preferredLocale();
    replaceAll(s, "__SQ__", "'");
    expand(s, "__WEEKNUMBER__", [&] { return u.week(time); });
    expand(s, "__DAY_MTWRFSU__", [&] { return dayLetter(u, zone, time); });
    expand(s, "__RELATIVE_OFFSET__", [&] { return relativeOffset(u, zone, time); });
    expand(s, "__RELATIVE_DAY__", [&] { return relativeDay(u, zone, time); });
    const auto suffix = [&] {
        return ordinalSuffixFromDay(u.formatters().field(time, zone, UCAL_DAY_OF_MONTH),
                                    locale.getLanguage());
    };
    // The upper form first: the plain token is a prefix of it.
    expand(s, "__DAY_SUFFIX_UPPER__", [&] {
        std::string out;
        return icu::UnicodeString::fromUTF8(suffix()).toUpper(locale).toUTF8String(out);
    });
    expand(s, "__DAY_SUFFIX__", suffix);
    expand(s, "FUZZY", [&] { return u.fuzzyClock(time, zone); });
    expand(s, "__AMPM_DEFAULT__", [&] { return amPm(u, zone, time); });
    expand(s, "__AMPM_UPPER__",
           [&] { return firstLetter(u.formatters().format(time, zone, "a"), true, locale); });
    expand(s, "__AMPM_LOWER__",
           [&] { return firstLetter(u.formatters().format(time, zone, "a"), false, locale); });
    expand(s, "__COLON__", [&] { return flash == 1 ? std::string(":") : std::string(" "); });
    expand(s, "__DOT__", [&] { return flash == 1 ? std::string(".") : std::string(" "); });
    return s;
}

std::string segmentText(CVBDateAndTimeUtilities& u, const ClockSegment& segment,
                        const std::string& zone, double time, int flash) {
    if (segment.kind == ClockSegment::Kind::Icon)
        return {};
    return expandTokens(u, u.formatters().format(time, zone, segment.text), zone, time, flash);
}

std::string lineText(CVBDateAndTimeUtilities& u, const ClockLine& line, double time, int flash) {
    std::string text;
    for (const ClockSegment& segment : line.segments)
        text += segmentText(u, segment, line.zone, time, flash);
    return text;
}

} // namespace corvane
