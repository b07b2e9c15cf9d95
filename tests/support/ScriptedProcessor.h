#pragma once

#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/LoadStatCollector.h"

#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace corvane::test {

// A machine whose counters the test sets.
class ScriptedProcessor final : public CPUStatCollector {
public:
    ScriptedProcessor(const EngineContext& context, std::int64_t logical, std::int64_t physical)
        : CPUStatCollector(context)
        , logical_(logical)
        , physical_(physical) {}

    std::vector<Ticks> ticks;
    ProcessInfo info{12, 345};

    // Counters that give each core the user and system percentages listed over the next
    // interval of 100 ticks.
    void advance(const std::vector<std::pair<unsigned, unsigned>>& userSystem) {
        if (ticks.size() != userSystem.size())
            ticks.assign(userSystem.size(), Ticks{});
        for (std::size_t i = 0; i < ticks.size(); ++i) {
            const auto [user, system] = userSystem[i];
            ticks[i][0] += user;
            ticks[i][1] += system;
            ticks[i][2] += 100 - user - system;
        }
    }

protected:
    std::int64_t physicalCoreCount() override { return physical_; }
    std::int64_t logicalCoreCount() override { return logical_; }
    std::vector<Ticks> processorTicks() override { return ticks; }
    ProcessInfo processInfo() override { return info; }

private:
    std::int64_t logical_;
    std::int64_t physical_;
};

// Load averages the test sets; none until it does.
class ScriptedLoad final : public LoadStatCollector {
public:
    using LoadStatCollector::LoadStatCollector;
    std::optional<std::array<double, 3>> averages;

protected:
    std::optional<std::array<double, 3>> loadAverages() override { return averages; }
};

} // namespace corvane::test
