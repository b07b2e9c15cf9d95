#include "sky/LunarSeries.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(LunarSeries, SumsMatchMeeusExample47a) {
    // 1992 April 12, 0h TD (T = -0.077221081451): the published sums of the periodic terms,
    // additive terms included.
    const LunarSums sums = lunarSeriesSums(lunarArguments1998((2448724.5 - 2451545.0) / 36525.0));
    EXPECT_NEAR(sums.longitude, -1127527.0, 1.0);
    EXPECT_NEAR(sums.latitude, -3229126.0, 1.0);
    EXPECT_NEAR(sums.distance, -16590875.0, 1.0);
}

} // namespace
} // namespace corvane
