#pragma once

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/LoadStatCollector.h"

#include <optional>
#include <string>

namespace corvane {

// What "corvanebar status" shows of the processor: the newest samples of the CPU and load
// collectors as text or as sample dictionaries. A figure the machine did not give is said to be
// unavailable in the text and left out of the dictionary, never shown as a zero.
class ProcessorStatus {
public:
    ProcessorStatus(const CPUStatCollector& cpu, const LoadStatCollector& load)
        : cpu_(cpu)
        , load_(load) {}

    // Whether the processors' counters were read.
    bool hasProcessorLoad() const;
    // Whether the load averages were read.
    bool hasLoadAverages() const;

    // {"cpu": {"user", "system", "nice", "total", "time"}, "cores": [{"core", "user", ...}],
    //  "physicalCores": [...], "load": {"one", "five", "fifteen"}, "tasks", "threads"}
    Value dictionary() const;
    // The machine's busy share in percent, for a panel that shows only that; nothing before a
    // reading.
    std::optional<double> totalPercent() const;
    // A block: the machine, each core, the load averages.
    std::string text() const;
    // One line for a running display: the sample's second, the machine's load and the load
    // averages.
    std::string line() const;

private:
    const CPUStatCollector& cpu_;
    const LoadStatCollector& load_;
};

} // namespace corvane
