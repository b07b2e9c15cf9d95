#include "sky/AngleMath.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {
constexpr double kDegreesPerRadian = 57.29577951308232;
} // namespace

double sind(double degrees) {
    return std::sin(degrees * std::numbers::pi / 180.0);
}
double cosd(double degrees) {
    return std::cos(degrees * std::numbers::pi / 180.0);
}
double tand(double degrees) {
    return std::tan(degrees * std::numbers::pi / 180.0);
}
double asind(double ratio) {
    return std::asin(ratio) * kDegreesPerRadian;
}
double acosd(double ratio) {
    return std::acos(ratio) * kDegreesPerRadian;
}

double atan2d(double y, double x) {
    double degrees = std::atan(y / x) * kDegreesPerRadian;
    if (x < 0.0) {
        degrees -= 180.0;
    }
    return degrees;
}

double sind2(double degrees) {
    return std::sin(degrees * dtr);
}
double cosd2(double degrees) {
    return std::cos(degrees * dtr);
}
double tand2(double degrees) {
    return std::tan(degrees * dtr);
}

double trunc2(double degrees) {
    double reduced = degrees - 360.0 * std::floor(degrees / 360.0);
    // A tiny negative input can round up to exactly 360.
    return reduced >= 360.0 ? 0.0 : reduced;
}

double range(double degrees) {
    double reduced = std::fmod(degrees, 360.0);
    return reduced < 0.0 ? reduced + 360.0 : reduced;
}

double frac(double x) {
    double fraction = x - std::floor(x);
    return fraction < 0.0 ? fraction + 1.0 : fraction;
}

double Modulo(double x, double y) {
    return (x / y - std::floor(x / y)) * y;
}

double Rad2Deg2(double radians) {
    return radians / std::numbers::pi * 180.0;
}

double arcsin(double ratio) {
    if (ratio == 1.0) {
        return std::numbers::pi / 2.0;
    }
    if (ratio == -1.0) {
        return -std::numbers::pi / 2.0;
    }
    return std::atan(ratio / std::sqrt(1.0 - ratio * ratio));
}

} // namespace corvane
