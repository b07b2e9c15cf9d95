#include "collectors/cpu/CPUStatCollectorItem.h"

#include <algorithm>

namespace corvane {

namespace {} // namespace

double tickDelta(std::uint64_t now, std::uint64_t before) {
    // A counter that went backwards (a core taken off line and back, a virtual machine moved)
    // says nothing about the interval.
    return now >= before ? static_cast<double>(now - before) : 0.0;
}

CPUStatCollectorItem::CPUStatCollectorItem(int tierCount)
    : StatCollectorItem(kSlotCount, tierCount)
    , ticks_(static_cast<std::size_t>(kMaximumSamples)) {
    history_.allocate(kMaximumSamples, kSlotCount);
    emptyValue_.allocate(1, kSlotCount);
}

void CPUStatCollectorItem::addTicks(const Ticks& ticks) {
    // Moving the rows keeps the memory in place: no allocation on the cycle.
    std::move_backward(ticks_.begin(), ticks_.end() - 1, ticks_.end());
    const Ticks previous = ticks_[1];
    ticks_[0] = ticks;
    std::array<double, 4> delta{};
    double total = 0;
    for (std::size_t state = 0; state < 4; ++state) {
        delta[state] = tickDelta(ticks[state], previous[state]);
        total += delta[state];
    }
    push(delta[0] / total * 100.0, delta[1] / total * 100.0, delta[3] / total * 100.0);
}

void CPUStatCollectorItem::addSample(float user, float system, float nice) {
    push(user, system, nice);
}

void CPUStatCollectorItem::push(double user, double system, double nice) {
    sampleID_ += 1.0;
    statsample* ring = history_.records();
    PushSamples(ring, kSlotCount, kMaximumSamples);
    ring[0].values[User] = user;
    ring[0].values[System] = system;
    ring[0].values[Nice] = nice;
    ring[0].sampleID = static_cast<std::uint64_t>(sampleID_);
    ring[0].empty = 0;
}

statsample CPUStatCollectorItem::sampleAtIndex(std::int64_t index, int) const {
    if (index < 0 || index >= kMaximumSamples)
        return emptyValue_.records()[0];
    return history_.records()[index];
}

statsample CPUStatCollectorItem::sampleWithIdentifier(std::uint64_t identifier, int) const {
    const statsample* ring = history_.records();
    for (std::int64_t i = 0; i < kMaximumSamples; ++i) {
        if (ring[i].sampleID == identifier && ring[i].empty == 0)
            return ring[i];
    }
    statsample empty = emptyValue_.records()[0];
    empty.sampleID = identifier;
    return empty;
}

} // namespace corvane
