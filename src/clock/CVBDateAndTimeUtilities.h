#pragma once

#include "clock/ClockFormatters.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unicode/calendar.h>
#include <unicode/locid.h>

namespace corvane {

// A string of the "time" table by key, in the language of the clock.
using ClockLocalizer = std::function<std::string(std::string_view key)>;

// Dates and words of the clock in one locale: the week calendar, the fuzzy clock, the names
// of hours and the formatters they read the zones' fields with.
class CVBDateAndTimeUtilities {
public:
    // `localeId` is an ICU id ("de_DE"); `localZone` empty means the process's zone.
    CVBDateAndTimeUtilities(const std::string& localeId, ClockLocalizer localize,
                            std::string localZone = {});

    const icu::Locale& preferredLocale() const { return locale_; }
    ClockFormatters& formatters() { return formatters_; }
    std::string localized(std::string_view key) const;

    // "Time_WeekNumberFormat": 1 counts weeks as ISO does (Monday, four days), else the first
    // week is the one holding 1 January and weeks start on Sunday.
    void setWeekNumberFormat(std::int64_t format);
    icu::Calendar& weekCalendar();
    long weekForDate(double time);
    std::string week(double time);

    std::string fuzzyClock(double time, const std::string& zone);
    std::string nameForHour(long hour) const;
    // The locale's short time pattern, for the dropdown's clocks.
    std::string dropdownTimeFormat() const;
    // "de-DE" and "de_DE.UTF-8" as ICU and POSIX both name them: "de_DE".
    static std::string posixLocaleFromLocale(std::string_view locale);
    // The locale dates are written in: the chosen language in the formats region when the
    // region speaks it ("de_DE" for German in Germany), else the language alone ("en" for
    // English chosen on a German desktop); the region when no language is chosen.
    static std::string localeForLanguage(std::string_view language, std::string_view region);

    // Custom am and pm symbols; both must be set to take the place of the locale's.
    std::optional<std::string> amSymbol;
    std::optional<std::string> pmSymbol;

private:
    icu::Locale locale_;
    ClockLocalizer localize_;
    ClockFormatters formatters_;
    // One per week format, built on first use and kept: switching formats must not rebuild them.
    std::array<std::unique_ptr<icu::Calendar>, 2> weekCalendars_;
    std::int64_t weekFormat_ = 0;
};

} // namespace corvane
