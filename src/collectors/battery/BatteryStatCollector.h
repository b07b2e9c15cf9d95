#pragma once

#include "collectors/battery/BatteryStatCollectorItem.h"
#include "engine/StatCollector.h"

#include <memory>
#include <optional>
#include <vector>

namespace corvane {

// The machine's power sources, one item each, sampled on every sixth beat: percentage,
// state and source of each.
class BatteryStatCollector : public StatCollector {
public:
    using BatteryItem = std::shared_ptr<BatteryStatCollectorItem>;

    // One source as the machine reports it.
    struct PowerSource {
        std::int64_t type = BatteryStatCollectorItem::InternalBattery;
        Value powerSource;        // "Name", "Current Capacity", "Power Source State", ...
        Value controller;         // the battery controller's properties; null where there are none
        std::int64_t subtype = 0; // a wireless device's kind (WirelessDeviceKind)
    };

    explicit BatteryStatCollector(const EngineContext& context);

    static Value makeConfig();
    bool shouldUpdateStateForSequence(std::int64_t sequence) override { return sequence % 6 == 0; }
    void updateStats() override;
    ItemPointer itemClassInstance() const override;

    void updateAdapter();
    std::optional<std::int64_t> adapterWatts() const { return adapterWatts_; }

    std::vector<BatteryItem> batteries() const;
    BatteryItem internalBattery() const;
    bool hasInteralBattery() const { return internalBattery() != nullptr; }
    // The internal battery, else the first source.
    BatteryItem primaryBattery() const;

    // The key of a source: its serial number, else its identifier.
    static std::string keyForSource(const Value& powerSource);

protected:
    virtual std::vector<PowerSource> powerSources() = 0;
    virtual std::optional<std::int64_t> readAdapterWatts() = 0;

private:
    std::optional<std::int64_t> adapterWatts_;
};

} // namespace corvane
