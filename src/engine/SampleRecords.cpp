#include "engine/SampleRecords.h"

#include <algorithm>
#include <cstring>

namespace corvane {

void PushSamples(statsample* samples, std::int64_t valueCount, std::int64_t sampleCount) {
    if (!samples || sampleCount < 2)
        return;
    // Only the records move; the oldest one's values buffer comes round to slot 0. Moving the
    // values instead cost a hundred kilobytes a second for the memory ring alone.
    double* recycled = samples[sampleCount - 1].values;
    std::memmove(static_cast<void*>(samples + 1), samples,
                 static_cast<std::size_t>(sampleCount - 1) * sizeof(statsample));
    samples[0].values = recycled;
    // Slot 0 keeps its contents until written.
    if (valueCount > 0 && recycled && samples[1].values)
        std::copy_n(samples[1].values, valueCount, recycled);
}

} // namespace corvane
