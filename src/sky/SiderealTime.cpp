#include "sky/SiderealTime.h"

#include <cmath>

namespace corvane {

namespace {
constexpr double kJ2000 = 2451545.0;
constexpr double kMjdOfJ2000 = 51544.5;
} // namespace

double meanSiderealAngle(double daysFromJ2000) {
    const double t = daysFromJ2000 / 36525.0;
    return 280.46061837 + 360.98564736629 * daysFromJ2000 + 0.000387933 * t * t -
           t * t * t / 38710000.0;
}

double localSiderealTimeForJulianDayLongitude(double jd, double longitude) {
    double angle = std::fmod(meanSiderealAngle(jd - kJ2000), 360.0);
    if (angle < 0.0) {
        angle += 360.0;
    }
    const double hours = angle / 15.0 + longitude / 15.0;
    return std::fmod(hours + 24.0, 24.0);
}

double gmst(double mjd) {
    const double day = std::floor(mjd);
    const double t0 = (day - kMjdOfJ2000) / 36525.0;
    const double t = (mjd - kMjdOfJ2000) / 36525.0;
    const double seconds = 24110.54841 + 8640184.812866 * t0 +
                           (mjd - day) * 86400.0 * 1.0027379093 +
                           (0.093104 - 0.0000062 * t) * t * t;
    const double turns = seconds / 86400.0;
    return (turns - std::floor(turns)) * 86400.0 * 7.27220521664304e-5;
}

double lmst(double mjd, double longitude) {
    const double turns = meanSiderealAngle(mjd - kMjdOfJ2000) / 360.0;
    double angle = (turns - std::trunc(turns)) * 360.0;
    if (angle < 0.0) {
        angle += 360.0;
    }
    return angle / 15.0 + longitude / 15.0;
}

double THETA0(double jd) {
    double angle = std::fmod(meanSiderealAngle(jd - kJ2000), 360.0);
    if (angle < 0.0) {
        angle += 360.0;
    }
    return angle;
}

} // namespace corvane
