#include "DiskFixture.h"
#include "collectors/disks/MenubarDisks.h"
#include "foundation/Log.h"

#include <gtest/gtest.h>

using namespace corvane;
using corvane::test::diskFixture;
using corvane::test::DiskRig;

namespace {

class DiskSpace : public ::testing::Test {
protected:
    DiskSpace() {
        rig.space->space["/"] = {1000.0, 250.0, 0};
        rig.manager.diskEvent();
        vda = rig.volume("vda");
    }
    // One cycle of the volume collector, then what the main queue has for it.
    void cycle(double seconds) {
        rig.queue.advance(seconds);
        rig.disks.setID(++identifier, 0);
        rig.disks.updateStats();
    }
    const double* newest() const { return vda->storageForType(0)[0].values; }

    DiskRig rig{diskFixture("disks-this-machine")};
    DisksStatCollector::VolumeItem vda;
    double identifier = 0;
};

} // namespace

TEST_F(DiskSpace, NothingIsAskedBeforeTheVolumeIsFiveSecondsOld) {
    cycle(4.9);
    EXPECT_TRUE(rig.held.tasks.empty());
    cycle(0.2);
    EXPECT_EQ(rig.held.tasks.size(), 1u);
}

TEST_F(DiskSpace, AnswerIsStoredOnTheNextCycleThenRepeatedForThirtySeconds) {
    cycle(6);
    rig.held.runAll();
    rig.queue.runUntilIdle();
    EXPECT_TRUE(vda->statsready);
    EXPECT_EQ(vda->storageForType(0)[0].sampleID, 0u); // not yet in the ring
    cycle(1);
    EXPECT_EQ(newest()[DiskStatCollectorItem::Size], 1000.0);
    EXPECT_EQ(newest()[DiskStatCollectorItem::Free], 250.0);
    EXPECT_EQ(newest()[DiskStatCollectorItem::Used], 750.0);
    EXPECT_EQ(newest()[DiskStatCollectorItem::Percentage], 75.0);
    EXPECT_EQ(newest()[DiskStatCollectorItem::PercentageWithoutPurgeable], 75.0);
    EXPECT_EQ(vda->used(), "750");

    rig.space->space["/"] = {1000.0, 100.0, 0};
    for (int i = 0; i < 28; ++i)
        cycle(1);
    EXPECT_TRUE(rig.held.tasks.empty());
    EXPECT_EQ(newest()[DiskStatCollectorItem::Free], 250.0); // repeated, not read
    EXPECT_EQ(vda->storageForType(0)[0].sampleID, static_cast<std::uint64_t>(identifier));
    cycle(1);
    EXPECT_EQ(rig.held.tasks.size(), 1u);
    EXPECT_EQ(rig.space->reads["/"], 1);
}

TEST_F(DiskSpace, AHungReadNeverStallsTheCycleNorStartsASecond) {
    cycle(6);
    ASSERT_EQ(rig.held.tasks.size(), 1u); // never run: the server does not answer
    EXPECT_TRUE(vda->busy);
    for (int i = 0; i < 120; ++i)
        cycle(1);
    EXPECT_EQ(rig.held.tasks.size(), 1u);
    EXPECT_EQ(rig.space->reads["/"], 0);
}

TEST(DiskSpaceFigures, FromTheAnswer) {
    const struct {
        std::optional<VolumeSpace> space;
        double size, free, used, percentage, purgeable, percentageWithout;
    } cases[] = {
        {VolumeSpace{1000, 250, 0}, 1000, 250, 750, 75, 0, 75},
        // Important capacity above available: the difference is purgeable.
        {VolumeSpace{1000, 200, 300}, 1000, 200, 800, 80, 100, 70},
        // Important capacity below available gives purgeable 0 and free equal to it.
        {VolumeSpace{1000, 300, 200}, 1000, 200, 800, 80, 0, 80},
        {VolumeSpace{0, 0, 0}, 0, 0, 0, 0, 0, 0},
        {std::nullopt, 0, 0, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        DiskStatCollectorItem item(6, 1);
        item.applySpace(c.space, 1);
        EXPECT_EQ(item.storageSize, c.size);
        EXPECT_EQ(item.storageFree, c.free);
        EXPECT_EQ(item.storageUsed, c.used);
        EXPECT_DOUBLE_EQ(item.storagePercentage, c.percentage);
        EXPECT_EQ(item.storagePurgable, c.purgeable);
        EXPECT_DOUBLE_EQ(item.storagePercentagePurgable, c.percentageWithout);
        EXPECT_FALSE(item.busy);
    }
    // Important capacity is not asked after a first answer without it.
    DiskStatCollectorItem item(6, 1);
    item.applySpace(VolumeSpace{1000, 250, 0}, 1);
    item.applySpace(VolumeSpace{1000, 250, 400}, 2);
    EXPECT_EQ(item.storagePurgable, 0.0);
    EXPECT_EQ(item.storageFree, 250.0);
}

TEST_F(DiskSpace, MenubarListMigratesUpdatesAndDefaults) {
    LogCapture log;
    Value entries = Value::array({"vda", "gone", Value::array({Value::dict({{"key", "x"}})})});
    EXPECT_TRUE(menubar_disks::updateMenubarDisks(entries, rig.disks));
    EXPECT_EQ(
        entries,
        Value::array({Value::dict({{"key", "vda"}, {"name", "Filesystem root"}, {"boot", true}}),
                      Value::dict({{"key", "x"}})}));
    EXPECT_TRUE(log.contains("Migrated disk menubar storage type"));

    // The boot entry follows the boot volume, whatever key it had.
    entries = Value::array({Value::dict({{"key", "old"}, {"name", "Old"}, {"boot", true}})});
    EXPECT_TRUE(menubar_disks::updateMenubarDisks(entries, rig.disks));
    EXPECT_EQ(entries[0]["key"], Value("vda"));
    EXPECT_FALSE(menubar_disks::updateMenubarDisks(entries, rig.disks));

    entries = Value::array();
    EXPECT_TRUE(menubar_disks::updateMenubarDisks(entries, rig.disks));
    EXPECT_EQ(entries[0]["boot"], Value(true));

    const Value available = menubar_disks::availableDisks(rig.manager.stucture());
    EXPECT_EQ(available, Value::array({Value::dict(
                             {{"header", "AVAILABLE DISKS"},
                              {"items", Value::array({Value::dict(
                                            {{"key", "vda"}, {"name", "Filesystem root"}})})}})}));
}
