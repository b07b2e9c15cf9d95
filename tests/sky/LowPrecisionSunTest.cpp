#include "sky/LowPrecisionSun.h"

#include "SkyTestSupport.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

namespace corvane {
namespace {

using skytest::mjdOf;
using skytest::utc;

TEST(LowPrecisionSun, PositionMatchesMeeusExample25a) {
    // 1992 October 13.0 TD: apparent right ascension 198.38083 deg, declination -7.78507 deg.
    const EquatorialPoint sun = sunPosition((48908.0 - 51544.5) / 36525.0);
    skytest::WorstError worst("low-precision sun vs Meeus 25.a", "arcsec");
    worst.add(skytest::arcseconds(sun.rightAscension * 15.0 - 198.38083), "right ascension");
    worst.add(skytest::arcseconds(sun.declination - -7.78507), "declination");
    EXPECT_LT(worst.worst(), 20.0);
}

// Sunrise and sunset at 81 W, 29 N in 2019, Universal Time, from the U.S. Naval Observatory's
// "Rise and Set for the Sun for 2019" (Astronomical Applications Dept.). Published times are for
// the upper limb with 34' of refraction: the centre is then 50' below the horizon.
struct SunEvent {
    int month, day, hour, minute;
};
constexpr SunEvent kUsnoSunEvents[] = {
    {1, 1, 12, 18},  {1, 1, 22, 38},  {3, 20, 11, 28},  {3, 20, 23, 35},
    {4, 15, 10, 58}, {4, 15, 23, 50}, {6, 21, 10, 26},  {6, 21, 0, 26},
    {8, 10, 10, 50}, {8, 10, 0, 9},   {9, 22, 11, 12},  {9, 22, 23, 21},
    {11, 1, 11, 36}, {11, 1, 22, 38}, {12, 21, 12, 13}, {12, 21, 22, 31},
};

TEST(LowPrecisionSun, AltitudeAtPublishedSunrisesAndSunsetsIsMinus50Arcminutes) {
    skytest::WorstError worst("sun altitude at USNO 2019 rise/set, 81W 29N", "deg");
    for (const SunEvent& e : kUsnoSunEvents) {
        const double mjd = mjdOf(utc(2019, e.month, e.day, e.hour, e.minute));
        const double altitude = sunAltitude(mjd, -81.0, 29.0);
        worst.add(altitude - -0.8333, std::to_string(e.month) + "/" + std::to_string(e.day) + " " +
                                          std::to_string(e.hour));
        EXPECT_NEAR(std::sin(altitude * 0.0174532925),
                    sunSinAlt(std::floor(mjd), e.hour, e.minute, -81.0,
                              std::cos(29.0 * 0.0174532925), std::sin(29.0 * 0.0174532925)),
                    1e-9);
    }
    // Half a minute of rounding in the table is up to 0.11 deg of altitude here.
    EXPECT_LT(worst.worst(), 0.15);
}

TEST(LowPrecisionSun, AzimuthIsSouthHalfwayBetweenPublishedRiseAndSet) {
    // Days with the noon sun well away from the zenith, so that the azimuth turns slowly: those
    // of January, March, September, November and December.
    skytest::WorstError worst("sun azimuth at mid-day from USNO 2019 rise/set", "deg");
    for (const int day : {0, 1, 5, 6, 7}) {
        const SunEvent& rise = kUsnoSunEvents[2 * day];
        const SunEvent& set = kUsnoSunEvents[2 * day + 1];
        const double noon = 0.5 * (utc(2019, rise.month, rise.day, rise.hour, rise.minute) +
                                   utc(2019, set.month, set.day, set.hour, set.minute));
        const double days = (noon - utc(2000, 1, 1, 12)) / 86400.0;
        worst.add(sunAzimuth(-81.0, 29.0, days) - 180.0,
                  std::to_string(rise.month) + "/" + std::to_string(rise.day));
    }
    EXPECT_LT(worst.worst(), 0.5);
}

} // namespace
} // namespace corvane
