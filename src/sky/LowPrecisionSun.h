#pragma once

#include "sky/EquatorialPoint.h"

// Few-term solar positions for altitude and rise tests: good to about an arc-minute over this
// century, pure and cheap. Longitudes east positive, latitudes north positive, degrees.

namespace corvane {

// T in Julian centuries from MJD 51544.5.
EquatorialPoint sunPosition(double T);
// Sine of the sun's altitude at mjd + hour / 24 + minute / 1440.
double sunSinAlt(double mjd, double hour, double minute, double longitude, double cosLat,
                 double sinLat);
// Altitude in degrees.
double sunAltitude(double mjd, double longitude, double latitude);
// Azimuth in degrees from north through east, by a medium-precision path;
// days counted from J2000.0 (JD 2451545.0).
double sunAzimuth(double longitude, double latitude, double days);

} // namespace corvane
