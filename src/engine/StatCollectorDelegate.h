#pragma once

#include <cstdint>
#include <optional>

namespace corvane {

class StatCollector;
class StatCollectorItem;

// What a collector tells the views and rules that listen to it. Every operation is optional:
// the defaults do nothing, and a delegate that does not override
// collectorShouldUpdateStateForSequence has no say in when the collector samples.
class StatCollectorDelegate {
public:
    virtual ~StatCollectorDelegate() = default;

    // New samples are in; `mode` is always 0.
    virtual void collectorUpdatedForMode(StatCollector&, int /*mode*/) {}
    // Whether the collector should sample on this beat; nothing means "no opinion".
    virtual std::optional<bool> collectorShouldUpdateStateForSequence(StatCollector&,
                                                                      std::int64_t /*sequence*/) {
        return std::nullopt;
    }
    // An item's stored history has been read back into its rings.
    virtual void collectorLoadedValueForItem(StatCollector&, StatCollectorItem&) {}
    // The collector's list of items has changed.
    virtual void collectorChildrenChanged(StatCollector&) {}
};

} // namespace corvane
