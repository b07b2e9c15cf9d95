#include "sky/MoonPhaseImage.h"

#include <cmath>

namespace corvane {

namespace {

constexpr double kHalfSynodicMonth = 14.76529434;

// Terminator abscissa: the range R is wider than the disc so that the curve's bulge, three
// quarters of the way to its control points, can reach the rim at new and full moon.
double terminator(double range, double size, double age, double illumination) {
    double x = 0.0;
    if (age >= kHalfSynodicMonth) {
        x = static_cast<float>(range * (illumination * 1.02));
        if (illumination > 0.98) {
            x = range;
        } else if (illumination < 0.02) {
            x = 0.0;
        }
    } else {
        x = range - range * (illumination * 1.02);
        if (illumination > 0.98) {
            x = 0.0;
        } else if (illumination < 0.02) {
            x = range;
        }
    }
    return x - (range - size) / 2.0;
}

// Abscissa of the terminator curve at height y (0..S); its height falls monotonically from S to
// 0 along the curve, so bisection finds the parameter.
double curveX(const MoonPhaseGeometry& g, double y) {
    auto height = [&](double t) {
        const double u = 1.0 - t;
        return u * u * u * g.start.y + 3.0 * u * u * t * g.control1.y +
               3.0 * u * t * t * g.control2.y + t * t * t * g.curveEnd.y;
    };
    double low = 0.0;
    double high = 1.0;
    for (int i = 0; i < 60; ++i) {
        const double mid = 0.5 * (low + high);
        if (height(mid) > y) {
            low = mid;
        } else {
            high = mid;
        }
    }
    const double t = 0.5 * (low + high);
    const double u = 1.0 - t;
    return u * u * u * g.start.x + 3.0 * u * u * t * g.control1.x + 3.0 * u * t * t * g.control2.x +
           t * t * t * g.curveEnd.x;
}

} // namespace

MoonPhaseImageLayout currentMoonImageLayout() {
    return {120, 150, "stats-moon-dark-120", "stats-moon-light-120"};
}

MoonPhaseImageLayout currentSmallMoonImageLayout() {
    return {16, 22, "menubar-moon-dark", "menubar-moon-light"};
}

MoonPhaseGeometry moonPhaseGeometry(int size, int range, double age, double illumination,
                                    double angle) {
    const double s = size;
    MoonPhaseGeometry g;
    g.size = s;
    g.centre = {s / 2.0, s / 2.0};
    g.clipRadius = s / 2.0 - 1.0;
    g.rotation = angle / 360.0 * 6.28;
    g.terminatorX = terminator(range, s, age, illumination);
    g.older = age >= kHalfSynodicMonth;
    g.start = {s / 2.0, s};
    g.control1 = {g.terminatorX, s};
    g.control2 = {g.terminatorX, 0.0};
    g.curveEnd = {s / 2.0, 0.0};
    if (g.older) {
        g.side1 = {s, 0.0};
        g.side2 = {s, s};
    } else {
        g.side1 = {0.0, 0.0};
        g.side2 = {0.0, s};
    }
    return g;
}

bool MoonPhaseGeometry::isLit(double x, double y) const {
    const double dx = x - centre.x;
    const double dy = y - centre.y;
    if (dx * dx + dy * dy > clipRadius * clipRadius || y < 0.0 || y > size) {
        return false;
    }
    const double boundary = curveX(*this, y);
    const bool inRegion = older ? x > boundary : x < boundary;
    return !inRegion;
}

} // namespace corvane
