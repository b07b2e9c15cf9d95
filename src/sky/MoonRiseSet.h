#pragma once

#include "foundation/Date.h"

// Moonrise and moonset by hourly sampling of the low-precision moon and parabolic interpolation
// (quad) in steps of two hours. The horizon is a geocentric altitude of +8 arc-minutes, which
// folds in parallax, refraction and the semi-diameter for the upper limb.

namespace corvane {

// Results outside any real time. Consumers test for values above 0 before use.
inline constexpr double kMoonUpAllDay = -2147483648.0;
inline constexpr double kMoonDownAllDay = -2147483647.0;
inline constexpr double kNoMoonrise = -2147483646.0;
inline constexpr double kNoMoonset = -2147483645.0;

// sin(8')
inline constexpr double kMoonHorizonSine = 0.00232710356629117;

struct RiseSet {
    double rise = 0.0; // Unix seconds or a sentinel
    double set = 0.0;
};

// One day: mjd is the day's start (local midnight) as a Modified Julian Day in UT, zoneHours
// the zone's offset east of UTC and dayStartSeconds the Unix time of that date's 00:00 UTC.
RiseSet moonRiseSet(double mjd, double zoneHours, double dayStartSeconds, double longitude,
                    double latitude);
// The first rise and the first set later than nowSeconds, searching forward up to a year.
RiseSet moonNextRiseSet(double nowSeconds, double mjd, double zoneHours, double dayStartSeconds,
                        double longitude, double latitude);

// MJD of the last moonrise before date within a year, or kNoMoonrise.
double moonriseBeforeDate(Date date, int zoneSeconds, double longitude, double latitude);
// MJD of the first moonset after date within a year, or kNoMoonset.
double moonsetAfterDate(Date date, int zoneSeconds, double longitude, double latitude);

// "rise", "set" (Unix seconds or sentinels) of the date's day in the zone; the azimuths are set
// for times above 0, NaN otherwise.
struct MoonRiseAndSet {
    double rise = 0.0;
    double set = 0.0;
    double riseAzimuth = 0.0;
    double setAzimuth = 0.0;
};
MoonRiseAndSet calculateMoonRiseAndSet(Date date, int zoneSeconds, double longitude,
                                       double latitude);

// "next-rise", "next-set" after date.
struct NextMoonRiseAndSet {
    double nextRise = 0.0;
    double nextSet = 0.0;
};
NextMoonRiseAndSet calculateNextMoonRiseAndSet(Date date, int zoneSeconds, double longitude,
                                               double latitude);

// Local midnight of the date's day in the zone: Unix seconds of the date at 00:00 UTC, and the
// MJD (UT) of the zone's midnight.
struct ZoneDay {
    double utcDayStartSeconds = 0.0;
    double mjd = 0.0;
};
ZoneDay zoneDay(Date date, int zoneSeconds);

} // namespace corvane
