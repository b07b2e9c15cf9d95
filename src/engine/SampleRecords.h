#pragma once

#include "engine/SampleTiers.h"

#include <cstdint>

namespace corvane {

// One stored sample. Packed: rings are long and many, and readers take records by value.
#pragma pack(push, 1)
struct statsample {
    std::uint64_t sampleID; // grows by one per sample of the tier; 0 means never written
    double time;            // seconds since 1970
    std::int32_t empty;     // 1 when the slot holds no measurement
    double* values;         // sampleValueCount doubles owned by the ring
};
#pragma pack(pop)
static_assert(sizeof(statsample) == 28);

struct samplepeaks {
    double peaks[kMaximumSampleValues];
};

// One tier: its clock, and its ring with slot 0 newest.
struct sampleindexconfig {
    double sampleID = 0; // identifier of the newest sample of the tier
    double time = 0;     // time of the current period
    double nextTime = 0; // start of the next period; 0 while unscheduled
    double interval = 0;
    std::int64_t maximumSamples = 0;
    double peaks[kMaximumSampleValues] = {};
    bool updated = false;
    bool valuesLoaded = false;
    bool fillingGap = false;
    std::int64_t historyIndex = 0;
    statsample* samples = nullptr;
};

// Shifts a ring by one slot and drops the oldest sample, whose values buffer becomes slot 0's:
// buffers go round the ring, so a slot's `values` pointer is good only until the next shift.
// Slot 0 keeps its contents until written.
void PushSamples(statsample* samples, std::int64_t valueCount, std::int64_t sampleCount);

} // namespace corvane
