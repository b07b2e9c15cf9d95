#include "sky/MoonLongitude.h"

#include "sky/AngleMath.h"
#include "sky/LowPrecisionMoon.h"

#include <numbers>

namespace corvane {

namespace {
double moonLongitude = 0.0;
} // namespace

void MOON_computeMoon(double T) {
    moonLongitude = 2.0 * std::numbers::pi * moonZodiac(T);
}

void MOON_Moon(double jd) {
    MOON_computeMoon((jd - 2451545.0) / 36525.0);
}

double MOON_L_Moon() {
    return moonLongitude;
}

double MOON_frac(double x) {
    return frac(x);
}

double MOON_lambda() {
    return moonLongitude * 180.0 / std::numbers::pi;
}

} // namespace corvane
