#pragma once

#include "engine/StatCollector.h"

#include <array>
#include <optional>

namespace corvane {

// The load averages over one, five and fifteen minutes, in runnable tasks.
class LoadStatCollector : public StatCollector {
public:
    enum Slot : int { OneMinute = 0, FiveMinutes = 1, FifteenMinutes = 2 };
    static constexpr std::int64_t kSlotCount = 3;

    explicit LoadStatCollector(const EngineContext& context);

    static Value makeConfig();
    void updateStats() override;

protected:
    // The three averages, or nothing when they cannot be read.
    virtual std::optional<std::array<double, 3>> loadAverages() = 0;
};

} // namespace corvane
