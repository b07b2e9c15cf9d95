#include "DrawingFixture.h"
#include "drawing/Artwork.h"
#include "drawing/CVBMemoryMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"
#include "support/ScriptedMemory.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;
using corvane::test::ScriptedMemory;

namespace {

std::vector<double> shares(const std::vector<GraphComponent>& layers) {
    std::vector<double> result;
    for (const auto& layer : layers)
        result.push_back(layer.percentage);
    return result;
}

class MemoryView : public DrawingFixture {
protected:
    void SetUp() override {
        // KiB: 4 GiB of 16 in use by kind, 2 GiB inactive.
        memory.reading.pageSize = 1024;
        memory.reading.wiredPages = 1u << 20;
        memory.reading.activePages = 2u << 20;
        memory.reading.compressorPages = 1u << 20;
        memory.reading.inactivePages = 2u << 20;
        memory.reading.freePages = 10u << 20;
        memory.reading.installedMemory = 16ull << 30;
        for (int i = 0; i < 12; ++i) {
            memory.reading.activePages += (i % 3) << 18;
            memory.reading.pageins += i % 2 ? 10 : 0;
            queue.advance(1.0);
            memory.updateStats();
        }
        view.setSurface(&surface);
    }
    void TearDown() override {
        view.setSurface(nullptr);
        memory.cleanup();
        PreferencesFixture::TearDown();
    }
    Image render(std::initializer_list<int> codes, bool dark = false) {
        return rendered(view, "Memory_MenubarMode", modes(codes), dark);
    }

    EngineContext context{queue, kSettingsTierCount, nullptr};
    ScriptedMemory memory{context};
    CVBMemoryMenuExtraView view{host(), memory};
    Image scratch{400, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(MemoryView, LayersAreCumulativeSharesLargestFirstOrThePressure) {
    const CVBMemoryMenuExtraView::Amounts a{16, 4, 1, 2, 2, 1, 25, 0, 0};
    CVBSetBoolForKey(true, "Memory_MenubarGraphBreakdowns");
    CVBSetBoolForKey(false, "Memory_IgnoreInactive");
    EXPECT_EQ(shares(view.components(a)),
              (std::vector<double>{6.0 / 16, 4.0 / 16, 3.0 / 16, 1.0 / 16}));
    CVBSetBoolForKey(true, "Memory_IgnoreInactive");
    EXPECT_EQ(shares(view.components(a)), (std::vector<double>{4.0 / 16, 3.0 / 16, 1.0 / 16}));
    CVBSetBoolForKey(false, "Memory_MenubarGraphBreakdowns");
    EXPECT_EQ(shares(view.components(a)), (std::vector<double>{4.0 / 16}));
    // Nothing known of the total: the graphs show nothing rather than infinities.
    EXPECT_EQ(shares(view.components({0, 0, 1, 2, 2, 1, 0, 0, 0})), (std::vector<double>{0.0}));

    // Pressure shows only where the source measures it.
    CVBSetIntegerForKey(0, "Memory_DisplayFormat");
    EXPECT_TRUE(view.pressureMode());
    EXPECT_EQ(shares(view.components(a)), (std::vector<double>{0.25}));
    memory.can.hasCompressor = false;
    EXPECT_FALSE(view.pressureMode());
    CVBSetIntegerForKey(1, "Memory_DisplayFormat");
    memory.can.hasCompressor = true;
    EXPECT_FALSE(view.pressureMode());
}

TEST_F(MemoryView, WidthIsTheSumOfItsElementsLessTheLastGap) {
    const int label = view.drawLabel("menubar-label-memory", "Memory_Label", 0);
    const int graph = view.graphHeight() + 4;
    Value list = modes({100, 1, 6, 9, 7, 8});
    list.append(Value::dict({{"key", 101}, {"width", 5}}));
    CVBSetObjectForKey(list, "Memory_MenubarMode");
    EXPECT_EQ(view.drawAtOffset(0), label + 13 + graph + graph + 11 + 11 + 5 - 4);
    CVBSetObjectForKey(Value("100,1"), "Memory_MenubarMode");
    EXPECT_EQ(view.drawAtOffset(0), 0);
}

TEST_F(MemoryView, UsedAndFreeKeepTheirWidestWidth) {
    CVBSetObjectForKey(modes({3}), "Memory_MenubarMode");
    const int withLabels = view.drawAtOffset(0);
    CVBSetBoolForKey(false, "Memory_UFShowLabel");
    const int withoutLabels = view.drawAtOffset(0);
    EXPECT_GT(withLabels, withoutLabels + 8);
    EXPECT_EQ(withoutLabels, view.config["text-attributes-usedfree-width"].integerValue());

    // Less memory in use makes shorter texts, but not a narrower item.
    memory.reading.activePages = 1;
    queue.advance(1.0);
    memory.updateStats();
    EXPECT_EQ(view.drawAtOffset(0), withoutLabels);
}

TEST_F(MemoryView, WithoutAReadingOnlyTheLabelShows) {
    ScriptedMemory fresh{context};
    CVBMemoryMenuExtraView empty{host(), fresh};
    CVBSetObjectForKey(modes({100, 0, 2, 3}), "Memory_MenubarMode");
    empty.setSurface(&surface);
    EXPECT_EQ(empty.drawAtOffset(0),
              empty.drawLabel("menubar-label-memory", "Memory_Label", 0) - 4);
    fresh.cleanup();
}

TEST_F(MemoryView, LooksAsRecorded) {
    CVBSetBoolForKey(true, "Memory_MenubarGraphBreakdowns");
    CVBSetBoolForKey(false, "Memory_IgnoreInactive");
    EXPECT_TRUE(matchesGolden(render({100, 0, 1, 2, 6, 9}), "memory-breakdowns-light"));
    CVBSetBoolForKey(false, "Memory_MenubarGraphBreakdowns");
    CVBSetBoolForKey(true, "Memory_IgnoreInactive");
    EXPECT_TRUE(matchesGolden(render({100, 3, 7, 8}, true), "memory-text-dark"));
}

} // namespace
