#include "status/StatusCollectors.h"

#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/disks/DiskSystem.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/weather/WeatherStatCollector.h"
#include "foundation/Paths.h"
#include "shell/SectionItems.h"

#include <cstdlib>

namespace corvane {

namespace {

// The shared collectors are made on first use with the context they are first asked with:
// asking here first makes them logging ones.
template <class Collector>
Collector& prepared(Collector& collector, const std::filesystem::path& directory) {
    collector.setDbpath(directory / StatusCollectors::kHistoryFile);
    collector.setDbpathLong(directory / StatusCollectors::kLongTermFile);
    return collector;
}

} // namespace

StatusCollectors::StatusCollectors(MainQueue& queue, std::filesystem::path historyDirectory,
                                   SleepWakeSource* sleepWake)
    : context_{queue, kLoggingTierCount, sleepWake, &historyFiles_}
    , cpu_(prepared(CPUStatCollectorLinux::sharedCPUCollector(context_), historyDirectory))
    , load_(prepared(LoadStatCollectorLinux::sharedLoadCollector(context_), historyDirectory))
    , memory_(prepared(MemoryStatCollectorLinux::sharedMemoryCollector(context_), historyDirectory))
    , battery_(
          prepared(BatteryStatCollectorLinux::sharedBatteryCollector(context_), historyDirectory))
    , historyDirectory_(std::move(historyDirectory))
    , ping_(queue) {
    ping_.packets = HLVPing::kRunUntilCancelled;
    // No item or dropdown shows the number of processes.
    CPUStatCollectorLinux::sharedCPUCollector(context_).setCountsTasks(false);
}

StatusCollectors::~StatusCollectors() {
    if (batchOpen_)
        historyFiles_.commitBatch();
    cleanupSectionItems();
}

std::filesystem::path StatusCollectors::defaultHistoryDirectory() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/')
        return std::filesystem::path(data) / "corvanebar";
    return Paths::home() / ".local" / "share" / "corvanebar";
}

bool StatusCollectors::startFor(std::string_view section) {
    // Weather waits for the network to come up before it fetches.
    const std::string_view group = section == "weather" ? "network" : section;
    if (!started_.emplace(group).second)
        return false;
    if (group == "cpu") {
        cpu_.startLogging();
        load_.startLogging();
    } else if (group == "memory") {
        memory_.startLogging();
    } else if (group == "battery") {
        battery_.startLogging();
    } else if (group == "disks") {
        DiskSystem& disks = DiskSystem::shared(context_);
        prepared(disks.disks(), historyDirectory_);
        prepared(disks.activity(), historyDirectory_);
        disks.startMonitoring();
        disks.disks().startLogging();
        disks.activity().startLogging();
    } else if (group == "network") {
        auto& network = NetworkStatCollectorLinux::sharedNetworkCollector(context_);
        // This process keeps the periods of data usage.
        prepared(network, historyDirectory_).bandwidthMonitoringEnabled = true;
        network.startLogging();
    } else if (group == "sensors") {
        prepared(SensorsStatCollectorLinux::sharedSensorCollector(context_), historyDirectory_)
            .startLogging();
    } else {
        return false;
    }
    return true;
}

DiskManager* StatusCollectors::disks() const {
    return started_.contains("disks") ? &DiskSystem::shared(context_).manager() : nullptr;
}

NetworkStatCollector* StatusCollectors::network() const {
    return started_.contains("network")
               ? &NetworkStatCollectorLinux::sharedNetworkCollector(context_)
               : nullptr;
}

SensorsStatCollector* StatusCollectors::sensors() const {
    return started_.contains("sensors")
               ? &SensorsStatCollectorLinux::sharedSensorCollector(context_)
               : nullptr;
}

void StatusCollectors::beginBeat() {
    if (batchOpen_)
        return;
    historyFiles_.beginBatch();
    batchOpen_ = true;
}

void StatusCollectors::endBeat() {
    if (++beatsInBatch_ < kBeatsPerCommit)
        return;
    historyFiles_.commitBatch();
    batchOpen_ = false;
    beatsInBatch_ = 0;
}

std::uint64_t StatusCollectors::sampleStamp(std::string_view section) const {
    if (section == "cpu")
        return cpu_.lastIDForType(0) + load_.lastIDForType(0);
    if (section == "memory")
        return memory_.lastIDForType(0);
    if (section == "battery")
        return battery_.lastIDForType(0);
    if (section == "disks") {
        DiskSystem& disks = DiskSystem::shared(context_);
        return disks.disks().lastIDForType(0) + disks.activity().lastIDForType(0);
    }
    if (section == "network")
        return NetworkStatCollectorLinux::sharedNetworkCollector(context_).lastIDForType(0);
    if (section == "sensors")
        return SensorsStatCollectorLinux::sharedSensorCollector(context_).lastIDForType(0);
    if (section == "weather") {
        // Only while the item is shown: the check is cheap, fetches are seldom and run apart.
        auto& weather = WeatherStatCollector::sharedWeatherCollector(context_);
        // Asked afresh: the kept status waits for a change of the network to be worked out.
        auto& network = NetworkStatCollectorLinux::sharedNetworkCollector(context_);
        weather.check(network.networkStatus() == 2);
        // Day turns to night without a new record: a fresh picture each minute.
        const auto minute = static_cast<std::uint64_t>(context_.queue.clock().now() / 60);
        return weather.changeCount() + minute;
    }
    return 0;
}

} // namespace corvane
