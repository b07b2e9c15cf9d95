#include "sky/MoonLimbAngle.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(MoonLimbAngle, BrightLimbMatchesMeeusExample48a) {
    // 1992 April 12, 0h TD: position angle of the bright limb 285.0 deg.
    skytest::WorstError worst("bright limb position angle vs Meeus 48.a", "deg");
    worst.add(brightLimbPositionAngle(2448724.5 - 67.0 / 86400.0) - 285.0, "chi");
    EXPECT_LT(worst.worst(), 0.1);
}

TEST(MoonLimbAngle, RotationStaysInOneTurnAndFlipsWithTheAge) {
    const double jd = 2448724.5;
    const double waxing = MoonLimbAngle(jd, 45.0, 7.0, 10.0);
    const double waning = MoonLimbAngle(jd, 45.0, 7.0, 20.0);
    EXPECT_GE(waxing, 0.0);
    EXPECT_LE(waxing, 360.0);
    EXPECT_NEAR(std::fabs(skytest::angleDifference(waxing, waning)), 180.0, 1e-9);
}

} // namespace
} // namespace corvane
