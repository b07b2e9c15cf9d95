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
    // Zeroed doubles in pages of their own, mapped but not touched: a tier that has not filled
    // yet costs no memory, and a freed ring gives its pages back to the system.
    class ZeroedValues {
    public:
        ZeroedValues() = default;
        explicit ZeroedValues(std::size_t count);
        ZeroedValues(ZeroedValues&& other) noexcept;
        ZeroedValues& operator=(ZeroedValues&& other) noexcept;
        ~ZeroedValues();
        double* get() const { return values_; }

    private:
        double* values_ = nullptr;
        std::size_t bytes_ = 0;
    };

    std::unique_ptr<statsample[]> records_;
    ZeroedValues values_;
};

} // namespace corvane
