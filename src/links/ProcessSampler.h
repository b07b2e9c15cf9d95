#pragma once

#include "foundation/ProcessStat.h"
#include "foundation/SysRoot.h"
#include "foundation/Value.h"
#include "links/ProcessInfo.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace corvane {

// The machine's processes for the process requests: each one's share of a processor and its
// disk traffic since the sample before (from /proc/<pid>/stat and io, which root reads for
// everyone), its memory, and who it is (name, icon, program path; looked up once a process).
class ProcessSampler {
public:
    ProcessSampler(SysRoot root, const DesktopEntries& entries, long ticksPerSecond = 0,
                   long pageSize = 0);

    // Every process, busiest first: {pid, name, icon, path, cpu (percent of one processor),
    // memory (bytes), read and written (bytes a second, where readable)}. `now` is seconds on a
    // clock that never jumps; the first sample shows no shares. `combine` sums the processes
    // of one name into one row under the lowest pid.
    Value sample(double now, bool combine);

private:
    struct Known {
        std::uint64_t startTicks = 0;
        std::uint64_t ticks = 0;
        std::optional<std::uint64_t> read, written;
        Value info;
    };

    Value row(long pid, const ProcessStat& stat, double elapsed);

    SysRoot root_;
    const DesktopEntries& entries_;
    double ticksPerSecond_;
    double pageSize_;
    std::optional<double> last_;
    std::unordered_map<long, Known> known_;
};

} // namespace corvane
