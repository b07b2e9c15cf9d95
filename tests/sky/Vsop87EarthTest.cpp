#include "sky/Vsop87Earth.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>
#include <numbers>

namespace corvane {
namespace {

TEST(Vsop87Earth, MatchesMeeusExample25b) {
    // 1992 October 13.0 TD: L = -43.63484796 rad = 19.907372 deg, B = -0.000179 deg
    // (-0.644"), R = 0.99760775 au.
    EARTH_EarthCompute(2448908.5);
    skytest::WorstError worst("VSOP87 earth vs Meeus 25.b", "arcsec");
    worst.add(skytest::arcseconds(EARTH_heliocentricLambda() - 19.907372), "L");
    worst.add(EARTH_earthB() * 180.0 / std::numbers::pi * 3600.0 - -0.644, "B");
    EXPECT_LT(worst.worst(), 0.01);
    EXPECT_NEAR(EARTH_earthL(), -43.63484796, 1e-8);
    EXPECT_NEAR(EARTH_earthR(), 0.99760775, 1e-8);
}

} // namespace
} // namespace corvane
