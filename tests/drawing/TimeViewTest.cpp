#include "DrawingFixture.h"
#include "drawing/CVBTimeMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;

namespace {

// 2023-11-14 22:13:20 UTC, a Tuesday; 23:13 in Berlin.
constexpr double kT0 = 1700000000;

Value line(std::initializer_list<const char*> components) {
    Value list = Value::array();
    for (const char* c : components)
        list.append(c);
    return list;
}

Value oneLine(std::initializer_list<const char*> components, const char* zone = "") {
    return Value::array(
        {Value::dict({{"timezone", zone}, {"format", Value::array({line(components)})}})});
}

int differingPixels(const Image& a, const Image& b) {
    return test::countPixels(a, [&](int x, int y, Color c) { return c != b.pixel(x, y); });
}

class TimeView : public DrawingFixture {
protected:
    void SetUp() override {
        view.setClockLocale("de_DE", "Europe/Berlin");
        view.setSurface(&surface);
    }
    void TearDown() override {
        view.setSurface(nullptr);
        PreferencesFixture::TearDown();
    }
    // The number of texts and icons one drawing adds.
    std::uint64_t drawsOf(double time, int flash, const Value& locations) {
        const std::uint64_t before = view.segmentDrawCount();
        view.drawTimeAtOffset(10, time, flash, locations);
        return view.segmentDrawCount() - before;
    }
    // What a view that has kept no pictures draws at `time`, in the stored format.
    Image drawnAfresh(double time) {
        CVBTimeMenuExtraView fresh{host(), queue.clock()};
        fresh.setClockLocale("de_DE", "Europe/Berlin");
        fresh.setFixedTime(time);
        return ItemRenderer::render(fresh, host(2), ItemRenderer::Background::Transparent);
    }
    Image render(const Value& format, double time, bool dark = false) {
        setDark(dark);
        CVBSetObjectForKey(format, "Time_MenubarFormat");
        view.setFixedTime(time);
        view.update();
        return ItemRenderer::render(view, host(2), ItemRenderer::Background::Transparent);
    }

