#include "sky/AngleMath.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace corvane {
namespace {

TEST(AngleMath, ArcsinIsExactAtTheEndsAndMatchesAsinBetween) {
    EXPECT_EQ(arcsin(1.0), std::numbers::pi / 2.0);
    EXPECT_EQ(arcsin(-1.0), -std::numbers::pi / 2.0);
    EXPECT_EQ(Rad2Deg2(arcsin(1.0)), 90.0);
    EXPECT_EQ(Rad2Deg2(arcsin(-1.0)), -90.0);
    EXPECT_NEAR(arcsin(0.5), std::numbers::pi / 6.0, 1e-15);
    EXPECT_NEAR(arcsin(-0.999999), std::asin(-0.999999), 1e-12);
}

TEST(AngleMath, ReductionsKeepNegativeAnglesInOneTurn) {
    EXPECT_DOUBLE_EQ(trunc2(-30.0), 330.0);
    EXPECT_DOUBLE_EQ(trunc2(725.0), 5.0);
    EXPECT_EQ(trunc2(-1e-17), 0.0); // would round to 360 without the guard
    EXPECT_DOUBLE_EQ(range(-30.0), 330.0);
    EXPECT_DOUBLE_EQ(range(-720.0), 0.0);
    EXPECT_DOUBLE_EQ(frac(-0.25), 0.75);
    EXPECT_DOUBLE_EQ(Modulo(-90.0, 360.0), 270.0);
}

} // namespace
} // namespace corvane
