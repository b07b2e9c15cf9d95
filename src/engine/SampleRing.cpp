#include "engine/SampleRing.h"

#include <algorithm>
#include <new>
#include <sys/mman.h>

namespace corvane {

void SampleRing::allocate(std::int64_t count, std::int64_t valueCount) {
    const auto records = static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
    // At least one double per record so that every `values` pointer is valid to hand out.
    const auto width = static_cast<std::size_t>(std::max<std::int64_t>(valueCount, 1));
    records_ = std::make_unique<statsample[]>(records);
    values_.reset();
    if (const std::size_t bytes = records * width * sizeof(double); bytes > 0) {
        void* pages =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED)
            throw std::bad_alloc();
        values_ = {static_cast<double*>(pages), Unmap{bytes}};
    }
    for (std::size_t i = 0; i < records; ++i) {
        statsample& record = records_[i];
        record.sampleID = 0;
        record.time = 0;
        record.empty = 1;
        record.values = values_.get() + i * width;
    }
}

void SampleRing::release() {
    records_.reset();
    values_.reset();
}

void SampleRing::Unmap::operator()(double* values) const {
    munmap(values, bytes);
}

} // namespace corvane
