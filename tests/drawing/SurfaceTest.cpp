#include "drawing/Surface.h"

#include "DrawingFixture.h"
#include "drawing/TextCache.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::countPixels;

namespace {

const Color kRed{1, 0, 0, 1};
const Color kBlue{0, 0, 1, 1};

bool near(const Color& a, const Color& b, double tolerance = 0.02) {
    return std::fabs(a.red - b.red) <= tolerance && std::fabs(a.green - b.green) <= tolerance &&
           std::fabs(a.blue - b.blue) <= tolerance && std::fabs(a.alpha - b.alpha) <= tolerance;
}

bool empty(const Color& c) {
    return c.alpha == 0;
}

TEST(Surface, CountsYUpwardFromTheBottomOfTheStrip) {
    Image image(20, Surface::kStripHeight);
    Surface surface(image);
    surface.fillRect({0, 0, 10, 5}, kRed);
    EXPECT_TRUE(near(image.pixel(2, 21), kRed)); // bottom row of the file
    EXPECT_TRUE(near(image.pixel(2, 17), kRed));
    EXPECT_TRUE(empty(image.pixel(2, 16)));
    EXPECT_TRUE(empty(image.pixel(2, 0)));
    EXPECT_TRUE(empty(image.pixel(12, 21)));
}

TEST(Surface, GradientsRunAtTheirAngle) {
    Image up(10, 20);
    Surface(up).fillPathWithGradient(Path::rect({0, 0, 10, 20}), kRed, kBlue, 90);
    EXPECT_GT(up.pixel(5, 19).red, 0.9); // bottom: the start colour
    EXPECT_GT(up.pixel(5, 0).blue, 0.9); // top: the end colour

    Image across(20, 10);
    Surface(across).fillPathWithGradient(Path::rect({0, 0, 20, 10}), kRed, kBlue, 0);
    EXPECT_GT(across.pixel(0, 5).red, 0.9);
    EXPECT_GT(across.pixel(19, 5).blue, 0.9);
}

TEST(Surface, ImagesComposeWithAlphaAndOperation) {
    Image stamp(10, 10);
    Surface(stamp).fillRect({0, 0, 10, 10}, kBlue);

    Image half(10, 10);
    Surface(half).drawImage(stamp, {0, 0}, 0.5);
    EXPECT_NEAR(half.pixel(5, 5).alpha, 0.5, 0.02);

    Image erased(10, 10);
    Surface cut(erased);
    cut.fillRect({0, 0, 10, 10}, kRed);
    cut.drawImage(stamp, {5, 0}, 1.0, Compositing::DestinationOut);
    EXPECT_TRUE(near(erased.pixel(2, 5), kRed));
    EXPECT_TRUE(empty(erased.pixel(7, 5)));

    Image placed(20, 20);
    Surface(placed).drawImage(stamp, {10, 0}); // bottom left corner at the point
    EXPECT_TRUE(near(placed.pixel(15, 15), kBlue));
    EXPECT_TRUE(empty(placed.pixel(15, 5)));
}

TEST(SurfaceText, DigitsShareOneWidthAndCondensedIsNarrower) {
    Image image(100, 22);
    Surface surface(image);
    TextAttributes text;
    EXPECT_DOUBLE_EQ(surface.measureText("111", text).width,
                     surface.measureText("888", text).width);
    TextAttributes condensed = text;
    condensed.family = TextAttributes::kCondensedFont;
    EXPECT_LT(surface.measureText("Memory", condensed).width,
              surface.measureText("Memory", text).width);
    TextAttributes bigger = text;
    bigger.size = 16;
    EXPECT_GT(surface.measureText("42%", bigger).width, surface.measureText("42%", text).width);
}

TEST(SurfaceText, AlignsWithinItsRectangle) {
    TextAttributes text;
    text.color = kRed;
    auto ink = [&](TextAlignment alignment) {
        Image image(100, 22);
        TextAttributes a = text;
        a.alignment = alignment;
        Surface(image).drawText("42%", {0, 0, 100, 22}, a);
        return test::inkBounds(image);
    };
    const auto left = ink(TextAlignment::Left);
    const auto centre = ink(TextAlignment::Centre);
    const auto right = ink(TextAlignment::Right);
    EXPECT_LT(left.left, 5);
    EXPECT_GT(right.right, 94);
    EXPECT_NEAR((centre.left + centre.right) / 2.0, 50, 3);
}

TEST(SurfaceText, StandsUprightAtTheTopOfItsRectangle) {
    Image image(60, 22);
    TextAttributes text;
    text.size = 10;
    Surface(image).drawText("T", {0, 0, 60, 22}, text);
    // The bar of a T is its top: ink in the upper rows, wider than the stem below it.
    const auto inkIn = [&](int row) {
        return countPixels(image,
                           [&](int, int y, const Color& c) { return y == row && !empty(c); });
    };
    const int firstInkRow = test::inkBounds(image).top;
    ASSERT_LT(firstInkRow, 6);
    EXPECT_GT(inkIn(firstInkRow), inkIn(firstInkRow + 4)); // upside down, the bar is low
}

// A text drawn from its kept picture must land on the same pixels as one laid out anew, or the
// items would shift and blur after their first second.
TEST(SurfaceText, KeptPicturesDrawWhatTheTextDraws) {
    struct Case {
        const char* text;
        Rect in;
        double scale;
        TextAlignment alignment;
        bool shadow;
    };
    const Case cases[] = {
        {"0 KB/s", {3, 10, 29, 12}, 1, TextAlignment::Left, false},
        {"42%", {0, 0, 40, 22}, 2, TextAlignment::Centre, true},
        {"1.5 GB", {5, 1, 50, 12}, 1, TextAlignment::Right, true},
        {"a text wider than its box", {2, 4, 20, 12}, 2, TextAlignment::Left, false},
        {"gy|", {1, 3, 20, 12}, 1.5, TextAlignment::Left, true}, // descenders, an odd scale
    };
    TextCache cache;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        TextAttributes a;
        a.size = 9;
        a.color = kRed;
        a.alignment = c.alignment;
        if (c.shadow)
            a.shadow = kBlue;
        Image direct(80, 22, c.scale);
        Surface(direct).drawText(c.text, c.in, a);
        for (int frame = 0; frame < 2; ++frame) { // made, then taken from the cache
            Image kept(80, 22, c.scale);
            Surface surface(kept);
            cache.draw(c.text, c.in, a, surface);
            const auto differs = [&](int x, int y, const Color& p) {
                return !near(p, kept.pixel(x, y));
            };
            EXPECT_EQ(countPixels(direct, differs), 0) << "frame " << frame;
        }
    }
}

} // namespace
