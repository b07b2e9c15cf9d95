#pragma once

#include <map>
#include <memory>
#include <string>
#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace corvane {

// Date formatters and calendars of the clock, made once per zone and kept, as ICU formatters
// cost far more to build than to use. An empty zone is the local one.
class ClockFormatters {
public:
    // `localZone` empty: the process's zone, as ICU reads it from TZ and the system.
    explicit ClockFormatters(const icu::Locale& locale, std::string localZone = {});
    ClockFormatters(const ClockFormatters&) = delete;
    ClockFormatters& operator=(const ClockFormatters&) = delete;
    ~ClockFormatters();

    // `pattern` at Unix seconds `time` in `zone`; pattern letters ICU does not know give nothing.
    std::string format(double time, const std::string& zone, const std::string& pattern);
    // A Gregorian field (UCAL_HOUR_OF_DAY, UCAL_DAY_OF_WEEK, ...) at `time` in `zone`.
    int field(double time, const std::string& zone, UCalendarDateFields which);
    // The zone's offset from UTC at `time`, daylight saving included.
    double offsetSeconds(double time, const std::string& zone);
    // Whether ICU knows the zone; unknown names fall back to the local zone with a log line.
    static bool isKnownZone(const std::string& zone);

    const icu::Locale& locale() const { return locale_; }

private:
    std::unique_ptr<icu::TimeZone> makeZone(const std::string& zone) const;
    icu::Calendar* calendar(const std::string& zone);

    icu::Locale locale_;
    std::string localZone_;
    struct Formatter {
        std::unique_ptr<icu::SimpleDateFormat> format; // null when the locale has none
        icu::UnicodeString pattern;
    };
    std::map<std::string, Formatter> formatters_;
    std::map<std::string, std::unique_ptr<icu::Calendar>> calendars_;
};

} // namespace corvane
