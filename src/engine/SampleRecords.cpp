#include "engine/SampleRecords.h"

#include <cstring>

namespace corvane {

void PushSamples(statsample* samples, std::int64_t valueCount, std::int64_t sampleCount) {
    if (!samples || sampleCount < 2)
        return;
    // A ring whose values lie in one block, slot after slot (as SampleRing lays them out),
    // moves them in one go.
    const bool oneBlock = valueCount > 0 && samples[sampleCount - 1].values ==
                                                samples[0].values + (sampleCount - 1) * valueCount;
    if (oneBlock) {
        std::memmove(samples[1].values, samples[0].values,
                     static_cast<std::size_t>((sampleCount - 1) * valueCount) * sizeof(double));
        for (std::int64_t slot = sampleCount - 1; slot >= 1; --slot) {
            samples[slot].sampleID = samples[slot - 1].sampleID;
            samples[slot].empty = samples[slot - 1].empty;
            samples[slot].time = samples[slot - 1].time;
        }
        return;
    }
    for (std::int64_t slot = sampleCount - 1; slot >= 1; --slot) {
        statsample& to = samples[slot];
        const statsample& from = samples[slot - 1];
        double* target = to.values;
        const double* source = from.values;
        for (std::int64_t k = 0; k < valueCount; ++k)
            target[k] = source[k];
        to.sampleID = from.sampleID;
        to.empty = from.empty;
        to.time = from.time;
    }
}

} // namespace corvane
