#include "engine/SampleRecords.h"

#include "SampleView.h"
#include "engine/SampleRing.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using testing::view;

void writeSlot(statsample& slot, std::uint64_t id, double value) {
    slot.sampleID = id;
    slot.time = 1000.0 + static_cast<double>(id);
    slot.empty = 0;
    slot.values[0] = value;
    slot.values[1] = -value;
}

TEST(PushSamples, MovesSamplesDropsTheOldestKeepsBuffersApartAndLeavesARingOfOneAlone) {
    SampleRing ring;
    ring.allocate(3, 2);
    statsample* slots = ring.records();
    writeSlot(slots[0], 3, 30);
    writeSlot(slots[1], 2, 20);
    writeSlot(slots[2], 1, 10);

    PushSamples(slots, 2, 3);

    EXPECT_EQ(view(slots[2]).sampleID, 2u);
    EXPECT_EQ(slots[2].values[0], 20);
    EXPECT_EQ(slots[2].values[1], -20);
    EXPECT_EQ(view(slots[1]).sampleID, 3u);
    EXPECT_EQ(view(slots[1]).time, 1003.0);
    EXPECT_EQ(slots[1].values[0], 30);
    // Slot 0 keeps its contents until it is written, in a buffer of its own.
    EXPECT_EQ(view(slots[0]).sampleID, 3u);
    EXPECT_EQ(slots[0].values[1], -30);
    writeSlot(slots[0], 4, 40);
    EXPECT_EQ(slots[1].values[0], 30);
    PushSamples(slots, 2, 3);
    writeSlot(slots[0], 5, 50);
    EXPECT_EQ(slots[1].values[0], 40);
    EXPECT_EQ(slots[2].values[0], 30);

    // A ring of one has nothing to move.
    SampleRing one;
    one.allocate(1, 2);
    writeSlot(one.records()[0], 5, 50);
    PushSamples(one.records(), 1, 1);
    EXPECT_EQ(view(one.records()[0]).sampleID, 5u);
}

} // namespace
} // namespace corvane
