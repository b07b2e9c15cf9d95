#pragma once

#include "foundation/Value.h"

#include <cstddef>
#include <vector>

namespace corvane {

struct DrawingContext;

// One element of the processor item: its mode entry and the core it shows, or the whole
// machine.
struct CPUModeEntry {
    static constexpr int kWholeMachine = -1;

    Value mode; // the stored entry: "key", and "width" for a spacer
    int core = kWholeMachine;

    std::int64_t code() const { return mode["key"].integerValue(); }
};

// How the stored mode list of the processor item becomes the elements it draws, in order.
struct CPUModePlan {
    bool combineCores = false;       // every element once, for the whole machine
    bool groupItems = false;         // each per-core element expanded in place
    bool singleHistoryGraph = false; // the history graph shows the whole machine

    static CPUModePlan fromPreferences(const DrawingContext& context);

    // Elements drawn once per core.
    bool isPerCore(std::int64_t code) const;
    std::vector<CPUModeEntry> entries(const Value& modes, std::size_t coreCount) const;

private:
    std::vector<CPUModeEntry> groupedByCore(const std::vector<Value>& modes,
                                            std::size_t coreCount) const;
};

} // namespace corvane
