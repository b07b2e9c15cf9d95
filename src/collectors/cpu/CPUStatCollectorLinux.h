#pragma once

#include "collectors/cpu/CPUStatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <optional>

namespace corvane {

// The processor's counters from /proc/stat and its layout from /sys/devices/system/cpu.
class CPUStatCollectorLinux final : public CPUStatCollector {
public:
    CPUStatCollectorLinux(const EngineContext& context, SysRoot root);

    // The collector of the process, set up on first use with the given context.
    static CPUStatCollectorLinux& sharedCPUCollector(const EngineContext& context);
    static void cleanupShared();

    // One processor's counters as the collector takes them, from the ten of a "cpuN" line.
    static std::optional<Ticks> ticksFromStatLine(std::string_view line);
    // "0-3,5,7-8" as the list of numbers it names.
    static std::vector<int> parseCpuList(std::string_view text);

    // Counting processes lists all of /proc, which costs more than every other reading of a
    // beat together; a program that never shows the counts of processes and threads turns
    // them off (both stay 0).
    void setCountsTasks(bool counts) { countsTasks_ = counts; }

protected:
    std::int64_t physicalCoreCount() override;
    std::int64_t logicalCoreCount() override;
    std::vector<Ticks> processorTicks() override;
    ProcessInfo processInfo() override;
    std::vector<std::array<std::size_t, 2>> physicalCorePairs(std::size_t physicalCount) override;

private:
    struct Core {
        int package = 0;
        int core = 0;
        bool operator<(const Core& other) const {
            return package != other.package ? package < other.package : core < other.core;
        }
    };

    std::vector<int> onlineCpus() const;
    std::optional<Core> coreOf(int cpu) const;
    std::map<Core, std::vector<int>> onlineCores() const;

    SysRoot root_;
    SysRootFile stat_;
    SysRootFile loadavg_;
    // The processors counted at setup: those present, online or not.
    std::vector<int> processors_;
    std::vector<Ticks> lastTicks_;
    std::vector<bool> read_; // by processor: whether its counters were ever read
    bool countsTasks_ = true;
};

} // namespace corvane
