#pragma once

#include "foundation/SysRoot.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvane {

// One process as the dropdowns list it.
struct ProcessUsage {
    int pid = 0;
    std::string name;
    double cpuPercent = 0; // of one processor, over the time between the last two scans
    double residentKilobytes = 0;

    friend bool operator==(const ProcessUsage&, const ProcessUsage&) = default;
};

// The processes of the machine from /proc/<pid>/stat under a root: what each used of the
// processors since the scan before, and its resident memory. A scan reads one small file a
// process, so the caller decides how often it is worth it.
class ProcessTable {
public:
    // Clock ticks a second and bytes a page as the kernel counts them; 0 asks the system.
    explicit ProcessTable(SysRoot root, long ticksPerSecond = 0, long pageSize = 0);

    // Reads every process. `now` is seconds on a clock that never jumps. Shares are measured
    // from the scan before; a process seen for the first time shows none.
    void scan(double now);
    // Drops what the scans learnt: shares measured across a long pause would be an average of
    // minutes, not what runs now. Names read before are kept.
    void forget();
    bool scanned() const { return scannedAt_.has_value(); }
    // Whether the shares of the last scan were measured: it had a scan before it.
    bool measured() const { return measured_; }
    std::optional<double> scannedAt() const { return scannedAt_; }

    // The busiest and the largest first, at most `count`; ties by pid. `combine` sums the
    // processes of one name into one row (under the lowest pid).
    std::vector<ProcessUsage> topByCPU(std::size_t count, bool combine = false) const;
    std::vector<ProcessUsage> topByMemory(std::size_t count, bool combine = false) const;

private:
    SysRoot root_;
    double ticksPerSecond_;
    double pageKilobytes_;
    std::optional<double> scannedAt_;
    bool measured_ = false;
    std::unordered_map<int, std::uint64_t> lastTicks_;
    std::unordered_map<int, std::string> lastNames_;
    std::vector<ProcessUsage> processes_;
};

} // namespace corvane
