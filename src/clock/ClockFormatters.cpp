#include "clock/ClockFormatters.h"

#include "foundation/Log.h"

#include <unicode/gregocal.h>

namespace corvane {

namespace {

UDate udate(double time) {
    return time * 1000.0;
}

} // namespace

ClockFormatters::ClockFormatters(const icu::Locale& locale, std::string localZone)
    : locale_(locale)
    , localZone_(std::move(localZone)) {}

ClockFormatters::~ClockFormatters() = default;

bool ClockFormatters::isKnownZone(const std::string& zone) {
    std::unique_ptr<icu::TimeZone> tz(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
    return tz && *tz != icu::TimeZone::getUnknown();
}

std::unique_ptr<icu::TimeZone> ClockFormatters::makeZone(const std::string& zone) const {
    const std::string& name = zone.empty() ? localZone_ : zone;
    if (name.empty())
        return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault());
    if (!isKnownZone(name)) {
        CVBLog("clock: unknown time zone \"%s\", using the local one", name.c_str());
        return zone.empty() ? std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault())
                            : makeZone({});
    }
    return std::unique_ptr<icu::TimeZone>(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

// One formatter per zone, switched between patterns: building one loads the locale's data
// (about 50 µs), switching its pattern costs about 1 µs.
std::string ClockFormatters::format(double time, const std::string& zone,
                                    const std::string& pattern) {
    auto found = formatters_.find(zone);
    if (found == formatters_.end()) {
        UErrorCode status = U_ZERO_ERROR;
        auto formatter =
            std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(), locale_, status);
        if (U_FAILURE(status)) {
            CVBLog("clock: no date formatter for \"%s\" (%s)", locale_.getName(),
                   u_errorName(status));
            formatter.reset();
        } else {
            formatter->adoptTimeZone(makeZone(zone).release());
        }
        found = formatters_.emplace(zone, Formatter{std::move(formatter), {}}).first;
    }
    Formatter& f = found->second;
    if (!f.format)
        return {};
    const icu::UnicodeString wanted = icu::UnicodeString::fromUTF8(pattern);
    if (wanted != f.pattern) {
        f.format->applyPattern(wanted);
        f.pattern = wanted;
    }
    icu::UnicodeString text;
    f.format->format(udate(time), text);
    std::string out;
    return text.toUTF8String(out);
}

icu::Calendar* ClockFormatters::calendar(const std::string& zone) {
    auto found = calendars_.find(zone);
    if (found != calendars_.end())
        return found->second.get();
    UErrorCode status = U_ZERO_ERROR;
    auto made = std::make_unique<icu::GregorianCalendar>(makeZone(zone).release(), locale_, status);
    if (U_FAILURE(status)) {
        CVBLog("clock: no calendar for \"%s\" (%s)", zone.c_str(), u_errorName(status));
        made.reset();
    }
    return calendars_.emplace(zone, std::move(made)).first->second.get();
}

int ClockFormatters::field(double time, const std::string& zone, UCalendarDateFields which) {
    icu::Calendar* cal = calendar(zone);
    if (!cal)
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    cal->setTime(udate(time), status);
    const int value = cal->get(which, status);
    return U_SUCCESS(status) ? value : 0;
}

double ClockFormatters::offsetSeconds(double time, const std::string& zone) {
    icu::Calendar* cal = calendar(zone);
    if (!cal)
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t raw = 0, dst = 0;
    cal->getTimeZone().getOffset(udate(time), false, raw, dst, status);
    return U_SUCCESS(status) ? (raw + dst) / 1000.0 : 0;
}

} // namespace corvane
