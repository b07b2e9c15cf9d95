// Adding a sample runs every second for every collector and item: it must not allocate. The
// global allocation functions are replaced here to count what happens while a window is open.

#include "TestCollectors.h"
#include "engine/StatCollector.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

namespace {
std::atomic<bool> counting{false};
std::atomic<long> allocations{0};
} // namespace

void* operator new(std::size_t size) {
    if (counting.load(std::memory_order_relaxed))
        allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

namespace corvane {
namespace {

class AllocationWindow {
public:
    AllocationWindow() {
        allocations = 0;
        counting = true;
    }
    ~AllocationWindow() { counting = false; }
    long count() const { return allocations.load(); }
};

TEST(AddSampleAllocation, CollectorAndItemAddsAllocateNothing) {
    ManualMainQueue queue;
    testing::ProcessorCollector collector{EngineContext{queue, kLoggingTierCount}};
    testing::NetworkCollector network{EngineContext{queue, kLoggingTierCount}};
    auto item = network.newItemWithKey2("en0");
    item->loadFullStorageAtIndex(0);
    const Value sample = Value::dict({{"time", 5.0},
                                      {"user", 1.0},
                                      {"system", 2.0},
                                      {"nice", 3.0},
                                      {"io", 4.0},
                                      {"download", 6.0},
                                      {"empty", 0}});
    const Value numbered = Value::dict({{"sample", 1e6}, {"time", 6.0}});

    AllocationWindow window;
    ::operator delete(::operator new(4)); // the count sees allocations at all
    ASSERT_EQ(window.count(), 1);
    for (int i = 0; i < 1000; ++i) {
        collector.addSample(sample, 0);
        collector.addSample(sample, 3);
        collector.addSampleAtIndex(sample, 0, 5);
        network.addSample(numbered, 0);
        item->addSample(sample, 0);
        item->addSampleToFullStorage(sample, 0);
        PushSamples(collector.sampleIndex()[1].samples, 3, kMaximumSamples);
    }
    EXPECT_EQ(window.count(), 1);
    EXPECT_EQ(collector.lastIDForType(0), 1000u) << "the adds did happen";
    EXPECT_EQ(item->idForInterval(0), 1000.0);
}

} // namespace
} // namespace corvane
