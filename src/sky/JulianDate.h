#pragma once

#include "foundation/Date.h"

// Julian and Modified Julian Day forms of a Date. A zone is given as its offset from UTC in
// seconds, east positive, as in effect at the date; "local" forms use the system zone.

namespace corvane {

inline constexpr double kJulianDayOfJ2000 = 2451545.0;
inline constexpr double kModifiedJulianDayOffset = 2400000.5;

// Day number at noon of a Gregorian date (integer arithmetic, truncating divisions).
long julianDayNumber(int year, int month, int day);
// The day number plus (hour - 12) / 24 + minute / 1440 + second / 86400.
double julianDayFromFields(int year, int month, int day, int hour, int minute, double second);

// A second formula for the same thing, kept for the callers that were fitted with it.
double julianDayForGregorianDate(int year, int month, int day, int hour, int minute,
                                 double seconds);
double julianCenturyForJulianDay(double jd);

double julianDay(Date date);
double julianDayBase(Date date);
double julianDay2000(Date date);
double julianDay2000WithTimezone(Date date, int zoneSeconds);
double julianDayBaseWithTimezone(Date date, int zoneSeconds);
double localJulianDay(Date date);
double localJulianDayPrecise(Date date);

double modifiedJulianDay(Date date);
double modifiedJulianDayBase(Date date);
double localModifiedJulianDay(Date date);
double localModifiedJulianDayPrecise(Date date);
double modifiedJulianDayWithTimezone(Date date, int zoneSeconds);
double modifiedJulianDayWithTimezonePrecise(Date date, int zoneSeconds);
double localModifiedJulianDayPreciseWithTimezone(Date date, int zoneSeconds);

// The date moved by minus the system zone's offset and plus the given one: the instant whose
// system-zone wall clock reads what the given zone's wall clock reads at date.
Date convertToTimezone(Date date, int zoneSeconds);
Date dateWithJulianDay(double jd);
Date dateWithModifiedJulianDay(double mjd);

// Offset of the system zone at date (localtime_r), seconds east of UTC.
int systemZoneSeconds(Date date);

} // namespace corvane
