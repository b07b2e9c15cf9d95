#pragma once

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/LoadStatCollector.h"

#include <string>

namespace corvane {

// What "corvanebar status" shows of the processor: the newest samples of the CPU and load
// collectors as text or as sample dictionaries.
class ProcessorStatus {
public:
    ProcessorStatus(const CPUStatCollector& cpu, const LoadStatCollector& load)
        : cpu_(cpu)
        , load_(load) {}

    // {"cpu": {"user", "system", "nice", "total", "time"}, "cores": [{"core", "user", ...}],
    //  "physicalCores": [...], "load": {"one", "five", "fifteen"}, "tasks", "threads"}
    Value dictionary() const;
    // A block: the machine, each core, the load averages.
    std::string text() const;
    // One line for a running display: local time, the machine's load and the load averages.
    std::string line() const;

private:
    const CPUStatCollector& cpu_;
    const LoadStatCollector& load_;
};

} // namespace corvane
