#include "sky/MoonPhaseModel.h"

#include "sky/AngleMath.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

constexpr double kEpoch1980 = 2444238.5;
constexpr double kSunEclipticLongitudeAtEpoch = 278.83354;
constexpr double kSunPerigeeLongitude = 282.596403;
constexpr double kEarthEccentricity = 0.016718;
constexpr double kSunSemiMajorAxis = 149598500.0;
constexpr double kSunAngularSizeAtSemiMajorAxis = 0.533128;
constexpr double kMoonMeanLongitudeAtEpoch = 64.975464;
constexpr double kMoonPerigeeLongitudeAtEpoch = 349.383063;
constexpr double kMoonSemiMajorAxis = 384401.0;
constexpr double kMoonAngularSizeAtSemiMajorAxis = 0.5181;

double toDegrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

} // namespace

double kepler(double meanAnomaly, double eccentricity) {
    const double m = meanAnomaly * std::numbers::pi / 180.0;
    double e = m;
    double delta = 0.0;
    do {
        delta = e - eccentricity * std::sin(e) - m;
        e -= delta / (1.0 - eccentricity * std::cos(e));
    } while (std::fabs(delta) > 1e-6);
    return e;
}

PhaseResult phase(double jd) {
    const double day = jd - kEpoch1980;

    // Sun.
    const double n = trunc2(360.0 / 365.2422 * day);
    const double m = trunc2(n + kSunEclipticLongitudeAtEpoch - kSunPerigeeLongitude);
    const double eccentricAnomaly = kepler(m, kEarthEccentricity);
    const double trueAnomaly =
        2.0 * toDegrees(std::atan(1.0168601118216303 * std::tan(eccentricAnomaly / 2.0)));
    const double sunLongitude = trunc2(trueAnomaly + kSunPerigeeLongitude);
    const double orbitalFactor = (1.0 + kEarthEccentricity * cosd(trueAnomaly)) / 0.999720508476;

    // Moon: mean longitude and anomaly, then evection, annual equation, the centre and variation.
    const double meanLongitude = trunc2(13.1763966 * day + kMoonMeanLongitudeAtEpoch);
    const double meanAnomaly =
        trunc2(meanLongitude - 0.1114041 * day - kMoonPerigeeLongitudeAtEpoch);
    const double evection = 1.2739 * sind(2.0 * (meanLongitude - sunLongitude) - meanAnomaly);
    const double annualEquation = 0.1858 * sind(m);
    const double a3 = 0.37 * sind(m);
    const double correctedAnomaly = meanAnomaly + evection - annualEquation - a3;
    const double centre = 6.2886 * sind(correctedAnomaly);
    const double a4 = 0.214 * sind(2.0 * correctedAnomaly);
    const double correctedLongitude = meanLongitude + evection + centre - annualEquation + a4;
    const double variation = 0.6583 * sind(2.0 * (correctedLongitude - sunLongitude));
    const double trueLongitude = correctedLongitude + variation;

    const double ageDegrees = trueLongitude - sunLongitude;
    PhaseResult result;
    result.illumination = (1.0 - cosd(ageDegrees)) / 2.0;
    result.fraction = trunc2(ageDegrees) / 360.0;
    result.age = kSynodicMonth * result.fraction;
    result.distance = 383242.41154199 / (1.0 + 0.0549 * cosd(correctedAnomaly + centre));
    result.angularDiameter =
        kMoonAngularSizeAtSemiMajorAxis / (result.distance / kMoonSemiMajorAxis);
    result.sunDistance = kSunSemiMajorAxis / orbitalFactor;
    result.sunAngularDiameter = orbitalFactor * kSunAngularSizeAtSemiMajorAxis;
    return result;
}

double meanphase(double jd, double k) {
    const double t = (jd - 2415020.0) / 36525.0;
    const double t2 = t * t;
    const double t3 = t2 * t;
    return 2415020.75933 + kSynodicMonth * k + 0.0001178 * t2 - 0.000000155 * t3 +
           0.00033 * sind(166.56 + 132.87 * t - 0.009173 * t2);
}

