#pragma once

#include "engine/SampleRing.h"
#include "engine/StatCollectorItem.h"

#include <array>
#include <cstdint>
#include <vector>

namespace corvane {

// Ticks spent between two readings of a counter.
double tickDelta(std::uint64_t now, std::uint64_t before);

// One logical or physical core. Instead of tiers it keeps one ring of its own, with the tick
// counters of each sample beside it, so a core's load is computed from its own counters.
class CPUStatCollectorItem : public StatCollectorItem {
public:
    // The values of a processor sample in percent, the machine's and each core's alike.
    enum Slot : int { User = 0, System = 1, Nice = 2 };
    static constexpr std::int64_t kSlotCount = 3;

    // Tick counters in the order user, system, idle, nice.
    using Ticks = std::array<std::uint64_t, 4>;

    explicit CPUStatCollectorItem(int tierCount);

    // New counters of a logical core: the percentages of the change since the last ones. A
    // core that did not tick at all gets values that are not numbers; readers count them as 0.
    void addTicks(const Ticks& ticks);
    // Counters the next addTicks is measured from, without a sample.
    void setBaseline(const Ticks& ticks) { ticks_.front() = ticks; }
    // The load of a physical core, averaged from its logical cores.
    void addSample(float user, float system, float nice);
    using StatCollectorItem::addSample;

    statsample sampleAtIndex(std::int64_t index, int type) const override;
    statsample sampleWithIdentifier(std::uint64_t identifier, int type) const override;
    double idForInterval(int /*interval*/) const override { return sampleID_; }

    const Ticks& newestTicks() const { return ticks_.front(); }

private:
    void push(double user, double system, double nice);

    SampleRing history_;
    SampleRing emptyValue_;
    double sampleID_ = 0;
    std::vector<Ticks> ticks_; // row 0 newest, as long as the ring
};

} // namespace corvane
