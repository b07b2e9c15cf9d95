#pragma once

// Summation of Meeus's lunar periodic terms (tables in LunarSeriesTables.h). The polynomial
// expressions of the fundamental arguments differ between the first (1991) and second (1998)
// edition of Astronomical Algorithms; each model picks the set it was fitted with.

namespace corvane {

struct LunarArguments {
    double t = 0.0;      // Julian centuries from J2000.0
    double lPrime = 0.0; // moon's mean longitude, degrees
    double d = 0.0;      // mean elongation, degrees
    double m = 0.0;      // sun's mean anomaly, degrees
    double mPrime = 0.0; // moon's mean anomaly, degrees
    double f = 0.0;      // moon's argument of latitude, degrees
};

struct LunarSums {
    double longitude = 0.0; // sum of l, 1e-6 degree, additive terms included
    double latitude = 0.0;  // sum of b, 1e-6 degree, additive terms included
    double distance = 0.0;  // sum of r, 1e-3 km
};

LunarArguments lunarArguments1998(double t);
LunarArguments lunarArguments1991(double t);

LunarSums lunarSeriesSums(const LunarArguments& arguments);

} // namespace corvane
