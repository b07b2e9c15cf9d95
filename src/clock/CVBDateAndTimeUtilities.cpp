#include "clock/CVBDateAndTimeUtilities.h"

#include "foundation/Log.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <unicode/dtfmtsym.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <vector>

namespace corvane {

namespace {

constexpr std::array<const char*, 12> kHourNames{"twelve", "one",  "two", "three",
                                                 "four",   "five", "six", "seven",
                                                 "eight",  "nine", "ten", "eleven"};

// Positions 2 to 12 of the fuzzy clock, one per five minutes past the hour.
constexpr std::array<const char*, 11> kFuzzyPhrases{
    "five past %@",        "ten past %@",  "quarter past %@",   "twenty past %@",
    "twenty five past %@", "half past %@", "twenty five to %@", "twenty to %@",
    "quarter to %@",       "ten to %@",    "five to %@"};

constexpr std::array<int, 11> kDefaultHourRaise{0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1};

std::string fill(std::string format, std::string_view argument) {
    if (const auto at = format.find("%@"); at != std::string::npos)
        format.replace(at, 2, argument);
    return format;
}

// "FUZZY_CLOCK_HOURS": how many hours each phrase looks ahead; a list of the wrong length
// falls back to the English counting.
std::array<int, 11> hourRaise(const std::string& list) {
    std::vector<int> entries;
    std::size_t start = 0;
    while (start <= list.size()) {
        const std::size_t end = std::min(list.find(',', start), list.size());
        int value = 0;
        const char* first = list.data() + start;
        const char* last = list.data() + end;
        while (first < last && *first == ' ')
            ++first;
        if (std::from_chars(first, last, value).ec != std::errc())
            return kDefaultHourRaise;
        entries.push_back(value);
        start = end + 1;
    }
    if (entries.size() != kDefaultHourRaise.size())
        return kDefaultHourRaise;
    std::array<int, 11> raise{};
    std::copy(entries.begin(), entries.end(), raise.begin());
    return raise;
}

} // namespace

CVBDateAndTimeUtilities::CVBDateAndTimeUtilities(const std::string& localeId,
                                                 ClockLocalizer localize, std::string localZone)
    : locale_(posixLocaleFromLocale(localeId).c_str())
    , localize_(std::move(localize))
    , formatters_(locale_, std::move(localZone)) {}

std::string CVBDateAndTimeUtilities::localized(std::string_view key) const {
    std::string text = localize_ ? localize_(key) : std::string();
    return text.empty() ? std::string(key) : text;
}

std::string CVBDateAndTimeUtilities::posixLocaleFromLocale(std::string_view locale) {
    std::string id(locale.substr(0, locale.find_first_of(".@")));
    for (char& c : id)
        if (c == '-')
            c = '_';
    return id;
}

std::string CVBDateAndTimeUtilities::localeForLanguage(std::string_view language,
                                                       std::string_view region) {
    const std::string chosen = posixLocaleFromLocale(language);
    const std::string where = posixLocaleFromLocale(region);
    if (chosen.empty())
        return where;
    const std::string base = chosen.substr(0, chosen.find('_'));
    return where.substr(0, where.find('_')) == base ? where : chosen;
}

void CVBDateAndTimeUtilities::setWeekNumberFormat(std::int64_t format) {
    weekFormat_ = format;
}

icu::Calendar& CVBDateAndTimeUtilities::weekCalendar() {
    const bool iso = weekFormat_ == 1;
    std::unique_ptr<icu::Calendar>& calendar = weekCalendars_[iso ? 1 : 0];
    if (!calendar) {
        UErrorCode status = U_ZERO_ERROR;
        calendar = std::make_unique<icu::GregorianCalendar>(locale_, status);
        if (U_FAILURE(status)) // the root locale always has a Gregorian calendar
            calendar = std::make_unique<icu::GregorianCalendar>(status = U_ZERO_ERROR);
        calendar->setFirstDayOfWeek(iso ? UCAL_MONDAY : UCAL_SUNDAY);
        calendar->setMinimalDaysInFirstWeek(iso ? 4 : 1);
    }
    return *calendar;
}

long CVBDateAndTimeUtilities::weekForDate(double time) {
    icu::Calendar& calendar = weekCalendar();
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(time * 1000.0, status);
    const long week = calendar.get(UCAL_WEEK_OF_YEAR, status);
    return U_SUCCESS(status) ? week : 0;
}

std::string CVBDateAndTimeUtilities::week(double time) {
    return std::to_string(weekForDate(time));
}

std::string CVBDateAndTimeUtilities::nameForHour(long hour) const {
    if (hour >= 24 || hour < 0)
        hour = 0;
    return localized(kHourNames[static_cast<std::size_t>(hour % 12)]);
}

std::string CVBDateAndTimeUtilities::fuzzyClock(double time, const std::string& zone) {
    const int hour = formatters_.field(time, zone, UCAL_HOUR_OF_DAY);
    const int minute = formatters_.field(time, zone, UCAL_MINUTE);
    if ((hour == 0 && minute <= 2) || (hour == 23 && minute >= 58))
        return localized("midnight");
    if (minute <= 2)
        return fill(localized("%@ o'clock"), nameForHour(hour));
    if (minute >= 58)
        return fill(localized("%@ o'clock"), nameForHour(hour + 1));
    const std::size_t index = static_cast<std::size_t>((minute - 3) / 5);
    const auto raise = hourRaise(localized("FUZZY_CLOCK_HOURS") == "FUZZY_CLOCK_HOURS"
                                     ? std::string()
                                     : localized("FUZZY_CLOCK_HOURS"));
    return fill(localized(kFuzzyPhrases[index]), nameForHour(hour + raise[index]));
}

std::string CVBDateAndTimeUtilities::dropdownTimeFormat() const {
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, locale_));
    auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format.get());
    if (!simple)
        return "HH:mm";
    icu::UnicodeString pattern;
    simple->toPattern(pattern);
    std::string out;
    return pattern.toUTF8String(out);
}

} // namespace corvane
