#include "sky/MoonParallax.h"

#include "sky/AngleMath.h"

#include <cmath>

namespace corvane {

namespace {

constexpr double kEquatorialRadiusKm = 6378.14;
constexpr double kPolarRatio = 0.99664719; // b / a of the reference ellipsoid

// The observer's distance from the earth's centre in equatorial radii (Meeus, chapter 11).
double centreDistance(double latitude) {
    const double u = std::atan(kPolarRatio * tand(latitude));
    return std::hypot(kPolarRatio * std::sin(u), std::cos(u));
}

} // namespace

double topocentricMoonAltitude(double geocentricAltitude, double distanceKm, double latitude) {
    // In the observer's vertical plane through the moon the observer stands the earth's radius
    // above the centre: take that from the moon's height above the centre's horizon.
    const double radius = centreDistance(latitude) * kEquatorialRadiusKm;
    const double across = distanceKm * cosd(geocentricAltitude);
    const double up = distanceKm * sind(geocentricAltitude) - radius;
    return std::atan2(up, across) / dtr;
}

} // namespace corvane
