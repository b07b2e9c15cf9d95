#include "drawing/ModuleText.h"

#include "DrawingFixture.h"
#include "drawing/CVBModuleView.h"
#include "foundation/Log.h"

#include <cmath>

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::kPercentStyle;
using corvane::test::kSmallStyle;

namespace {

class Text : public DrawingFixture {
protected:
    void SetUp() override { view.setSurface(&surface); }
    TextAttributes text(const Value& style, bool selected, bool modern = true) {
        return ModuleText::textAttributes(host(1, modern), style, selected);
    }

    Image image{200, Surface::kStripHeight};
    Surface surface{image};
    CVBModuleView view{host()};
};

TEST_F(Text, StylesReadTheirFaceSizeAndColourFromThePreferences) {
    CVBSetIntegerForKey(1, "CPU_MenubarFontStyle");
    CVBSetIntegerForKey(20, "CPU_MenubarTextSize"); // out of range: 13
    TextAttributes a = text(kPercentStyle, false);
    EXPECT_TRUE(a.condensed);
    EXPECT_EQ(a.family, TextAttributes::kCondensedFont);
    EXPECT_EQ(a.size, 13);
    EXPECT_FALSE(a.shadow); // the modern look has none
    CVBSetIntegerForKey(2, "CPU_MenubarFontStyle");
    EXPECT_EQ(text(kPercentStyle, false).weight, 600);

    // The older look adds a shadow on a light panel, unless its colour is clear.
    a = text(kPercentStyle, false, false);
    ASSERT_TRUE(a.shadow);
    EXPECT_EQ(*a.shadow, (Color{1, 1, 1, 0.5}));
    EXPECT_FALSE(text(kPercentStyle, true, false).shadow);
    CVBSetObjectForKey("1 1 1 0", "CPU_MenubarTextShadowColor");
    EXPECT_FALSE(text(kPercentStyle, false, false).shadow);

    // Small text keeps its stated alignment; condensed, it is spaced out.
    const Value style = Value::dict({{"color", "Memory_UFUsedColor"},
                                     {"font-style", "Memory_UFMenubarFontStyle"},
                                     {"alignment", 2}});
    CVBSetIntegerForKey(1, "Memory_UFMenubarFontStyle");
    a = ModuleText::smallTextAttributes(host(), style, false);
    EXPECT_EQ(a.alignment, TextAlignment::Right);
    EXPECT_TRUE(a.condensed);
    EXPECT_EQ(a.letterSpacing, 0.5);
    EXPECT_EQ(ModuleText::percentageAttributes(host(), style, false).alignment,
              TextAlignment::Centre);

    setDark(true);
    EXPECT_EQ(text(kPercentStyle, false).color, Color::white());
    EXPECT_EQ(text(kPercentStyle, true).color, Color::white());
    // Text in a rectangle answers the rectangle's width, rounded, and the gap.
    EXPECT_EQ(view.drawLargeText("42%", text(kPercentStyle, false), Rect{10, 0, 30.7, 22}), 34);
}

// The condensed face has the regular face's vertical metrics, so at every size it stands
// where regular text does, inside the strip.
TEST_F(Text, CondensedTextStandsWhereRegularTextDoes) {
    const auto rows = [&](int face, int size) {
        CVBSetIntegerForKey(face, "CPU_MenubarFontStyle");
        CVBSetIntegerForKey(face, "Memory_UFMenubarFontStyle");
        CVBSetIntegerForKey(size, "CPU_MenubarTextSize");
        Image strip(60, Surface::kStripHeight, 2);
        Surface s(strip);
        view.setSurface(&s);
        if (size > 0) {
            view.drawLargeText("Hg42%", text(kPercentStyle, false), 0);
        } else {
            const TextAttributes a = ModuleText::smallTextAttributes(host(), kSmallStyle, false);
            view.drawSmallText("Hg4.2", a, Point{0, 10});
            view.drawSmallText("Hg1.0", a, Point{0, 1});
        }
        view.setSurface(&surface);
        return test::inkBounds(strip, 0.5);
    };
    for (int size : {0, 8, 9, 10, 11, 12, 13, 14, 15, 16}) { // 0: two stacked small lines
        SCOPED_TRACE(size);
        const auto regular = rows(0, size);
        const auto condensed = rows(1, size);
        EXPECT_GT(condensed.top, 0); // not cut at the top
        EXPECT_NEAR(condensed.top, regular.top, 1);
        EXPECT_NEAR(condensed.bottom, regular.bottom, 1);
    }
}

class Labels : public Text {
protected:
    // The colours of the ink in the picture, as the count of pixels that match.
    int inkOf(const Color& c) const {
        return test::countPixels(image, [&](int, int, const Color& p) {
            return p.alpha > 0.9 && std::fabs(p.red - c.red) < 0.05 &&
                   std::fabs(p.green - c.green) < 0.05 && std::fabs(p.blue - c.blue) < 0.05;
        });
    }
};

TEST_F(Labels, AreTheArtworkInTheLabelsColour) {
    EXPECT_EQ(view.drawLabel("menubar-label-cpu", "CPU_Label", 0), 24);
    EXPECT_GT(inkOf(Color::black()), 10);

    CVBSetObjectForKey("1 0 0 1", "CPU_Label");
    view.resetCache();
    view.drawLabel("menubar-label-cpu", "CPU_Label", 40);
    EXPECT_GT(inkOf({1, 0, 0, 1}), 10);

    setDark(true);
    view.setContext(host());
    view.drawLabel("menubar-label-cpu", "CPU_Label", 80); // "CPU_Label-Dark": white
    EXPECT_GT(inkOf(Color::white()), 10);
}

TEST_F(Labels, TintedCopiesStayBoundedWhateverTheColours) {
    for (int i = 0; i < 300; ++i)
        ASSERT_TRUE(artwork.tintedImage("menubar-label-cpu", Color{i / 300.0, 0, 0, 1}));
    EXPECT_GT(artwork.tintedCount(), 0u);
    EXPECT_LE(artwork.tintedCount(), CVBCache::kMaximumTinted);
}

TEST_F(Labels, MissingArtworkDrawsNothing) {
    LogCapture log;
    EXPECT_EQ(view.drawLabel("menubar-label-nothing", "CPU_Label", 0), 0);
    EXPECT_TRUE(log.contains("menubar-label-nothing")) << log.lines();
}

} // namespace
