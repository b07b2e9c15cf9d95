#pragma once

#include "engine/SampleRecords.h"

#include <cstdint>
#include <memory>

namespace corvane {

// Owns the memory of one ring: the records and one block that holds every record's values.
// Allocated once; shifting the ring passes the value buffers round among the records.
class SampleRing {
public:
    SampleRing() = default;
    SampleRing(SampleRing&&) noexcept = default;
    SampleRing& operator=(SampleRing&&) noexcept = default;

    // A ring of `count` records with `empty` 1, `sampleID` 0, time 0 and zeroed values.
    void allocate(std::int64_t count, std::int64_t valueCount);
    void release();

    statsample* records() const { return records_.get(); }
    bool allocated() const { return records_ != nullptr; }

private:
    // The values live in zeroed pages of their own, mapped but not touched: a tier that has not
    // filled yet costs no memory, and a freed ring gives its pages back to the system.
    struct Unmap {
        std::size_t bytes;
        void operator()(double* values) const;
    };

    std::unique_ptr<statsample[]> records_;
    std::unique_ptr<double[], Unmap> values_;
};

} // namespace corvane
