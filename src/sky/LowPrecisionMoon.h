#pragma once

#include "sky/EquatorialPoint.h"

// Few-term lunar positions (14 terms in longitude, 8 in latitude) for the rise and set search:
// a few arc-minutes, cheap enough for hourly sampling over a year.

namespace corvane {

// T in Julian centuries from MJD 51544.5; mean equinox of date, obliquity fixed at J2000.
EquatorialPoint moonPosition(double T);
// Ecliptic longitude as a fraction of a turn.
double moonZodiac(double T);
// Sine of the moon's geocentric altitude at mjd + hour / 24 + minute / 1440.
double moonSinAlt(double mjd, double hour, double minute, double longitude, double cosLat,
                  double sinLat);

} // namespace corvane