double truephase(double k, double f) {
    const double lunation = k + f;
    const double t = lunation / 1236.85;
    const double t2 = t * t;
    const double t3 = t2 * t;
    double time = 2415020.75933 + kSynodicMonth * lunation + 0.0001178 * t2 - 0.000000155 * t3 +
                  0.00033 * sind(166.56 + 132.87 * t - 0.009173 * t2);
    const double m = 359.2242 + 29.10535608 * lunation - 0.0000333 * t2 - 0.00000347 * t3;
    const double mp = 306.0253 + 385.81691806 * lunation + 0.0107306 * t2 + 0.00001236 * t3;
    const double fa = 21.2964 + 390.67050646 * lunation - 0.0016528 * t2 - 0.00000239 * t3;

    if (f < 0.01 || std::fabs(f - 0.5) < 0.01) {
        time += (0.1734 - 0.000393 * t) * sind(m) + 0.0021 * sind(2.0 * m) - 0.4068 * sind(mp) +
                0.0161 * sind(2.0 * mp) - 0.0004 * sind(3.0 * mp) + 0.0104 * sind(2.0 * fa) -
                0.0051 * sind(m + mp) - 0.0074 * sind(m - mp) + 0.0004 * sind(2.0 * fa + m) -
                0.0004 * sind(2.0 * fa - m) - 0.0006 * sind(2.0 * fa + mp) +
                0.0010 * sind(2.0 * fa - mp) + 0.0005 * sind(m + 2.0 * mp);
    } else if (std::fabs(f - 0.25) < 0.01 || std::fabs(f - 0.75) < 0.01) {
        time += (0.1721 - 0.0004 * t) * sind(m) + 0.0021 * sind(2.0 * m) - 0.6280 * sind(mp) +
                0.0089 * sind(2.0 * mp) - 0.0004 * sind(3.0 * mp) + 0.0079 * sind(2.0 * fa) -
                0.0119 * sind(m + mp) - 0.0047 * sind(m - mp) + 0.0003 * sind(2.0 * fa + m) -
                0.0004 * sind(2.0 * fa - m) - 0.0006 * sind(2.0 * fa + mp) +
                0.0021 * sind(2.0 * fa - mp) + 0.0003 * sind(m + 2.0 * mp) +
                0.0004 * sind(m - 2.0 * mp) - 0.0003 * sind(2.0 * m + mp);
        // The quarters lie on opposite sides of the line of syzygies.
        if (f < 0.5) {
            time += 0.0028 - 0.0004 * cosd(m) + 0.0003 * cosd(mp);
        } else {
            time += -0.0028 + 0.0004 * cosd(m) - 0.0003 * cosd(mp);
        }
    }
    return time;
}

void calendarYearMonth(double jd, int& year, int& month) {
    const double z = std::floor(jd + 0.5);
    double a = z;
    if (z >= 2299161.0) {
        const double alpha = std::floor((z - 1867216.25) / 36524.25);
        a = z + 1.0 + alpha - std::floor(alpha / 4.0);
    }
    const double b = a + 1524.0;
    const double c = std::floor((b - 122.1) / 365.25);
    const double d = std::floor(365.25 * c);
    const double e = std::floor((b - d) / 30.6001);
    month = static_cast<int>(e < 14.0 ? e - 1.0 : e - 13.0);
    year = static_cast<int>(month > 2 ? c - 4716.0 : c - 4715.0);
}

double lunationstart(double jd) {
    int year = 0;
    int month = 0;
    double date = jd - 45.0;
    calendarYearMonth(date, year, month);
    double k = std::floor((year + (month - 1) / 12.0 - 1900.0) * 12.3685);
    double previous = meanphase(date, k);
    date = previous;
    for (;;) {
        date += kSynodicMonth;
        const double next = meanphase(date, k + 1.0);
        if (previous <= jd && next > jd) {
            return k;
        }
        previous = next;
        k += 1.0;
    }
}

} // namespace corvane
