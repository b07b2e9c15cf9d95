#include "engine/SampleRecords.h"

namespace corvane {

void PushSamples(statsample* samples, std::int64_t valueCount, std::int64_t sampleCount) {
    if (!samples || sampleCount < 2)
        return;
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
