#include "clock/SkyDay.h"

#include "foundation/Date.h"
#include "sky/LowPrecisionSun.h"
#include "sky/MoonPhase.h"
#include "sky/MoonRiseSet.h"
#include "sky/Quad.h"

#include <cmath>

namespace corvane {

namespace {

constexpr double kRadiansPerDegree = M_PI / 180;
const double kSunHorizonSine = std::sin(-50.0 / 60 * kRadiansPerDegree);

// The sun's rise and set in hours after local midnight, by parabolas through its altitude
// every hour, two hours at a time.
struct SunCrossings {
    std::optional<double> rise;
    std::optional<double> set;
    bool upAtMidnight = false;
};

SunCrossings sunCrossings(double mjd, double latitude, double longitude) {
    const double cosLat = std::cos(latitude * kRadiansPerDegree);
    const double sinLat = std::sin(latitude * kRadiansPerDegree);
    const auto above = [&](double hour) {
        return sunSinAlt(mjd, hour, 0, longitude, cosLat, sinLat) - kSunHorizonSine;
    };
    SunCrossings crossings;
    double yMinus = above(0);
    crossings.upAtMidnight = yMinus > 0;
    for (int hour = 1; hour <= 23; hour += 2) {
        const double y0 = above(hour);
        const double yPlus = above(hour + 1.0);
        const QuadCrossing q = quad(yMinus, y0, yPlus);
        if (q.count == 1) {
            (yMinus < 0 ? crossings.rise : crossings.set) = hour + q.root1;
        } else if (q.count == 2) {
            // A brief dip below or rise above the horizon near the polar circles.
            crossings.rise = hour + (q.ye < 0 ? q.root2 : q.root1);
            crossings.set = hour + (q.ye < 0 ? q.root1 : q.root2);
        }
        yMinus = yPlus;
    }
    return crossings;
}

std::optional<double> realTime(double time) {
    return time > 0 ? std::optional<double>(time) : std::nullopt;
}

} // namespace

SkyDay skyDay(double time, int zoneSeconds, double latitude, double longitude) {
    const Date date{time};
    const ZoneDay day = zoneDay(date, zoneSeconds);
    const double localMidnight = day.utcDayStartSeconds - zoneSeconds;
    SkyDay sky;
    const SunCrossings sun = sunCrossings(day.mjd, latitude, longitude);
    if (sun.rise)
        sky.sunrise = localMidnight + *sun.rise * 3600;
    if (sun.set)
        sky.sunset = localMidnight + *sun.set * 3600;
    sky.sunUpAllDay = !sun.rise && !sun.set && sun.upAtMidnight;
    const MoonRiseAndSet moon = calculateMoonRiseAndSet(date, zoneSeconds, longitude, latitude);
    sky.moonrise = realTime(moon.rise);
    sky.moonset = realTime(moon.set);
    const CurrentPhase phase = currentPhase(date);
    sky.moonPhase = phase.phase;
    sky.moonIllumination = phase.illumination;
    return sky;
}

} // namespace corvane
