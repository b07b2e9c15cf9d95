#pragma once

#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/battery/UPowerDevices.h"
#include "foundation/SysRoot.h"

#include <memory>

namespace corvane {

// Power sources from /sys/class/power_supply: system batteries as the internal battery, UPS
// units as other power sources, and batteries of scope "Device" (mice, keyboards, headsets)
// as wireless devices. Mains and USB supplies say whether the machine is on mains power.
// UPower adds the peripherals and UPS units that the kernel does not list.
class BatteryStatCollectorLinux final : public BatteryStatCollector {
public:
    // `upower` null: no peripherals beyond the kernel's (tests, machines without the service).
    BatteryStatCollectorLinux(const EngineContext& context, SysRoot root,
                              std::unique_ptr<UPowerDevices> upower = nullptr);

    ~BatteryStatCollectorLinux() override;

    static BatteryStatCollectorLinux& sharedBatteryCollector(const EngineContext& context);
    static void cleanupShared();

    void updateStats() override;

protected:
    std::vector<PowerSource> powerSources() override;
    std::optional<std::int64_t> readAdapterWatts() override;

private:
    struct Snapshot;
    std::unique_ptr<Snapshot> takeSnapshot() const;
    // The supplies as this update read them; read afresh outside an update.
    const Snapshot& snapshot();

    SysRoot root_;
    std::unique_ptr<UPowerDevices> upower_;
    std::unique_ptr<Snapshot> snapshot_;  // while an update runs
    std::unique_ptr<Snapshot> transient_; // a single reading outside one
};

} // namespace corvane
