#include "sky/LowPrecisionSun.h"

#include "sky/AngleMath.h"
#include "sky/SiderealTime.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

constexpr double kTwoPi = 6.283185307;
// Sine and cosine of the obliquity, fixed at their J2000 values.
constexpr double kSinObliquity = 0.39778;
constexpr double kCosObliquity = 0.91748;
constexpr double kMjdOfJ2000 = 51544.5;

double sineOfAltitude(double mjd, double longitude, double cosLat, double sinLat) {
    const EquatorialPoint sun = sunPosition((mjd - kMjdOfJ2000) / 36525.0);
    const double hourAngle = 15.0 * (lmst(mjd, longitude) - sun.rightAscension);
    const double dec = sun.declination * 0.0174532925;
    return std::sin(dec) * sinLat + std::cos(dec) * cosLat * std::cos(hourAngle * 0.0174532925);
}

} // namespace

EquatorialPoint sunPosition(double T) {
    const double m = kTwoPi * frac(0.993133 + 99.997361 * T);
    const double l =
        kTwoPi * frac(0.7859453 + m / kTwoPi +
                      (6893.0 * std::sin(m) + 72.0 * std::sin(2.0 * m) + 6191.2 * T) / 1296000.0);
    const double e = kSinObliquity * std::sin(l);
    const double c = std::sqrt(1.0 - e * e);
    EquatorialPoint point;
    point.declination = std::atan(e / c) * 57.29577951471995;
    point.rightAscension =
        std::atan(kCosObliquity * std::sin(l) / (std::cos(l) + c)) * 7.639437268629327;
    if (point.rightAscension < 0.0) {
        point.rightAscension += 24.0;
    }
    return point;
}

double sunSinAlt(double mjd, double hour, double minute, double longitude, double cosLat,
                 double sinLat) {
    return sineOfAltitude(mjd + hour / 24.0 + minute / 1440.0, longitude, cosLat, sinLat);
}

double sunAltitude(double mjd, double longitude, double latitude) {
    const double sinAlt = sineOfAltitude(mjd, longitude, std::cos(latitude * 0.0174532925),
                                         std::sin(latitude * 0.0174532925));
    return Rad2Deg2(arcsin(sinAlt));
}

double sunAzimuth(double longitude, double latitude, double days) {
    const double t = days / 36525.0;
    const double meanAnomaly =
        357.5291 + 35999.0503 * t - 0.0001559 * t * t - 0.00000045 * t * t * t;
    const double meanLongitude = 280.46645 + 36000.76983 * t + 0.0003032 * t * t;
    const double center = (1.9146 - 0.004817 * t - 0.000014 * t * t) * sind(meanAnomaly) +
                          (0.019993 - 0.000101 * t) * sind(2.0 * meanAnomaly) +
                          0.00029 * sind(3.0 * meanAnomaly);
    const double trueLongitude = meanLongitude + center;
    const double obliquity = 23.43999 - 0.013 * t;

    const double rightAscension =
        std::atan2(cosd(obliquity) * sind(trueLongitude), cosd(trueLongitude)) * 180.0 /
        std::numbers::pi;
    const double declination = asind(sind(obliquity) * sind(trueLongitude));
    const double hourAngle = meanSiderealAngle(days) + longitude - rightAscension;

    const double azimuth = std::atan2(-sind(hourAngle), cosd(latitude) * tand(declination) -
                                                            sind(latitude) * cosd(hourAngle)) *
                           180.0 / std::numbers::pi;
    return range(azimuth);
}

} // namespace corvane
