#include "sky/Quad.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

// y = (x - r1)(x - r2) sampled at -1, 0, 1.
QuadCrossing through(double r1, double r2, double scale = 1.0) {
    auto y = [&](double x) { return scale * (x - r1) * (x - r2); };
    return quad(y(-1.0), y(0.0), y(1.0));
}

TEST(Quad, FindsOneCrossingInsideTheInterval) {
    const QuadCrossing c = through(0.3, 5.0);
    EXPECT_EQ(c.count, 1);
    EXPECT_NEAR(c.root1, 0.3, 1e-12);
}

TEST(Quad, ReplacesAFirstRootBelowTheIntervalByTheSecond) {
    const QuadCrossing c = through(-4.0, 0.6);
    EXPECT_EQ(c.count, 1);
    EXPECT_NEAR(c.root1, 0.6, 1e-12);
}

TEST(Quad, FindsTwoCrossingsAndTheExtremum) {
    const QuadCrossing c = through(-0.5, 0.25, -2.0);
    EXPECT_EQ(c.count, 2);
    EXPECT_NEAR(c.root1, -0.5, 1e-12);
    EXPECT_NEAR(c.root2, 0.25, 1e-12);
    EXPECT_NEAR(c.xe, -0.125, 1e-12);
    EXPECT_GT(c.ye, 0.0); // a maximum: the curve is above zero between the roots
}

TEST(Quad, ReportsNoCrossingWithoutRealRootsOrForEqualValues) {
    const QuadCrossing none = quad(1.0, 0.5, 1.0);
    EXPECT_EQ(none.count, 0);
    EXPECT_EQ(none.root1, 0.0);
    EXPECT_EQ(quad(0.7, 0.7, 0.7).count, 0);
}

} // namespace
} // namespace corvane
