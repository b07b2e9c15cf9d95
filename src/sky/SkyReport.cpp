#include "sky/SkyReport.h"

#include "sky/Almanac.h"
#include "sky/JulianDate.h"
#include "sky/LowPrecisionSun.h"
#include "sky/MoonParallax.h"
#include "sky/MoonPhase.h"
#include "sky/MoonRiseSet.h"
#include "sky/MoonSkyData.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>

namespace corvane {

namespace {

template <typename... Args>
std::string printed(const char* pattern, Args... args) {
    char buffer[256];
    const int length = std::snprintf(buffer, sizeof buffer, pattern, args...);
    if (length < 0) {
        return {};
    }
    return std::string(buffer, static_cast<std::size_t>(std::min<int>(length, sizeof buffer - 1)));
}

std::string localTime(double unixSeconds, const char* pattern) {
    const std::time_t seconds = static_cast<std::time_t>(std::floor(unixSeconds + 0.5));
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char buffer[64];
    const std::size_t length = std::strftime(buffer, sizeof buffer, pattern, &parts);
    return std::string(buffer, length);
}

std::string hoursMinutesSeconds(double hours) {
    const long total = std::lround(hours * 3600.0) % 86400;
    return printed("%2ldh %02ldm %02lds", total / 3600, total / 60 % 60, total % 60);
}

std::string degreesMinutes(double degrees) {
    const long total = std::lround(std::fabs(degrees) * 60.0);
    return printed("%c%ld\xC2\xB0 %02ld'", degrees < 0.0 ? '-' : '+', total / 60, total % 60);
}

std::string coordinate(double value, char positive, char negative) {
    return printed("%.4f\xC2\xB0 %c", std::fabs(value), value < 0.0 ? negative : positive);
}

std::string riseOrSet(double time, double azimuth, const char* missing) {
    if (time == kMoonUpAllDay) {
        return "up all day";
    }
    if (time == kMoonDownAllDay) {
        return "below the horizon all day";
    }
    if (time <= 0.0) {
        return missing;
    }
    return localTime(time, "%H:%M %Z") + printed("  (azimuth %.0f\xC2\xB0)", azimuth);
}

// Parses exactly count digits at text[pos], advancing pos.
bool digits(std::string_view text, std::size_t& pos, std::size_t count, int& value) {
    if (pos + count > text.size()) {
        return false;
    }
    for (std::size_t i = pos; i < pos + count; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return false;
        }
    }
    std::from_chars(text.data() + pos, text.data() + pos + count, value);
    pos += count;
    return true;
}

bool literal(std::string_view text, std::size_t& pos, char c) {
    if (pos < text.size() && text[pos] == c) {
        ++pos;
        return true;
    }
    return false;
}

int daysInMonth(int year, int month) {
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

} // namespace

std::string skyReport(double latitude, double longitude, Date when) {
    std::string text;
    text += "Sky at " + coordinate(latitude, 'N', 'S') + ", " + coordinate(longitude, 'E', 'W') +
            " on " + localTime(when.secondsSince1970, "%Y-%m-%d %H:%M %Z") + "\n\n";

    // Apparent places of date from the almanac layer, which works in UTC fields.
    const std::time_t seconds = static_cast<std::time_t>(std::floor(when.secondsSince1970));
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    setLightMapTime(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                    utc.tm_sec);
    TimeMeasures();
    Nutation();
    Aries();
    Sun();
    Moon();
    const AlmanacState& almanac = almanacState();

    const double mjd = modifiedJulianDay(when);
    text += "Sun\n";
    text += printed("  Altitude        %6.1f\xC2\xB0\n", sunAltitude(mjd, longitude, latitude));
    text += printed("  Azimuth         %6.1f\xC2\xB0\n",
                    sunAzimuth(longitude, latitude, julianDay2000(when)));
    text += "  Right ascension " + hoursMinutesSeconds(almanac.RAsun / 15.0) + "\n";
    text += "  Declination     " + degreesMinutes(almanac.DECsun) + "\n\n";

    const MoonSkyData moon = calculateMoonInfo(when, longitude, latitude);
    const CurrentPhase now = currentPhase(when);
    text += "Moon\n";
    // As seen from the place, like the rise and set times; the sun's parallax is too small to
    // show.
    text += printed("  Altitude        %6.1f\xC2\xB0\n",
                    topocentricMoonAltitude(moon.altitude, moon.distance, latitude));
    text += printed("  Azimuth         %6.1f\xC2\xB0\n", moon.azimuth);
    text += "  Right ascension " + hoursMinutesSeconds(almanac.RAmoon / 15.0) + "\n";
    text += "  Declination     " + degreesMinutes(almanac.DECmoon) + "\n";
    text += printed("  Distance        %.0f km\n", moon.distance);
    text += "  Phase           " + nameForPhase(now.phase) + "\n";
    text += printed("  Age             %.1f days\n", now.age);
    text += printed("  Illumination    %.0f%%\n", now.illumination * 100.0);

    const int zone = systemZoneSeconds(when);
    const MoonRiseAndSet today = calculateMoonRiseAndSet(when, zone, longitude, latitude);
    text += "  Moonrise        " + riseOrSet(today.rise, today.riseAzimuth, "none this day") + "\n";
    text += "  Moonset         " + riseOrSet(today.set, today.setAzimuth, "none this day") + "\n\n";

    text += "Next phases\n";
    for (const PhaseRecord& record : nextPhases(4, when)) {
        text += printed("  %-15s %s\n", nameForPhase(record.phase).c_str(),
                        localTime(record.time, "%Y-%m-%d %H:%M %Z").c_str());
    }
    return text;
}

std::optional<Date> parseSkyDate(std::string_view text) {
    std::size_t pos = 0;
    int year = 0;
    int month = 0;
    int day = 0;
    if (!digits(text, pos, 4, year) || !literal(text, pos, '-') || !digits(text, pos, 2, month) ||
        !literal(text, pos, '-') || !digits(text, pos, 2, day)) {
        return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) {
        return std::nullopt;
    }

    int hour = 0;
    int minute = 0;
    int second = 0;
    if (literal(text, pos, 'T') || literal(text, pos, ' ')) {
        if (!digits(text, pos, 2, hour) || !literal(text, pos, ':') ||
            !digits(text, pos, 2, minute)) {
            return std::nullopt;
        }
        if (literal(text, pos, ':') && !digits(text, pos, 2, second)) {
            return std::nullopt;
        }
        if (hour > 23 || minute > 59 || second > 59) {
            return std::nullopt;
        }
    }

    std::optional<int> offsetSeconds;
    if (literal(text, pos, 'Z')) {
        offsetSeconds = 0;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        const int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int offsetHours = 0;
        int offsetMinutes = 0;
        if (!digits(text, pos, 2, offsetHours) || !literal(text, pos, ':') ||
            !digits(text, pos, 2, offsetMinutes) || offsetHours > 14 || offsetMinutes > 59) {
            return std::nullopt;
        }
        offsetSeconds = sign * (offsetHours * 3600 + offsetMinutes * 60);
    }
    if (pos != text.size()) {
        return std::nullopt;
    }

    if (offsetSeconds) {
        // Whole seconds from the day number keep the result exact.
        constexpr long kDayNumberOfUnixEpoch = 2440588;
        const long days = julianDayNumber(year, month, day) - kDayNumberOfUnixEpoch;
        const long seconds = days * 86400L + hour * 3600L + minute * 60L + second - *offsetSeconds;
        return Date{static_cast<double>(seconds)};
    }
    std::tm parts{};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    const std::time_t local = std::mktime(&parts);
    if (local == static_cast<std::time_t>(-1)) {
        return std::nullopt;
    }
    return Date{static_cast<double>(local)};
}

} // namespace corvane
