#include "sky/LunarSeries.h"

#include "sky/AngleMath.h"
#include "sky/LunarSeriesTables.h"

#include <cstdlib>

namespace corvane {

namespace {

// Rows whose argument contains the sun's anomaly shrink with the earth's orbital eccentricity.
double eccentricityFactor(int m, double e) {
    switch (std::abs(m)) {
    case 1:
        return e;
    case 2:
        return e * e;
    default:
        return 1.0;
    }
}

} // namespace

LunarArguments lunarArguments1998(double t) {
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double t4 = t3 * t;
    LunarArguments a;
    a.t = t;
    a.lPrime = trunc2(218.3164477 + 481267.88123421 * t - 0.0015786 * t2 + t3 / 538841.0 -
                      t4 / 65194000.0);
    a.d = trunc2(297.8501921 + 445267.1114034 * t - 0.0018819 * t2 + t3 / 545868.0 -
                 t4 / 113065000.0);
    a.m = trunc2(357.5291092 + 35999.0502909 * t - 0.0001536 * t2 + t3 / 24490000.0);
    a.mPrime =
        trunc2(134.9633964 + 477198.8675055 * t + 0.0087414 * t2 + t3 / 69699.0 - t4 / 14712000.0);
    a.f =
        trunc2(93.272095 + 483202.0175233 * t - 0.0036539 * t2 - t3 / 3526000.0 + t4 / 863310000.0);
    return a;
}

LunarArguments lunarArguments1991(double t) {
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double t4 = t3 * t;
    LunarArguments a;
    a.t = t;
    a.lPrime = trunc2(218.3164591 + 481267.88134236 * t - 0.0013268 * t2 + t3 / 538841.0 -
                      t4 / 65194000.0);
    a.d =
        trunc2(297.8502042 + 445267.1115168 * t - 0.00163 * t2 + t3 / 545868.0 - t4 / 113065000.0);
    a.m = trunc2(357.5291092 + 35999.0502909 * t - 0.0001536 * t2 + t3 / 24490000.0);
    a.mPrime =
        trunc2(134.9634114 + 477198.8676313 * t + 0.008997 * t2 + t3 / 69699.0 - t4 / 14712000.0);
    a.f = trunc2(93.2720993 + 483202.0175273 * t - 0.0034029 * t2 - t3 / 3526000.0 +
                 t4 / 863310000.0);
    return a;
}

LunarSums lunarSeriesSums(const LunarArguments& a) {
    const double e = 1.0 - 0.002516 * a.t - 0.0000074 * a.t * a.t;
    LunarSums sums;
    for (const LunarLongitudeDistanceTerm& row : kLunarLongitudeDistanceTerms) {
        const double argument =
            trunc2(row.d * a.d + row.m * a.m + row.mPrime * a.mPrime + row.f * a.f);
        const double scale = eccentricityFactor(row.m, e);
        sums.longitude += scale * row.longitude * sind(argument);
        sums.distance += scale * row.distance * cosd(argument);
    }
    for (const LunarLatitudeTerm& row : kLunarLatitudeTerms) {
        const double argument =
            trunc2(row.d * a.d + row.m * a.m + row.mPrime * a.mPrime + row.f * a.f);
        sums.latitude += eccentricityFactor(row.m, e) * row.latitude * sind(argument);
    }

    // Action of Venus (a1), Jupiter (a2) and the flattening of the earth (l', a3).
    const double a1 = trunc2(119.75 + 131.849 * a.t);
    const double a2 = trunc2(53.09 + 479264.29 * a.t);
    const double a3 = trunc2(313.45 + 481266.484 * a.t);
    sums.longitude += 3958.0 * sind(a1) + 1962.0 * sind(a.lPrime - a.f) + 318.0 * sind(a2);
    sums.latitude += -2235.0 * sind(a.lPrime) + 382.0 * sind(a3) + 175.0 * sind(a1 - a.f) +
                     175.0 * sind(a1 + a.f) + 127.0 * sind(a.lPrime - a.mPrime) -
                     115.0 * sind(a.lPrime + a.mPrime);
    return sums;
}

} // namespace corvane
