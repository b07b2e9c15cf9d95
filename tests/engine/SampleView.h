#pragma once

#include "engine/SampleRecords.h"

namespace corvane::testing {

// An aligned copy of a packed record, so that assertions can take its fields by reference.
struct SampleView {
    std::uint64_t sampleID;
    double time;
    std::int32_t empty;
    const double* values;
};

inline SampleView view(const statsample& s) {
    return {s.sampleID, s.time, s.empty, s.values};
}

} // namespace corvane::testing
