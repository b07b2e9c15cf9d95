#pragma once

#include "foundation/Date.h"

// Where the moon stands for an observer, from Meeus's lunar series (second-edition polynomials):
// the azimuth, altitude and distance shown to the user. Geocentric: no parallax correction.

namespace corvane {

struct MoonSkyData {
    double azimuth = 0.0;  // degrees from north through east
    double altitude = 0.0; // degrees
    double distance = 0.0; // km, rounded
};

// Geometric ecliptic place of date, no nutation.
struct MoonEclipticPlace {
    double longitude = 0.0; // degrees 0..360
    double latitude = 0.0;  // degrees
    double distance = 0.0;  // km, not rounded
};

MoonEclipticPlace meeusMoonPlace(double jd);

// localSiderealHours is the local mean sidereal time of jd at the observer's longitude.
MoonSkyData fetchMoonSkyData(double jd, double localSiderealHours, double longitude,
                             double latitude);
// The same for a date, working out the sidereal time first.
MoonSkyData calculateMoonInfo(Date date, double longitude, double latitude);

} // namespace corvane
