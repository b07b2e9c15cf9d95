#include "sky/MoonSkyData.h"

#include "SkyTestSupport.h"
#include "UsnoMoonTables.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace corvane {
namespace {

TEST(MoonSkyData, EclipticPlaceAndDistanceMatchMeeusExample47a) {
    const MoonEclipticPlace place = meeusMoonPlace(2448724.5);
    skytest::WorstError worst("Meeus lunar series vs Meeus 47.a", "arcsec");
    worst.add(skytest::arcseconds(place.longitude - 133.162655), "longitude");
    worst.add(skytest::arcseconds(place.latitude - -3.229126), "latitude");
    EXPECT_LT(worst.worst(), 0.01);
    EXPECT_NEAR(place.distance, 368409.7, 0.05);
    EXPECT_EQ(fetchMoonSkyData(2448724.5, 0.0, 0.0, 0.0).distance, 368410.0);
}

TEST(MoonSkyData, MoonSitsOnTheGeocentricHorizonAtPublishedRisesAndSets) {
    // The almanac times are for the upper limb with 34' refraction; the geocentric centre is
    // then at 0.7275 times the horizontal parallax less 34' and the semi-diameter (Meeus 15).
    skytest::WorstError worst("moon altitude at USNO 2019 rise/set, 81W 29N", "deg");
    int rising = 0;
    for (const usno::MoonDay& day : usno::kMoon2019W81N29) {
        for (const auto& [hhmm, isRise] : {std::pair{day.rise, true}, std::pair{day.set, false}}) {
            if (hhmm < 0) {
                continue;
            }
            const double time = skytest::utc(2019, day.month, day.day, hhmm / 100, hhmm % 100);
            const MoonSkyData sky =
                calculateMoonInfo(Date{time}, usno::kLongitude, usno::kLatitude);
            const double parallax = std::asin(6378.14 / sky.distance) * 180.0 / std::numbers::pi;
            worst.add(sky.altitude - (0.7275 * parallax - 0.5667),
                      usno::label(day) + (isRise ? " rise" : " set"));
            // East of the meridian at rise, west at set.
            if (isRise) {
                ++rising;
                EXPECT_LT(sky.azimuth, 180.0);
            } else {
                EXPECT_GT(sky.azimuth, 180.0);
            }
        }
    }
    EXPECT_GT(rising, 10);
    // The moon climbs up to 0.2 deg a minute; the table is rounded to the minute.
    EXPECT_LT(worst.worst(), 0.15);
}

} // namespace
} // namespace corvane
