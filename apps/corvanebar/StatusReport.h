#pragma once

#include "collectors/battery/BatteryStatCollector.h"
#include "collectors/cpu/CPUStatCollector.h"
#include "collectors/cpu/LoadStatCollector.h"
#include "collectors/disks/BootVolumeStatus.h"
#include "collectors/memory/MemoryStatCollector.h"
#include "collectors/network/NetworkStatCollector.h"
#include "collectors/sensors/SensorsStatus.h"

#include <functional>
#include <iosfwd>

namespace corvane {

// The collectors `corvanebar status` reads, the processor's set up.
struct StatusSources {
    CPUStatCollector& cpu;
    LoadStatCollector& load;
    MemoryStatCollector& memory;
    BatteryStatCollector& battery;
};

// `corvanebar status`: reads the machine, lets `wait` pass (a core's load and memory's shares
// need a reading before), reads it again and prints the figures as text or JSON. Returns the
// exit status: 1 when nothing at all could be read. `boot`, when given, adds the boot volume;
// `network` the network services with their rates over the same second; `sensors` the
// sensors the panel shows by default.
int printStatus(const StatusSources& sources, const std::function<void()>& wait, std::ostream& out,
                std::ostream& err, bool json, const BootVolumeStatus* boot = nullptr,
                NetworkStatCollector* network = nullptr, const SensorsStatus* sensors = nullptr);

// `corvanebar status --watch`: runs the processor's one-second cycle and prints a line for each
// sample that measured a whole second. The first beat comes a fraction of a second after the
// counters were first read, so its sample is not shown.
class StatusWatch final : public StatCollectorDelegate {
public:
    // Starts the cycle. `stop` is called when the output can no longer be written.
    StatusWatch(CPUStatCollector& cpu, LoadStatCollector& load, std::ostream& out, bool json,
                std::function<void()> stop);
    ~StatusWatch() override;
    StatusWatch(const StatusWatch&) = delete;
    StatusWatch& operator=(const StatusWatch&) = delete;

    bool outputFailed() const { return outputFailed_; }

    void collectorUpdatedForMode(StatCollector&, int) override;
    std::optional<bool> collectorShouldUpdateStateForSequence(StatCollector&,
                                                              std::int64_t) override {
        return true;
    }

private:
    CPUStatCollector& cpu_;
    LoadStatCollector& load_;
    std::ostream& out_;
    bool json_;
    std::function<void()> stop_;
    double measuredSince_;
    bool outputFailed_ = false;
};

} // namespace corvane
