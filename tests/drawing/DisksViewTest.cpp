#include "DrawingFixture.h"
#include "collectors/disks/DiskActivityStatCollector.h"
#include "collectors/disks/DiskInfoStatCollectorLinux.h"
#include "collectors/disks/DisksStatCollector.h"
#include "drawing/CVBDisksMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "support/GoldenImage.h"

#include <fstream>

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;
using corvane::test::modes;

namespace {

// Fixed figures for every mount point.
class FixedSpace final : public VolumeSpaceReader {
public:
    std::optional<VolumeSpace> read(const std::string& path) const override {
        if (path == "/")
            return VolumeSpace{500e9, 125e9, 0};
        return VolumeSpace{4e12, 3e12, 0};
    }
};

class DisksView : public DrawingFixture {
protected:
    void SetUp() override {
        std::filesystem::create_directories(counters.path() / "proc");
        info.diskChange();
        disks.update();
        activity.rebuildDisks(info.activityDisks());
        // Twenty seconds of reading and writing at changing rates.
        for (int i = 0; i < 20; ++i) {
            std::ofstream(counters / "proc/diskstats")
                << "   8 0 sda " << 100 * i << " 0 " << 8000 * i * i << " 0 " << 40 * i << " 0 "
                << 20000 * i << " 0 0 0 0\n";
            queue.advance(1.0);
            disks.setID(i + 1, 0);
            activity.setID(i + 1, 0);
            disks.updateStats();
            activity.updateStats();
            queue.runUntilIdle();
        }
        CVBSetObjectForKey(Value::array({Value::dict({{"key", "aaaa-pseudo-root"}, {"boot", true}}),
                                         Value::dict({{"key", "bbbb-pseudo-data"}})}),
                           "Disks_MenubarItems");
        view.setSurface(&surface);
    }
    void TearDown() override {
        view.setSurface(nullptr);
        for (StatCollector* c :
             {static_cast<StatCollector*>(&disks), static_cast<StatCollector*>(&activity),
              static_cast<StatCollector*>(&info)})
            c->cleanup();
        PreferencesFixture::TearDown();
    }
    Image render(std::initializer_list<int> codes, bool dark = false) {
        return rendered(view, "Disks_MenubarMode", modes(codes), dark);
    }
    int width(std::initializer_list<int> codes) {
        CVBSetObjectForKey(modes(codes), "Disks_MenubarMode");
        view.setContext(host());
        return view.drawAtOffset(0);
    }

    test::TemporaryDirectory counters;
    EngineContext context{queue, kSettingsTierCount, nullptr};
    DiskInfoStatCollectorLinux info{
        context, SysRoot(std::filesystem::path(CVB_FIXTURES_DIR) / "sysroot/disks-sata-desktop")};
    DisksStatCollector disks{context, info, std::make_shared<FixedSpace>(),
                             [](std::function<void()> task) { task(); }};
    DiskActivityStatCollector activity{context, SysRoot(counters.path())};
    CVBDisksMenuExtraView view{host(), disks, activity, info};
    Image scratch{600, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(DisksView, ShowsTheListedVolumesWithPurgeableAsTheSettingsSay) {
    const auto shown = view.shownVolumes();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0]->path, "/"); // the boot entry follows the boot volume
    EXPECT_EQ(shown[1]->path, "/data");
    const auto space = CVBDisksMenuExtraView::spaceOf(*shown[0], true);
    EXPECT_TRUE(space.measured);
    EXPECT_EQ(space.used, 375e9);
    EXPECT_EQ(space.free, 125e9);
    EXPECT_EQ(space.percent, 75.0);

    CVBSetObjectForKey(Value::array(), "Disks_MenubarItems");
    EXPECT_EQ(view.shownVolumes().size(), 1u); // nothing stored: the boot volume
}

TEST_F(DisksView, ActivityIsTheSumOfTheDisksNewestRates) {
    const auto [read, write] = view.activity();
    // Sectors of 512 bytes: 8000 * (19² - 18²) sectors read, 20000 written in the last second.
    EXPECT_EQ(read, 8000.0 * (19 * 19 - 18 * 18) * 512);
    EXPECT_EQ(write, 20000.0 * 512);
    // The dropdown's graph: two seconds a column, newest first, against the highest column.
    const HistoryGraph graph = view.dropdownHistory(0, 3, 2);
    ASSERT_EQ(graph.samples.size(), 3u);
    EXPECT_DOUBLE_EQ(graph.samples[0][1], 1.0); // read: (37 + 35) / 2 units
    EXPECT_DOUBLE_EQ(graph.samples[1][1], 32.0 / 36);
    EXPECT_DOUBLE_EQ(graph.samples[0][0], 20000.0 / (8000 * 36)); // write
}

TEST_F(DisksView, PerVolumeElementsRepeatAndActivityStandsOnce) {
    const int percentage = width({1}) + 4; // two volumes, the last gap gone
    const int label = width({100}) + 4;
    const int rates = width({9}) + 4;
    EXPECT_EQ(width({100, 1, 9, 100, 9}), label + percentage + rates - 4);
    CVBSetBoolForKey(false, "Disks_MenubarGroupItems");
    EXPECT_EQ(width({100, 1, 9, 100, 9}), label + percentage + rates - 4);
}

TEST_F(DisksView, LooksAsRecorded) {
    CVBSetIntegerForKey(0, "Disks_ActivityGraphMode");
    EXPECT_TRUE(matchesGolden(render({100, 0, 1, 8, 9}), "disks-space-activity-light"));
    CVBSetBoolForKey(true, "Disks_MenubarUFShowLabel");
    EXPECT_TRUE(matchesGolden(render({100, 2, 5, 6, 7}, true), "disks-text-dark"));
}

} // namespace
