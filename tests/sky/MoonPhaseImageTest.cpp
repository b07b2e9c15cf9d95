#include "sky/MoonPhaseImage.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

struct LitShare {
    double total = 0.0; // of the disc
    double left = 0.0;  // of the left half
    double right = 0.0; // of the right half
};

LitShare litShare(const MoonPhaseImageLayout& layout, double age, double illumination) {
    const MoonPhaseGeometry g =
        moonPhaseGeometry(layout.size, layout.range, age, illumination, 0.0);
    const int n = 200;
    int disc = 0, lit = 0, leftDisc = 0, leftLit = 0;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            const double x = (i + 0.5) * g.size / n;
            const double y = (j + 0.5) * g.size / n;
            const double dx = x - g.centre.x;
            const double dy = y - g.centre.y;
            if (dx * dx + dy * dy > g.clipRadius * g.clipRadius) {
                continue;
            }
            const bool isLit = g.isLit(x, y);
            ++disc;
            lit += isLit;
            if (x < g.centre.x) {
                ++leftDisc;
                leftLit += isLit;
            }
        }
    }
    return {static_cast<double>(lit) / disc, static_cast<double>(leftLit) / leftDisc,
            static_cast<double>(lit - leftLit) / (disc - leftDisc)};
}

TEST(MoonPhaseImage, NearlyNewAndNearlyFullMoonsShowOneImageOnly) {
    for (const MoonPhaseImageLayout& layout :
         {currentSmallMoonImageLayout(), currentMoonImageLayout()}) {
        for (double age : {2.0, 27.0}) {
            EXPECT_LT(litShare(layout, age, 0.01).total, 0.05) << layout.size << " age " << age;
            EXPECT_GT(litShare(layout, age, 0.99).total, 0.95) << layout.size << " age " << age;
        }
    }
    // The menu bar image goes fully dark and fully light.
    EXPECT_EQ(litShare(currentSmallMoonImageLayout(), 2.0, 0.01).total, 0.0);
    EXPECT_EQ(litShare(currentSmallMoonImageLayout(), 27.0, 0.99).total, 1.0);
}

TEST(MoonPhaseImage, WaxingMoonsAreLitOnTheRightAndWaningOnTheLeft) {
    const MoonPhaseImageLayout layout = currentMoonImageLayout();
    const LitShare waxing = litShare(layout, 4.0, 0.2);
    EXPECT_GT(waxing.right, 0.3);
    EXPECT_EQ(waxing.left, 0.0);
    const LitShare waning = litShare(layout, 25.0, 0.2);
    EXPECT_GT(waning.left, 0.3);
    EXPECT_EQ(waning.right, 0.0);
    const LitShare gibbous = litShare(layout, 11.0, 0.8);
    EXPECT_EQ(gibbous.right, 1.0);
    EXPECT_GT(gibbous.left, 0.4);
}

TEST(MoonPhaseImage, LitShareGrowsWithIlluminationAndHalvesAtQuarter) {
    const MoonPhaseImageLayout layout = currentMoonImageLayout();
    EXPECT_NEAR(litShare(layout, 7.4, 0.5).total, 0.5, 0.03);
    EXPECT_NEAR(litShare(layout, 22.1, 0.5).total, 0.5, 0.03);
    double previous = 0.0;
    for (double illumination : {0.1, 0.3, 0.5, 0.7, 0.9}) {
        const double share = litShare(layout, 20.0, illumination).total;
        EXPECT_GT(share, previous) << illumination;
        previous = share;
    }
}

} // namespace
} // namespace corvane
