#include "clock/ClockTime.h"

#include <charconv>
#include <memory>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

namespace corvane {

namespace {

// Reads `digits` digits at `at` and moves past them.
std::optional<int> number(std::string_view text, std::size_t& at, std::size_t digits) {
    if (at + digits > text.size())
        return std::nullopt;
    int value = 0;
    const char* first = text.data() + at;
    const auto [end, error] = std::from_chars(first, first + digits, value);
    if (error != std::errc() || end != first + digits)
        return std::nullopt;
    at += digits;
    return value;
}

bool expect(std::string_view text, std::size_t& at, std::string_view allowed) {
    if (at >= text.size() || allowed.find(text[at]) == std::string_view::npos)
        return false;
    ++at;
    return true;
}

std::optional<double> unixSeconds(std::string_view text) {
    long long seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return static_cast<double>(seconds);
}

} // namespace

std::optional<double> parseClockTime(std::string_view text, const std::string& localZone) {
    if (text.empty())
        return std::nullopt;
    if (auto seconds = unixSeconds(text))
        return seconds;
    std::size_t at = 0;
    const auto year = number(text, at, 4);
    const bool dash1 = expect(text, at, "-");
    const auto month = number(text, at, 2);
    const bool dash2 = expect(text, at, "-");
    const auto day = number(text, at, 2);
    const bool separator = expect(text, at, "T ");
    const auto hour = number(text, at, 2);
    const bool colon = expect(text, at, ":");
    const auto minute = number(text, at, 2);
    if (!year || !dash1 || !month || !dash2 || !day || !separator || !hour || !colon || !minute)
        return std::nullopt;
    std::optional<int> second = 0;
    if (at < text.size() && text[at] == ':' && !(second = number(text, ++at, 2)))
        return std::nullopt;
    std::optional<int> offsetMinutes;
    if (at < text.size() && text[at] == 'Z') {
        offsetMinutes = 0;
        ++at;
    } else if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        const int sign = text[at++] == '-' ? -1 : 1;
        const auto h = number(text, at, 2);
        const bool c = expect(text, at, ":");
        const auto m = number(text, at, 2);
        if (!h || !c || !m)
            return std::nullopt;
        offsetMinutes = sign * (*h * 60 + *m);
    }
    if (at != text.size() || *month < 1 || *month > 12 || *day < 1 || *day > 31 || *hour > 23 ||
        *minute > 59 || *second > 60)
        return std::nullopt;

    std::unique_ptr<icu::TimeZone> zone(
        offsetMinutes ? icu::TimeZone::createTimeZone("UTC")
        : localZone.empty()
            ? icu::TimeZone::createDefault()
            : icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(localZone)));
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(zone.release(), status);
    calendar.clear();
    calendar.setLenient(false);
    calendar.set(*year, *month - 1, *day, *hour, *minute, *second);
    const UDate date = calendar.getTime(status);
    if (U_FAILURE(status))
        return std::nullopt;
    return date / 1000.0 - (offsetMinutes ? *offsetMinutes * 60.0 : 0.0);
}

} // namespace corvane
