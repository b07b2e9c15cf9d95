#pragma once

// Sidereal time in the forms the engines use. Longitudes are east positive, in degrees.

namespace corvane {

// Mean sidereal angle at Greenwich in degrees, not reduced (Meeus, Astronomical Algorithms 12.4);
// daysFromJ2000 counts from JD 2451545.0 (equivalently MJD 51544.5).
double meanSiderealAngle(double daysFromJ2000);

// Local mean sidereal time in hours, 0 <= h < 24.
double localSiderealTimeForJulianDayLongitude(double jd, double longitude);
// Greenwich mean sidereal time in radians (IAU 1982 expression in seconds of time).
double gmst(double mjd);
// Local mean sidereal time in hours; the longitude term is added after reduction, so the result
// may lie outside 0..24. Callers only compare differences.
double lmst(double mjd, double longitude);
// Greenwich mean sidereal angle in degrees, 0 <= angle < 360.
double THETA0(double jd);

} // namespace corvane
