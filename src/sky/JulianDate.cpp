#include "sky/JulianDate.h"

#include <cmath>
#include <ctime>

namespace corvane {

namespace {

constexpr double kJulianDayOf2001 = 2451910.5;

struct CalendarFields {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    double second = 0.0;
};

CalendarFields fieldsFromTm(const std::tm& parts, double fractionOfSecond) {
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec + fractionOfSecond};
}

// Wall clock fields of date in a zone with a fixed offset.
CalendarFields zoneFields(Date date, int zoneSeconds) {
    const double shifted = date.secondsSince1970 + zoneSeconds;
    const double whole = std::floor(shifted);
    const std::time_t seconds = static_cast<std::time_t>(whole);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    return fieldsFromTm(parts, shifted - whole);
}

CalendarFields localFields(Date date) {
    const double whole = std::floor(date.secondsSince1970);
    const std::time_t seconds = static_cast<std::time_t>(whole);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return fieldsFromTm(parts, date.secondsSince1970 - whole);
}

double preciseDay(const CalendarFields& f) {
    return julianDayFromFields(f.year, f.month, f.day, f.hour, f.minute, f.second);
}

double baseDay(const CalendarFields& f) {
    return static_cast<double>(julianDayNumber(f.year, f.month, f.day)) - 0.5;
}

} // namespace

long julianDayNumber(int year, int month, int day) {
    const long a = (14 - month) / 12;
    const long y = year + 4800 - a;
    return day + ((month + 12 * a) * 153 - 457) / 5 + 365 * y + y / 4 - y / 100 + y / 400 - 32045;
}

double julianDayFromFields(int year, int month, int day, int hour, int minute, double second) {
    return static_cast<double>(julianDayNumber(year, month, day)) + (hour - 12) / 24.0 +
           minute / 1440.0 + second / 86400.0;
}

double julianDayForGregorianDate(int year, int month, int day, int hour, int minute,
                                 double seconds) {
    const double y = year;
    const double m = month;
    return 367.0 * y - std::floor(7.0 * (y + std::floor((m + 9.0) / 12.0)) / 4.0) -
           std::floor(3.0 * (std::floor((y + (m - 9.0) / 7.0) / 100.0) + 1.0) / 4.0) +
           std::floor(275.0 * m / 9.0) + day + 1721028.5 +
           (hour + minute / 60.0 + seconds / 3600.0) / 24.0;
}

double julianCenturyForJulianDay(double jd) {
    return (jd - kJulianDayOfJ2000) / 36525.0;
}

double julianDay(Date date) {
    return preciseDay(zoneFields(date, 0));
}
double julianDayBase(Date date) {
    return baseDay(zoneFields(date, 0));
}
double julianDay2000(Date date) {
    return julianDay(date) - kJulianDayOfJ2000;
}

double julianDay2000WithTimezone(Date date, int zoneSeconds) {
    const CalendarFields f = zoneFields(date, zoneSeconds);
    const double secondsOfDay = f.hour * 3600.0 + f.minute * 60.0 + f.second;
    return baseDay(f) + secondsOfDay / 86400.0 - kJulianDayOfJ2000;
}

double julianDayBaseWithTimezone(Date date, int zoneSeconds) {
    return baseDay(zoneFields(date, zoneSeconds));
}

double localJulianDay(Date date) {
    return baseDay(localFields(date));
}
double localJulianDayPrecise(Date date) {
    return preciseDay(localFields(date));
}

double modifiedJulianDay(Date date) {
    return julianDay(date) - kModifiedJulianDayOffset;
}
double modifiedJulianDayBase(Date date) {
    return julianDayBase(date) - kModifiedJulianDayOffset;
}
double localModifiedJulianDay(Date date) {
    return localJulianDay(date) - kModifiedJulianDayOffset;
}
double localModifiedJulianDayPrecise(Date date) {
    return localJulianDayPrecise(date) - kModifiedJulianDayOffset;
}

double modifiedJulianDayWithTimezone(Date date, int zoneSeconds) {
    return julianDayBaseWithTimezone(date, zoneSeconds) - kModifiedJulianDayOffset;
}

double modifiedJulianDayWithTimezonePrecise(Date date, int zoneSeconds) {
    return preciseDay(zoneFields(date, zoneSeconds)) - kModifiedJulianDayOffset;
}

double localModifiedJulianDayPreciseWithTimezone(Date date, int zoneSeconds) {
    return modifiedJulianDayWithTimezonePrecise(date, zoneSeconds);
}

Date convertToTimezone(Date date, int zoneSeconds) {
    return Date{date.secondsSince1970 - systemZoneSeconds(date) + zoneSeconds};
}

Date dateWithJulianDay(double jd) {
    return Date::fromSecondsSince2001((jd - kJulianDayOf2001) * 86400.0);
}

Date dateWithModifiedJulianDay(double mjd) {
    return dateWithJulianDay(mjd + kModifiedJulianDayOffset);
}

int systemZoneSeconds(Date date) {
    const std::time_t seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970));
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return static_cast<int>(parts.tm_gmtoff);
}

} // namespace corvane