    CVBTimeMenuExtraView view{host(), queue.clock()};
    Image scratch{400, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(TimeView, WithinAMinuteATickRedrawsOnlyTheSeconds) {
    CVBSetBoolForKey(true, "Time_MenubarFlashSeperators");
    const Value clock = oneLine({"EEE", "' '", "HH", "':'", "mm", "':'", "ss"});
    // Weekday and hour, colon, minutes, colon, seconds: five segments. The first drawing
    // learns the width, so its picture is not kept.
    EXPECT_EQ(drawsOf(kT0, 1, clock), 5u);
    EXPECT_EQ(drawsOf(kT0 + 1, 1, clock), 5u);
    // Each flash state keeps its own picture of the minute.
    EXPECT_EQ(drawsOf(kT0 + 2, 0, clock), 5u);
    EXPECT_EQ(drawsOf(kT0 + 3, 1, clock), 1u);
    EXPECT_EQ(drawsOf(kT0 + 4, 0, clock), 1u);
    // A new minute draws everything again, at the width already known.
    EXPECT_EQ(drawsOf(kT0 + 40, 1, clock), 5u);
    EXPECT_EQ(drawsOf(kT0 + 41, 1, clock), 1u);
    // So does a changed format, even within the minute.
    EXPECT_EQ(drawsOf(kT0 + 42, 1, oneLine({"HH", "':'", "mm"})), 3u);
}

TEST_F(TimeView, CachedMinuteWithFreshSecondsLooksLikeAWholeDrawing) {
    const Value clock = oneLine({"HH", "':'", "mm", "':'", "ss"}, "Asia/Kathmandu");
    CVBSetObjectForKey(clock, "Time_MenubarFormat");
    view.setFixedTime(kT0);
    view.update();
    ItemRenderer::render(view, host(2), ItemRenderer::Background::Transparent);
    const Image cached = render(clock, kT0 + 7);
    const Image whole = drawnAfresh(kT0 + 7);
    const Image earlier = render(clock, kT0);
    ASSERT_EQ(cached.pixelWidth(), whole.pixelWidth());
    ASSERT_EQ(earlier.pixelWidth(), whole.pixelWidth());
    EXPECT_EQ(differingPixels(cached, whole), 0);
    // The seconds did change, so the comparison above had something to catch.
    EXPECT_GT(differingPixels(earlier, whole), 0);
}

// A preview draws one view for a dark and a light panel in turn, within one minute: the light
// one must not be handed the dark one's picture.
TEST_F(TimeView, LightAndDarkPanelsKeepPicturesOfTheirOwn) {
    const Value clock = oneLine({"HH", "':'", "mm"});
    render(clock, kT0, true);
    render(clock, kT0 + 1, true); // the width is known: this picture is kept
    const Image light = render(clock, kT0 + 2);
    const Image whole = drawnAfresh(kT0 + 2);
    ASSERT_EQ(light.pixelWidth(), whole.pixelWidth());
    EXPECT_EQ(differingPixels(light, whole), 0);
}

TEST_F(TimeView, BlankedSeparatorsKeepTheirWidth) {
    CVBSetBoolForKey(true, "Time_MenubarFlashSeperators");
    const Value clock = oneLine({"HH", "':'", "mm"});
    const int shown = view.drawTimeAtOffset(0, kT0, 1, clock);
    const int blank = view.drawTimeAtOffset(0, kT0, 0, clock);
    EXPECT_EQ(shown, blank);
    CVBSetBoolForKey(false, "Time_MenubarFlashSeperators");
    EXPECT_EQ(view.drawTimeAtOffset(0, kT0, 1, clock), shown);
}

TEST_F(TimeView, IconsHaveTheirWidthsAndGaps) {
    view.drawTimeAtOffset(0, kT0, 1, oneLine({"HH"}));
    struct Case {
        const char* icon;
        int width;
    } cases[] = {{"___ICON__CLOCK__", 16},        {"___ICON__MOON__", 16},
                 {"___ICON__RED___", 17},         {"___ICON__GEAPHITE___", 17},
                 {"___ICON__TRANSPARENT___", 17}, {"___ICON__PURPLE___", 0}};
    for (const Case& c : cases)
        EXPECT_EQ(view.drawIcon(surface, c.icon, 0, "", kT0), c.width) << c.icon;
    const int hour = view.drawTimeAtOffset(0, kT0, 1, oneLine({"HH"}));
    // An icon first stands at the start; any later one is 4 after what precedes it.
    EXPECT_EQ(view.drawTimeAtOffset(0, kT0, 1, oneLine({"___ICON__CLOCK__", "HH"})), 16 + hour);
    EXPECT_EQ(view.drawTimeAtOffset(0, kT0, 1, oneLine({"HH", "___ICON__MOON__"})), hour + 4 + 16);
    // Two locations are 4 apart.
    Value two = oneLine({"HH"});
    two.append(oneLine({"HH"})[0]);
    EXPECT_EQ(view.drawTimeAtOffset(0, kT0, 1, two), hour + 4 + hour);
}

TEST_F(TimeView, TwoLinesShareTheIconsAndEndAtTheLongerLine) {
    const Value record = Value::dict(
        {{"lines", 2},
         {"timezone", "America/New_York"},
         {"format",
          Value::array({line({"___ICON__BLUE___", "HH", "':'", "mm"}), line({"EEEE"})})}});
    const auto widthOf = [&](const Value& format) {
        const Value alone = Value::dict({{"lines", 2}, {"format", Value::array({format})}});
        return view.drawTimeAtOffset(0, kT0, 1, Value::array({alone}));
    };
    const int width = view.drawTimeAtOffset(0, kT0, 1, Value::array({record}));
    EXPECT_EQ(width, 17 + std::max(widthOf(line({"HH", "':'", "mm"})), widthOf(line({"EEEE"}))));
}

TEST_F(TimeView, LooksAsRecorded) {
    const Value icons = oneLine({"___ICON__RED___", "EEE", "' '", "d", "'.'", "' '", "HH", "':'",
                                 "mm", "___ICON__CLOCK__", "___ICON__MOON__"});
    EXPECT_TRUE(matchesGolden(render(icons, kT0), "time-icons-light"));
    const Value twoLines = Value::array(
        {Value::dict({{"lines", 2},
                      {"timezone", "Asia/Kolkata"},
                      {"timezone-2", "America/New_York"},
                      {"format", Value::array({line({"___ICON__TRANSPARENT___", "HH", "':'", "mm",
                                                     "' '", "__RELATIVE_OFFSET__"}),
                                               line({"EEE", "' '", "__RELATIVE_DAY__"})})}})});
    EXPECT_TRUE(matchesGolden(render(twoLines, kT0, true), "time-two-lines-dark"));
}

} // namespace
