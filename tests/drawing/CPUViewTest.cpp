#include "DrawingFixture.h"
#include "drawing/Artwork.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"
#include "support/ScriptedProcessor.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;
using corvane::test::ScriptedProcessor;

namespace {

// The plan as text: each entry's code, with ":core" where it stands for one core.
std::string planOf(const std::vector<CPUModeEntry>& plan) {
    std::string text;
    for (const auto& e : plan) {
        text += (text.empty() ? "" : " ") + std::to_string(e.code());
        if (e.core != CPUModeEntry::kWholeMachine)
            text += ":" + std::to_string(e.core);
    }
    return text;
}

TEST(CPUModePlan, PerCoreModesExpandAsTheGroupingSays) {
    const struct {
        CPUModePlan plan; // combined, grouped items, single history graph
        Value list;
        std::size_t cores;
        const char* expected;
    } cases[] = {
        // Combined: each mode once, for the machine.
        {{true, false, false}, modes({100, 2, 0, 100}), 4, "100 2 0 100"},
        // Grouped items expand in place; a single history graph stands once.
        {{false, true, false}, modes({100, 2, 6, 0}), 2, "100 2:0 2:1 6 0:0 0:1"},
        {{false, true, true}, modes({0, 1}), 2, "0 1:0 1:1"},
        // By core: each core's modes together. Labels, load and single graphs stand once across
        // the leading and trailing parts; spacers and graphics elements as often as listed.
        {{false, false, false}, modes({100, 1, 4, 2}), 2, "100 1:0 2:0 1:1 2:1 4"},
        {{false, false, true},
         modes({100, 101, 0, 3, 100, 101, 0, 9, 9}),
         1,
         "100 101 0 3:0 101 9 9"},
        // Without per-core modes, only the leading part.
        {{false, false, true}, modes({4, 7, 4}), 8, "4 7"},
        {{false, false, true}, Value("100,2"), 4, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(planOf(c.plan.entries(c.list, c.cores)), c.expected) << c.list.description();
}

class CPUView : public DrawingFixture {
protected:
    void SetUp() override {
        cpu.ticks.assign(8, {});
        cpu.setup();
        // Per logical core: user and system percent, three samples so histories show.
        for (unsigned step = 0; step < 3; ++step) {
            std::vector<std::pair<unsigned, unsigned>> busy;
            for (unsigned core = 0; core < 8; ++core)
                busy.emplace_back((core * 11 + step * 7) % 70, (core * 3 + step * 5) % 25);
            cpu.advance(busy);
            queue.advance(1.0);
            cpu.updateStats();
        }
        load.averages = {{1.254, 0.8, 0.5}};
        load.updateStats();
    }
    void TearDown() override {
        cpu.cleanup();
        load.cleanup();
        PreferencesFixture::TearDown();
    }
    int widthOf(std::initializer_list<int> codes) { return widthOf(modes(codes)); }
    int widthOf(const Value& list) {
        CVBSetObjectForKey(list, "CPU_MenubarMode");
        CVBCPUMenuExtraView view(host(), cpu, &load);
        return ItemRenderer::render(view, host(), ItemRenderer::Background::Transparent)
            .size()
            .width;
    }
    Image render(bool dark = false) {
        setDark(dark);
        CVBCPUMenuExtraView view(host(), cpu, &load);
        return ItemRenderer::render(view, host(2), ItemRenderer::Background::Transparent);
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedProcessor cpu{context, 8, 4};
    test::ScriptedLoad load{context};
};

TEST_F(CPUView, WidthIsTheSumOfItsElementsLessTheLastGap) {
    CVBSetBoolForKey(false, "CPU_CombineLogicalCores");
    // Label 19 wide + 5, combined graph of 8 cores 6 * 8 + 5, less the last 4.
    EXPECT_EQ(widthOf({100, 6}), 24 + 53 - 4);
    // Physical cores: 4 bars.
    CVBSetBoolForKey(true, "CPU_CombineLogicalCores");
    EXPECT_EQ(widthOf({100, 6}), 24 + 29 - 4);
    const Value spacer = Value::dict({{"key", 101}, {"width", 7}});
    EXPECT_EQ(widthOf(Value::array()), 1);    // an empty item still makes a picture of one point
    EXPECT_EQ(widthOf({5, 8, 9, 10, 11}), 1); // graphics elements need a graphics item
    EXPECT_EQ(widthOf(Value::array({spacer, Value::dict({{"key", 1}})})), 7 + 13 - 4);
}

TEST_F(CPUView, PerCoreElementsFollowTheGroupingSettings) {
    CVBSetBoolForKey(false, "CPU_MenubarCombineCores");
    CVBSetBoolForKey(false, "CPU_CombineLogicalCores");
    // One vertical graph per logical core.
    EXPECT_EQ(widthOf({1}), 8 * 13 - 4);
    CVBSetBoolForKey(true, "CPU_CombineLogicalCores");
    EXPECT_EQ(widthOf({1}), 4 * 13 - 4);
    CVBSetBoolForKey(true, "CPU_MenubarCombineCores");
    EXPECT_EQ(widthOf({1}), 13 - 4);
}

TEST_F(CPUView, TextsAreTheBusyPercentageAndTheLoadWithTwoDecimals) {
    CVBSetObjectForKey(modes({4}), "CPU_MenubarMode");
    CVBCPUMenuExtraView view(host(), cpu, &load);
    Image scratch(200, Surface::kStripHeight);
    Surface surface(scratch);
    view.setSurface(&surface);
    const int loadWidth = view.drawAtOffset(0);
    EXPECT_EQ(loadWidth, view.sizeLargeText("1.25", view.textAttributes("load-text")));

    // The percentage keeps the widest width it has drawn, so the item does not jitter.
    CVBSetObjectForKey(modes({2}), "CPU_MenubarMode");
    const int wide = view.drawAtOffset(0);
    EXPECT_EQ(view.config["text-attributes-cpu-percentage-width"].doubleValue(), wide);
    cpu.advance(std::vector<std::pair<unsigned, unsigned>>(8, {0, 0}));
    queue.advance(1.0);
    cpu.updateStats(); // 0%, narrower text
    EXPECT_EQ(view.drawAtOffset(0), wide);
}

// The status program draws one item for hosts of both looks in one process, and the settings
// window a preview beside them: no view's caches and no shared artwork may leak across.
TEST_F(CPUView, HostsOfBothLooksEachGetTheirOwnPicture) {
    constexpr auto kClear = ItemRenderer::Background::Transparent;
    const DrawingContext light = host(2);
    const DrawingContext dark = host(2).withDark(true);
    CVBCPUMenuExtraView forLight(light, cpu, &load);
    CVBCPUMenuExtraView forDark(dark, cpu, &load);
    for (int frame = 0; frame < 2; ++frame) {
        EXPECT_TRUE(
            matchesGolden(ItemRenderer::render(forLight, light, kClear), "cpu-defaults-light"));
        EXPECT_TRUE(
            matchesGolden(ItemRenderer::render(forDark, dark, kClear), "cpu-defaults-dark"));
    }
    // A view handed another host's context draws for that host.
    EXPECT_TRUE(matchesGolden(ItemRenderer::render(forLight, dark, kClear), "cpu-defaults-dark"));
    EXPECT_TRUE(matchesGolden(render(true), "cpu-defaults-dark"));
}

TEST_F(CPUView, BreakdownsAndPerCoreGroupingLookAsRecorded) {
    CVBSetBoolForKey(true, "CPU_MenubarGraphBreakdowns");
    CVBSetBoolForKey(false, "CPU_MenubarCombineCores");
    CVBSetObjectForKey(modes({100, 0, 1, 3, 13, 2}), "CPU_MenubarMode");
    EXPECT_TRUE(matchesGolden(render(false), "cpu-breakdowns-light"));

    CVBSetBoolForKey(false, "CPU_MenubarGraphBreakdowns");
    for (const char* key :
         {"CPU_MenubarGroupItems", "CPU_CombineLogicalCores", "CPU_MenubarSingleHistoryGraph"})
        CVBSetBoolForKey(false, key);
    CVBSetObjectForKey(modes({100, 1, 2, 4}), "CPU_MenubarMode");
    EXPECT_TRUE(matchesGolden(render(true), "cpu-per-core-dark"));
}

} // namespace
