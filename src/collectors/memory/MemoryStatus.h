#pragma once

#include "collectors/memory/MemoryStatCollector.h"

#include <string>

namespace corvane {

// What "corvanebar status" shows of memory: the newest sample as text or as a dictionary.
class MemoryStatus {
public:
    explicit MemoryStatus(const MemoryStatCollector& memory)
        : memory_(memory) {}

    // {"total", "free", "wired", "active", "inactive", "compressed", "fileCache", "application"
    //  (KiB), "swapUsed", "swapTotal" (bytes), "used", "usedWithoutInactive" (percent),
    //  "pressureLevel"}
    Value dictionary() const;
    std::string text() const;

private:
    const MemoryStatCollector& memory_;
};

} // namespace corvane
