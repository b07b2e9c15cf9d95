#include "DrawingFixture.h"
#include "drawing/CVBModuleView.h"
#include "drawing/GraphColors.h"
#include "drawing/ModuleText.h"
#include "support/GoldenImage.h"

#include <functional>

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::kPercentStyle;
using corvane::test::kSmallStyle;
using corvane::test::matchesGolden;

namespace {

const Color kRed{0.988, 0.4, 0.396, 1};
const Color kBlue{0.078, 0.501, 1.0, 1};
const Color kPurple{0.568, 0.321, 0.882, 1};

struct Look {
    bool dark;
    bool small;
    std::string name() const {
        return std::string(dark ? "dark" : "light") + (small ? "-small" : "-large");
    }
};

// One drawing operation: its name, what it should answer, and the drawing.
struct Operation {
    std::string name;
    int expectedWidth;
    std::function<int(CVBModuleView&)> draw;
};

std::vector<Operation> operations(int graphHeight) {
    const std::vector<std::vector<double>> history{{0.9, 0.5}, {0.6, 0.2}, {0.3, 0.3}, {0.0, 0.0},
                                                   {1.0, 0.7}, {0.5, 0.1}, {0.2, 0.2}, {0.8, 0.4}};
    const std::vector<GraphComponent> layers{{kPurple, 0.8}, {kRed, 0.55}, {kBlue, 0.3}};
    const HistoryGraph whole{30, {kRed, kBlue}, history, true, {}, {}, false};
    const HistoryGraph banded{
        20, {kRed, kBlue}, history, true, {true, false}, {{2, 11, 0, 8}, {2, 3, 0, 8}}, false};
    return {
        {"history", 34, [=](CVBModuleView& v) { return v.drawHistoryGraph(whole, 0); }},
        {"history-banded", 24, [=](CVBModuleView& v) { return v.drawHistoryGraph(banded, 0); }},
        {"combined-vertical", 29,
         [=](CVBModuleView& v) {
             return v.drawCombinedVerticalGraph(
                 {{{kRed, 0.9}, {kBlue, 0.6}}, {{kRed, 0.3}}, {{kRed, 0.0}}, {{kRed, 0.001}}}, 0);
         }},
        {"vertical", 13,
         [=](CVBModuleView& v) { return v.drawVerticalGraphWithComponents(layers, 0); }},
        {"pie-full", graphHeight + 4,
         [](CVBModuleView& v) { return v.drawPieGraphWithPecentage(1.0, kBlue, 0); }},
        {"pie", graphHeight + 4,
         [=](CVBModuleView& v) { return v.drawPieGraphWithComponents(layers, 0); }},
        {"circular", graphHeight + 4,
         [=](CVBModuleView& v) { return v.drawCircularGraphWithComponents(layers, 0); }},
        {"dots", 11,
         [](CVBModuleView& v) {
             v.drawDot(true, kRed, {0, 12}, false);
             return v.drawDot(false, kBlue, {0, 2}, false);
         }},
        {"arrows", 11,
         [](CVBModuleView& v) {
             v.drawArrow(true, 1, kRed, {0, 12}, false);
             return v.drawArrow(false, 0, kBlue, {0, 2}, false);
         }},
        {"label", 24,
         [](CVBModuleView& v) { return v.drawLabel("menubar-label-cpu", "CPU_Label", 0); }},
        {"large-text", 0,
         [](CVBModuleView& v) {
             return v.drawLargeText(
                 "42%", ModuleText::textAttributes(v.context(), kPercentStyle, false), 0);
         }},
        {"small-text", 0,
         [](CVBModuleView& v) {
             const TextAttributes a =
                 ModuleText::smallTextAttributes(v.context(), kSmallStyle, false);
             v.drawSmallText("U:", a, Point{0, 10});
             return v.drawSmallText("F:", a, Point{0, 1});
         }},
        {"battery-vertical", 22,
         [](CVBModuleView& v) { return v.drawBatteryVerticalGraph(64, "", 1, 0); }},
        {"battery-horizontal", 30,
         [](CVBModuleView& v) {
             return v.drawBatteryHorizontalGraph(100, "Battery_ColorGraphCharged", 0, 0);
         }},
        {"battery-horizontal-low", 30,
         [](CVBModuleView& v) { return v.drawBatteryHorizontalGraph(8, "", 2, 0); }},
        {"battery-standard", 13,
         [](CVBModuleView& v) {
             return v.drawBatteryStandardVerticalGraph("Battery_ColorGraphDraining-Standard", 0.4,
                                                       0);
         }},
    };
}

class DrawingGolden : public DrawingFixture, public ::testing::WithParamInterface<Look> {
protected:
    void SetUp() override {
        setDark(GetParam().dark);
        CVBSetIntegerForKey(GetParam().small ? 1 : 0, "MenubarGraphSize");
    }
};

TEST_P(DrawingGolden, EachOperationDrawsItsShapeAndAnswersItsWidth) {
    CVBModuleView view(host(2));
    for (const auto& op : operations(view.graphHeight())) {
        SCOPED_TRACE(op.name);
        Image image(40, Surface::kStripHeight, 2.0);
        Surface surface(image);
        view.setSurface(&surface);
        const int width = op.draw(view);
        if (op.expectedWidth > 0)
            EXPECT_EQ(width, op.expectedWidth);
        else
            EXPECT_GT(width, 4);
        EXPECT_TRUE(matchesGolden(image, op.name + "-" + GetParam().name()));
    }
}

INSTANTIATE_TEST_SUITE_P(Looks, DrawingGolden,
                         ::testing::Values(Look{false, false}, Look{false, true}, Look{true, false},
                                           Look{true, true}),
                         [](const auto& look) {
                             std::string n = look.param.name();
                             std::replace(n.begin(), n.end(), '-', '_');
                             return n;
                         });

} // namespace
