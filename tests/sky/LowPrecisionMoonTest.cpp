#include "sky/LowPrecisionMoon.h"

#include "SkyTestSupport.h"
#include "sky/MoonLongitude.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

constexpr double kExample47aT = (48724.0 - 51544.5) / 36525.0; // 1992 April 12, 0h

TEST(LowPrecisionMoon, PositionMatchesMeeusExample47aToArcminutes) {
    // Apparent right ascension 134.688470, declination 13.768368 deg; longitude 133.162655.
    const EquatorialPoint moon = moonPosition(kExample47aT);
    skytest::WorstError worst("14+8 term moon vs Meeus 47.a", "arcmin");
    worst.add((moon.rightAscension * 15.0 - 134.688470) * 60.0, "right ascension");
    worst.add((moon.declination - 13.768368) * 60.0, "declination");
    worst.add((moonZodiac(kExample47aT) * 360.0 - 133.162655) * 60.0, "longitude");
    MOON_computeMoon(kExample47aT);
    worst.add((MOON_lambda() - 133.162655) * 60.0, "MOON_computeMoon");
    EXPECT_LT(worst.worst(), 1.5);
}

} // namespace
} // namespace corvane
