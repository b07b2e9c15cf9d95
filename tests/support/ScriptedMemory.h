#pragma once

#include "collectors/memory/MemoryStatCollector.h"

namespace corvane::test {

// A machine whose memory figures the test sets.
class ScriptedMemory final : public MemoryStatCollector {
public:
    using MemoryStatCollector::MemoryStatCollector;
    Reading reading;
    Capabilities can;
    std::optional<std::int64_t> pressure = 1;

protected:
    std::optional<Reading> read() override { return reading; }
    Capabilities capabilities() const override { return can; }
    std::optional<std::int64_t> readPressureLevel() override { return pressure; }
};

} // namespace corvane::test
