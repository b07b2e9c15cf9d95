#pragma once

#include "collectors/cpu/CPUStatCollectorItem.h"
#include "engine/StatCollector.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace corvane {

// The load of the whole machine in percent of all processors (user, system, nice), and in its
// items the load of each logical core and, on machines with two threads a core, of each
// physical core. The machine is read by a subclass through the four inputs below.
class CPUStatCollector : public StatCollector {
public:
    using Ticks = CPUStatCollectorItem::Ticks;
    using CoreItem = std::shared_ptr<CPUStatCollectorItem>;
    // Counts above this are taken for a misreading.
    static constexpr std::int64_t kMaximumCoreCount = 128;

    explicit CPUStatCollector(const EngineContext& context);
    ~CPUStatCollector() override;

    static Value makeConfig();

    // Reads the machine's layout and first counters; once, before the first updateStats.
    void setup();
    void updateStats() override;
    void updateProcessInfo();
    void cleanup() override;
    ItemPointer itemClassInstance() const override;

    bool hyperThreading() const { return hyperThreading_; }
    std::int32_t taskCount() const { return taskCount_; }
    std::int32_t threadCount() const { return threadCount_; }
    double runningTime() const { return runningTime_; }
    std::int64_t coreCount() const { return coreCount_; }
    const std::vector<CoreItem>& physicalCores() const { return physicalCores_; }
    // The logical cores, in the order of the processors.
    std::vector<CoreItem> logicalCores() const;

protected:
    struct ProcessInfo {
        std::int32_t tasks = 0;
        std::int32_t threads = 0;
    };

    virtual std::int64_t physicalCoreCount() = 0;
    virtual std::int64_t logicalCoreCount() = 0;
    // Per processor, always the same processors in the same order; nothing when the counters
    // cannot be read.
    virtual std::vector<Ticks> processorTicks() = 0;
    virtual ProcessInfo processInfo() = 0;
    // The two logical processors of each physical core, by position in processorTicks. The
    // default pairs neighbours; a source that knows the topology says which belong together.
    virtual std::vector<std::array<std::size_t, 2>> physicalCorePairs(std::size_t physicalCount);
    // The counters of now become those the next sample is measured from.
    bool takeBaseline() override;
    // A processor's next sample is measured from these counters; for a source whose processor
    // has counters for the first time, so that its ticks since boot count as no interval.
    void rebaseline(std::size_t processor, const Ticks& ticks);

private:
    void addPhysicalCoreSamples();

    bool hyperThreading_ = false;
    std::int32_t taskCount_ = 0;
    std::int32_t threadCount_ = 0;
    double runningTime_ = -1.0;
    std::int64_t coreCount_ = 0;
    std::vector<CoreItem> physicalCores_;
    std::vector<std::array<std::size_t, 2>> corePairs_;
    std::vector<Ticks> previousTicks_;
};

} // namespace corvane
