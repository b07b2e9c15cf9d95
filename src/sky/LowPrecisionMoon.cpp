#include "sky/LowPrecisionMoon.h"

#include "sky/AngleMath.h"
#include "sky/SiderealTime.h"

#include <cmath>

namespace corvane {

namespace {

constexpr double kTwoPi = 6.283185307;
constexpr double kArcsecondsPerRadian = 206264.8062;
constexpr double kSinObliquity = 0.39778;
constexpr double kCosObliquity = 0.91748;
constexpr double kMjdOfJ2000 = 51544.5;

struct EclipticPlace {
    double meanLongitude; // turns
    double perturbation;  // arc-seconds
    double longitude;     // radians
    double latitude;      // radians
};

EclipticPlace eclipticPlace(double T) {
    const double l0 = frac(0.606433 + 1336.855225 * T);
    const double l = kTwoPi * frac(0.374897 + 1325.55241 * T);
    const double ls = kTwoPi * frac(0.993133 + 99.997361 * T);
    const double d = kTwoPi * frac(0.827361 + 1236.853086 * T);
    const double f = kTwoPi * frac(0.259086 + 1342.227825 * T);

    const double dl =
        22640.0 * std::sin(l) - 4586.0 * std::sin(l - 2.0 * d) + 2370.0 * std::sin(2.0 * d) +
        769.0 * std::sin(2.0 * l) - 668.0 * std::sin(ls) - 412.0 * std::sin(2.0 * f) -
        212.0 * std::sin(2.0 * l - 2.0 * d) - 206.0 * std::sin(l + ls - 2.0 * d) +
        192.0 * std::sin(l + 2.0 * d) - 165.0 * std::sin(ls - 2.0 * d) - 125.0 * std::sin(d) -
        110.0 * std::sin(l + ls) + 148.0 * std::sin(l - ls) - 55.0 * std::sin(2.0 * f - 2.0 * d);

    const double s =
        f + (dl + 412.0 * std::sin(2.0 * f) + 541.0 * std::sin(ls)) / kArcsecondsPerRadian;
    const double h = f - 2.0 * d;
    const double n = -526.0 * std::sin(h) + 44.0 * std::sin(l + h) - 31.0 * std::sin(h - l) -
                     23.0 * std::sin(ls + h) + 11.0 * std::sin(h - ls) -
                     25.0 * std::sin(f - 2.0 * l) + 21.0 * std::sin(f - l);

    EclipticPlace place;
    place.meanLongitude = l0;
    place.perturbation = dl;
    place.longitude = kTwoPi * frac(l0 + dl / 1296000.0);
    place.latitude = (18520.0 * std::sin(s) + n) / kArcsecondsPerRadian;
    return place;
}

} // namespace

EquatorialPoint moonPosition(double T) {
    const EclipticPlace place = eclipticPlace(T);
    const double cosBeta = std::cos(place.latitude);
    const double sinBeta = std::sin(place.latitude);
    const double sinDelta =
        kSinObliquity * std::sin(place.longitude) * cosBeta + kCosObliquity * sinBeta;
    const double c = std::sqrt(1.0 - sinDelta * sinDelta);

    EquatorialPoint point;
    point.declination = std::atan(sinDelta / c) * 57.29577951471995;
    point.rightAscension =
        std::atan((kCosObliquity * std::sin(place.longitude) * cosBeta - kSinObliquity * sinBeta) /
                  (std::cos(place.longitude) * cosBeta + c)) *
        7.639437268629327;
    if (point.rightAscension < 0.0) {
        point.rightAscension += 24.0;
    }
    return point;
}

double moonZodiac(double T) {
    const EclipticPlace place = eclipticPlace(T);
    return frac(place.meanLongitude + place.perturbation / 1296000.0);
}

double moonSinAlt(double mjd, double hour, double minute, double longitude, double cosLat,
                  double sinLat) {
    const double instant = mjd + hour / 24.0 + minute / 1440.0;
    const EquatorialPoint moon = moonPosition((instant - kMjdOfJ2000) / 36525.0);
    const double hourAngle = 15.0 * (lmst(instant, longitude) - moon.rightAscension);
    const double dec = moon.declination * 0.0174532925;
    return std::sin(dec) * sinLat + std::cos(dec) * cosLat * std::cos(hourAngle * 0.0174532925);
}

} // namespace corvane
