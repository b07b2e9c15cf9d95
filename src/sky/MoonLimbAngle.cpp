#include "sky/MoonLimbAngle.h"

#include "sky/AngleMath.h"
#include "sky/MoonCompute.h"
#include "sky/MoonLongitude.h"
#include "sky/SiderealTime.h"
#include "sky/Vsop87Earth.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

// TD - UT assumed for the moon's place, seconds.
constexpr double kDeltaT = 67.0;
constexpr double kHalfSynodicMonth = 14.76529434;

double toDegrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

struct SunPlace {
    double rightAscension; // degrees
    double declination;    // degrees
};

// Geocentric sun from the earth's heliocentric place, mean equator and equinox of date.
SunPlace sunFromEarth(double jd) {
    const double T = (jd - 2451545.0) / 36525.0;
    EARTH_EarthCompute(jd);
    const double l = EARTH_earthL();
    const double b = EARTH_earthB();
    const double r = EARTH_earthR();
    const double x = -r * std::cos(b) * std::cos(l);
    const double y = -r * std::cos(b) * std::sin(l);
    const double z = -r * std::sin(b);
    double lambda = toDegrees(std::atan2(y, x));
    if (lambda < 0.0) {
        lambda += 360.0;
    }
    const double beta = toDegrees(std::atan2(z, std::sqrt(x * x + y * y)));

    const double epsilon = meanObliquity(T);
    double alpha = toDegrees(
        std::atan2(sind(lambda) * cosd(epsilon) - tand(beta) * sind(epsilon), cosd(lambda)));
    if (alpha < 0.0) {
        alpha += 360.0;
    }
    const double delta =
        asind(sind(beta) * cosd(epsilon) + cosd(beta) * sind(epsilon) * sind(lambda));
    return {alpha, delta};
}

double positionAngle(const SunPlace& sun, double moonAlpha, double moonDelta) {
    return toDegrees(std::atan2(cosd(sun.declination) * sind(sun.rightAscension - moonAlpha),
                                sind(sun.declination) * cosd(moonDelta) -
                                    cosd(sun.declination) * sind(moonDelta) *
                                        cosd(sun.rightAscension - moonAlpha)));
}

} // namespace

double brightLimbPositionAngle(double jd) {
    const SunPlace sun = sunFromEarth(jd);
    MoonCompute(jd, kDeltaT);
    double chi = positionAngle(sun, MOONCOM_RA(), MOONCOM_DEC());
    return chi < 0.0 ? chi + 360.0 : chi;
}

double PlanetRiseSet(double jd, double latitude, double longitude, double age) {
    // The short series fills the moon's longitude for other readers of the MOON_ state; the
    // angle itself takes the full place below.
    MOON_computeMoon((jd - 2451545.0) / 36525.0);

    const SunPlace sun = sunFromEarth(jd);
    MoonCompute(jd, kDeltaT);
    const double alpha = MOONCOM_RA();
    const double delta = MOONCOM_DEC();
    const double chi = positionAngle(sun, alpha, delta);

    // Parallactic angle: how the observer's vertical leans against the disc's north.
    const double hourAngle = THETA0(jd) + longitude - alpha;
    const double q = toDegrees(
        std::atan2(sind(hourAngle), cosd(delta) * tand(latitude) - sind(delta) * cosd(hourAngle)));

    double angle = chi - q;
    if (angle < 0.0) {
        angle += 360.0;
    }
    angle = 360.0 - angle - 90.0;
    if (age < kHalfSynodicMonth) {
        angle += 180.0;
    }
    if (angle > 360.0) {
        angle -= 360.0;
    }
    if (angle < 0.0) {
        angle += 360.0;
    }
    return angle;
}

double MoonLimbAngle(double jd, double latitude, double longitude, double age) {
    return PlanetRiseSet(jd, latitude, longitude, age);
}

} // namespace corvane
