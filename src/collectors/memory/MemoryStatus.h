#pragma once

#include "collectors/memory/MemoryStatCollector.h"

#include <optional>
#include <string>

namespace corvane {

// What "corvanebar status" shows of memory: the newest sample as text or as a dictionary.
class MemoryStatus {
public:
    explicit MemoryStatus(const MemoryStatCollector& memory)
        : memory_(memory) {}

    // Whether the machine's memory figures were read.
    bool hasReading() const;

    // {"total", "free", "wired", "active", "inactive", "compressed", "fileCache", "application"
    //  (KiB), "swapUsed", "swapTotal" (bytes), "usedPercent" (wired, active and compressed:
    //  total less available), "usedWithInactivePercent" (the inactive caches too: total less
    //  free), "pressureLevel" (where the system tells it)}; empty without a reading.
    Value dictionary() const;
    // Wired, active and compressed memory in percent of the total; nothing before a reading.
    std::optional<double> usedPercent() const;
    std::string text() const;

private:
    const MemoryStatCollector& memory_;
};

} // namespace corvane
