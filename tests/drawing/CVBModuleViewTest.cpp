#include "drawing/CVBModuleView.h"

#include "DrawingFixture.h"
#include "drawing/GraphColors.h"
#include "drawing/SvgLibrary.h"
#include "foundation/Paths.h"

#include <cmath>
#include <cstdlib>

using namespace corvane;
using corvane::test::DrawingFixture;

namespace {

const Color kRed{1, 0, 0, 1};

class ModuleView : public DrawingFixture {
protected:
    void SetUp() override { view.setSurface(&surface); }
    // The look of the host, as it hands it over before a frame.
    void look(bool modern) { view.setContext(host(1, modern)); }
    // The filled height of a pixel column, counted in rows from the bottom of the strip.
    int redRows(int column) const {
        return test::countPixels(image, [&](int x, int, const Color& c) {
            return x == column && c.alpha > 0.5 && c.red > 0.9 && c.green < 0.1;
        });
    }

    Image image{120, Surface::kStripHeight};
    Surface surface{image};
    CVBModuleView view{host()};
};

TEST_F(ModuleView, HistoryPutsTheNewestSampleAtTheRight) {
    // Newest first; each value three columns wide so that the slopes between points stay out
    // of the columns looked at. Sample j stands at x = 11 - j.
    HistoryGraph graph{
        12, {kRed}, {{1.0}, {1.0}, {1.0}, {0.0}, {0.0}, {0.0}, {0.5}, {0.5}, {0.5}}, false, {},
        {}, false};
    view.drawHistoryGraph(graph, 0);
    EXPECT_EQ(redRows(9), 16); // the newest, full
    EXPECT_EQ(redRows(10), 16);
    EXPECT_EQ(redRows(6), 1); // a zero still shows one point
    EXPECT_EQ(redRows(4), 8);
    EXPECT_EQ(redRows(1), 0);  // before the first sample: nothing
    EXPECT_EQ(redRows(11), 0); // the box's right edge is clipped
}

TEST_F(ModuleView, FlippedLayersHangFromTheTopOfTheirBand) {
    HistoryGraph graph{
        6, {kRed}, {{0.5}, {0.5}, {0.5}, {0.5}, {0.5}}, false, {true}, {{2, 11, 0, 8}}, false};
    view.drawHistoryGraph(graph, 0);
    EXPECT_EQ(redRows(3), 4);
    // Rows 22 - 19 = 3 ... the band spans y 11 to 19; the fill sits at its top, y 15 to 19.
    EXPECT_GT(image.pixel(3, 22 - 18).red, 0.9);
    EXPECT_LT(image.pixel(3, 22 - 12).alpha, 0.1);
}

TEST_F(ModuleView, VerticalBarsFloorTheirHeightButShowAnyLoad) {
    view.drawVerticalGraphWithPecentage(0.5, kRed, 0);
    EXPECT_EQ(redRows(4), 8);
    view.drawVerticalGraphWithPecentage(0.001, kRed, 20);
    EXPECT_EQ(redRows(24), 1);
}

TEST_F(ModuleView, PieGrowsClockwiseFromTwelve) {
    view.drawPieGraphWithPecentage(0.25, kRed, 0);
    // Centre (9, 11) in strip coordinates: upper right filled, the rest not.
    auto red = [&](int x, int y) {
        const Color c = image.pixel(x, 22 - y);
        return c.red > 0.9 && c.green < 0.1;
    };
    EXPECT_TRUE(red(12, 14));
    EXPECT_FALSE(red(5, 14));
    EXPECT_FALSE(red(12, 7));
    EXPECT_FALSE(red(5, 7));
}

TEST_F(ModuleView, BackgroundOpacityFollowsPanelAndTheme) {
    EXPECT_EQ(view.alpha(), 1.0); // the shaded theme
    CVBSetIntegerForKey(0, "MenubarTheme");
    EXPECT_DOUBLE_EQ(view.alpha(), 0.3);
    look(false);
    EXPECT_DOUBLE_EQ(view.alpha(), 0.5);
    setDark(true);
    look(false);
    EXPECT_DOUBLE_EQ(view.alpha(), 1.0);
    look(true);
    EXPECT_DOUBLE_EQ(view.alpha(), 0.2);
    EXPECT_EQ(view.strokeColor(), Color::white());
}

TEST_F(ModuleView, TheOlderLookFillsWhiteWhileTheMenuIsOpen) {
    look(false);
    CVBSetIntegerForKey(0, "MenubarTheme");
    view.isMenuDown = true;
    view.drawVerticalGraphWithPecentage(1.0, kRed, 0);
    EXPECT_EQ(redRows(4), 0);
    EXPECT_GT(image.pixel(4, 12).green, 0.9);
}

// On a panel of one pixel per point the symbols inside a battery have no room for soft edges:
// a grey-edged bolt two pixels wide reads as a "4". Every pixel of a symbol, and of the room
// cut for it, is either ink or clear.
TEST_F(ModuleView, BatterySymbolsAreCrispAtOnePixelPerPoint) {
    const struct {
        const char* shape;
        Rect inside; // in points, y up from the bottom of the picture
    } shapes[] = {{"vertical", {2, 2, 8, 14}}, {"horizontal", {2, 5, 19, 8}}};
    for (const auto& shape : shapes) {
        for (const char* symbol : {"-charging", "-charged", "-paused"}) {
            for (const char* part : {"", "-mask"}) {
                const std::string name =
                    std::string("menubar-battery-") + shape.shape + symbol + part;
                SCOPED_TRACE(name);
                const auto art = artwork.artwork().imageNamed(name, 1);
                ASSERT_TRUE(art);
                const int left = static_cast<int>(shape.inside.x);
                const int right = static_cast<int>(shape.inside.maxX()) - 1;
                const int top = static_cast<int>(art->size().height - shape.inside.maxY());
                const int bottom = static_cast<int>(art->size().height - shape.inside.y) - 1;
                // The outline's rounded inner corners may be soft.
                const auto soft = [&](int x, int y, const Color& c) {
                    const bool corner = (x == left || x == right) && (y == top || y == bottom);
                    return x >= left && x <= right && y >= top && y <= bottom && !corner &&
                           c.alpha > 0.1 && c.alpha < 0.9;
                };
                EXPECT_EQ(test::countPixels(*art, soft), 0);
            }
        }
    }
}

TEST_F(ModuleView, GraphColoursFallBackByIndexAndSkin) {
    const DrawingContext c = host();
    CVBSetObjectForKey("1 0 0 1", "CPU_MenubarGraphUser");
    EXPECT_EQ(fillColorForGraph2(c, "CPU_MenubarGraphUser", 1), kRed);
    EXPECT_EQ(fillColorForGraph2(c, "No_Such_Key", 1), (Color{0.988, 0.4, 0.396, 1}));
    EXPECT_NE(fillColorForGraph2(c, "No_Such_Key", -1), fillColorForGraph2(c, "No_Such_Key", 1));
    CVBSetIntegerForKey(3, "MenubarSkinColor");
    EXPECT_EQ(fillColorForGraph(c, Value::dict({{"colorKey", "Nothing"}})),
              (Color{0.27, 0.717, 0.584, 1}));
    EXPECT_EQ(fillColorForGraph(c, Value::dict({{"defaultColor", 1}})),
              fillColorForGraph2(c, "No_Such_Key", 1));
    EXPECT_EQ(strokeColorForGraph(c, Value::dict({{"defaultStroke", 3}})),
              (Color{0.525, 0.592, 0.725, 1}));
}

// The pictures drawn ahead at whole scales must be what the SVG draws, or the panel changes
// with the scale. CVB_UPDATE_GOLDEN=1 draws them again from the SVGs.
TEST(ArtworkRasters, EachIsWhatItsSvgDraws) {
    const auto svg = SvgLibrary::load();
    ASSERT_TRUE(svg) << "the SVG library is part of the build's dependencies";
    const char* update = std::getenv("CVB_UPDATE_GOLDEN");
    const bool updating = update && std::string(update) == "1";
    int compared = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(Paths::dataDirectory() / "images")) {
        if (entry.path().extension() != ".svg")
            continue;
        for (const int scale : {1, 2}) {
            const std::string name = entry.path().stem().string();
            const auto raster =
                entry.path().parent_path() / (name + "@" + std::to_string(scale) + "x.png");
            SCOPED_TRACE(raster.filename().string());
            std::string why;
            const auto drawn = svg->render(entry.path(), scale, why);
            ASSERT_TRUE(drawn) << why;
            if (updating) {
                ASSERT_TRUE(drawn->writePng(raster));
            }
            const auto stored = Image::readPng(raster, scale);
            ASSERT_TRUE(stored) << "missing; run with CVB_UPDATE_GOLDEN=1";
            ASSERT_EQ(stored->size(), drawn->size());
            const int differing = test::countPixels(*drawn, [&](int x, int y, const Color& a) {
                const Color b = stored->pixel(x, y);
                // PNG keeps colour unpremultiplied: faint pixels may round differently.
                const auto near = [&](double p, double q) {
                    return std::abs(p * a.alpha - q * b.alpha) <= 2.0 / 255;
                };
                return a.alpha != b.alpha || !near(a.red, b.red) || !near(a.green, b.green) ||
                       !near(a.blue, b.blue);
            });
            EXPECT_EQ(differing, 0);
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

} // namespace
