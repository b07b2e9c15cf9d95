#include "engine/TierOperations.h"

#include <cmath>
#include <vector>

namespace corvane::tier {

std::optional<std::uint64_t> identifierForSample(const Value& config, const Value& sample,
                                                 std::uint64_t newestID) {
    double id = 0;
    for (const Value& name : config["addSampleIDKeys"].arrayItems()) {
        if (const Value* found = sample.find(name.string()))
            id = found->doubleValue();
    }
    if (id == 0)
        id = static_cast<double>(newestID) + 1.0;
    // Written this way round so that NaN is refused too.
    if (!(id >= 1.0) || !(id > static_cast<double>(newestID)) || id > kLargestIdentifier)
        return std::nullopt;
    return static_cast<std::uint64_t>(id);
}

void writeSlot(const Value& config, const Value& sample, statsample& slot, std::int64_t valueCount,
               std::uint64_t sampleID, EmptyRule rule) {
    double* values = slot.values;
    for (const auto& [name, slotValue] : config["addSampleMap"].dictionaryItems()) {
        const Value* found = sample.find(name);
        if (!found)
            continue;
        const std::int64_t index = slotValue.integerValue();
        if (index == -1)
            slot.time = found->doubleValue();
        else if (index >= 0 && index < valueCount)
            values[index] = found->doubleValue();
    }
    if (const Value* time = sample.find("time"))
        slot.time = time->doubleValue();
    const Value* empty = sample.find("empty");
    if (rule == EmptyRule::Integer)
        slot.empty = empty ? static_cast<std::int32_t>(empty->integerValue()) : 0;
    else
        slot.empty = (empty && empty->doubleValue() == 1.0) ? 1 : 0;
    slot.sampleID = sampleID;
}

std::int64_t accumulate(const sampleindexconfig& ring, std::int64_t valueCount, double start,
                        double limit, bool bounded, double* sums) {
    if (!ring.samples || !ring.valuesLoaded)
        return 0;
    std::int64_t count = 0;
    for (std::int64_t slot = 0; slot < ring.maximumSamples; ++slot) {
        const statsample& sample = ring.samples[slot];
        if (sample.empty)
            continue;
        if (bounded) {
            if (sample.time <= start)
                break;
            if (sample.time > limit)
                continue;
        }
        const double* values = sample.values;
        for (std::int64_t k = 0; k < valueCount; ++k)
            sums[k] += values[k];
        ++count;
    }
    return count;
}

Value averagesDictionary(const Value& config, const double* sums, std::int64_t count,
                         std::int64_t valueCount, double time) {
    Value result = Value::dict({{"empty", count < 1}, {"time", time}});
    for (const auto& [name, slotValue] : config["sampleKeys"].dictionaryItems()) {
        const std::int64_t index = slotValue.integerValue();
        if (index < 0 || index >= valueCount)
            continue;
        result.set(name, count < 1 ? 0.0 : sums[index] / static_cast<double>(count));
    }
    return result;
}

bool indexesKeptThreshold(const sampleindexconfig& ring, std::int64_t valueCount,
                          std::span<const int> indexes, double value, double forTime, double now,
                          Threshold threshold) {
    if (!ring.samples)
        return false;
    bool previous = false;
    bool havePrevious = false;
    for (std::int64_t slot = 0; slot < ring.maximumSamples; ++slot) {
        const statsample& sample = ring.samples[slot];
        double sum = 0;
        const double* values = sample.values;
        for (int index : indexes) {
            if (index >= 0 && index < valueCount)
                sum += values[index];
        }
        const bool passes = threshold == Threshold::Below ? sum < value : sum >= value;
        if (forTime < 0)
            return passes;
        if (sample.time < now - forTime) {
            // A slot never written (time 0) means the ring does not reach back that far.
            if (!(sample.time > 1.0))
                return false;
            return havePrevious && previous;
        }
        if (!passes)
            return false;
        previous = passes;
        havePrevious = true;
    }
    return ring.maximumSamples > 0;
}

std::optional<statsample> findIdentifier(const sampleindexconfig& ring, std::uint64_t id) {
    if (!ring.samples)
        return std::nullopt;
    for (std::int64_t slot = 0; slot < ring.maximumSamples; ++slot) {
        if (ring.samples[slot].sampleID == id)
            return ring.samples[slot];
    }
    return std::nullopt;
}

Value averagesForPeriod(std::span<const sampleindexconfig> tiers, int tierIndex,
                        const Value& config, std::int64_t valueCount, PeriodRule rule, double now) {
    const sampleindexconfig& tier = tiers[static_cast<std::size_t>(tierIndex)];
    const double start = tier.time - tier.interval;
    double stackSums[kMaximumSampleValues] = {};
    std::vector<double> wideSums;
    double* sums = stackSums;
    if (valueCount > kMaximumSampleValues) {
        wideSums.assign(static_cast<std::size_t>(valueCount), 0.0);
        sums = wideSums.data();
    }
    std::int64_t count = 0;
    const std::int64_t h = tier.historyIndex;
    if (h >= 0 && h < static_cast<std::int64_t>(tiers.size())) {
        // A live sample is stamped with its beat, which may run up to a second after the
        // period's end.
        const double limit = h != 0 ? tier.time : tier.time + 0.99;
        const bool bounded = rule == PeriodRule::Item || start > 0;
        count =
            accumulate(tiers[static_cast<std::size_t>(h)], valueCount, start, limit, bounded, sums);
    }
    return averagesDictionary(config, sums, count, valueCount,
                              rule == PeriodRule::Item ? start : now);
}

} // namespace corvane::tier
