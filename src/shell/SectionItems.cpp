#include "shell/SectionItems.h"

#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/disks/DiskSystem.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "collectors/network/NetworkStatCollectorLinux.h"
#include "collectors/sensors/SensorsStatCollectorLinux.h"
#include "collectors/weather/WeatherStatCollector.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/CVBDisksMenuExtraView.h"
#include "drawing/CVBMemoryMenuExtraView.h"
#include "drawing/CVBNetworkMenuExtraView.h"
#include "drawing/CVBSensorsMenuExtraView.h"
#include "drawing/CVBTimeMenuExtraView.h"
#include "drawing/CVBWeatherMenuExtraView.h"
#include "foundation/MainQueue.h"

namespace corvane {

std::vector<std::string> sectionItemNames() {
    return {"cpu", "memory", "disks", "network", "sensors", "battery", "time", "weather"};
}

namespace {

// The weather item on the process's forecast: it takes the newest record when it draws.
class FollowingWeatherView final : public CVBWeatherMenuExtraView {
public:
    FollowingWeatherView(const DrawingContext& drawing, const WeatherStatCollector& weather)
        : CVBWeatherMenuExtraView(drawing)
        , weather_(weather) {}

    int drawAtOffset(int offset) override {
        if (weather_.changeCount() != shown_) {
            shown_ = weather_.changeCount();
            setForecast(weather_.record());
        }
        return CVBWeatherMenuExtraView::drawAtOffset(offset);
    }

private:
    const WeatherStatCollector& weather_;
    std::uint64_t shown_ = ~std::uint64_t(0);
};

} // namespace

std::optional<SectionItem> makeSectionItem(std::string_view section, const EngineContext& context,
                                           const DrawingContext& drawing,
                                           std::function<std::optional<bool>()> internet) {
    if (section == "cpu") {
        auto& cpu = CPUStatCollectorLinux::sharedCPUCollector(context);
        auto& load = LoadStatCollectorLinux::sharedLoadCollector(context);
        return SectionItem{[&cpu, &load] {
                               cpu.updateStats();
                               load.updateStats();
                           },
                           std::make_unique<CVBCPUMenuExtraView>(drawing, cpu, &load)};
    }
    if (section == "memory") {
        auto& memory = MemoryStatCollectorLinux::sharedMemoryCollector(context);
        return SectionItem{[&memory] { memory.updateStats(); },
                           std::make_unique<CVBMemoryMenuExtraView>(drawing, memory)};
    }
    if (section == "disks") {
        auto& disks = DiskSystem::shared(context);
        auto view = std::make_unique<CVBDisksMenuExtraView>(drawing, disks.disks(),
                                                            disks.activity(), disks.info());
        return SectionItem{[&disks] { disks.sampleNow(); }, std::move(view)};
    }
    if (section == "network") {
        auto& network = NetworkStatCollectorLinux::sharedNetworkCollector(context);
        // As the cycle does: the next identifier, then the reading.
        return SectionItem{
            [&network] {
                network.setID(network.idForInterval(0) + 1, 0);
                network.updateStats();
                network.networkStatus();
            },
            std::make_unique<CVBNetworkMenuExtraView>(drawing, network, std::move(internet))};
    }
    if (section == "sensors") {
        auto& sensors = SensorsStatCollectorLinux::sharedSensorCollector(context);
        // A machine without sensors shows no item rather than an empty one.
        if (sensors.sensors().empty())
            return std::nullopt;
        auto view = std::make_unique<CVBSensorsMenuExtraView>(drawing, sensors);
        view->ready = true; // loaded when made
        return SectionItem{[&sensors] {
                               sensors.setID(sensors.idForInterval(0) + 1, 0);
                               sensors.updateStats();
                           },
                           std::move(view)};
    }
    if (section == "battery") {
        auto& battery = BatteryStatCollectorLinux::sharedBatteryCollector(context);
        return SectionItem{[&battery] { battery.updateStats(); },
                           std::make_unique<CVBBatteryMenuExtraView>(drawing, battery)};
    }
    if (section == "time") {
        auto view = std::make_unique<CVBTimeMenuExtraView>(drawing, context.queue.clock());
        auto* clock = view.get();
        return SectionItem{[clock] { clock->update(); }, std::move(view)};
    }
    if (section == "weather") {
        // Fetching is the status program's (StatusCollectors); others show what it kept.
        auto& weather = WeatherStatCollector::sharedWeatherCollector(context);
        return SectionItem{[] {}, std::make_unique<FollowingWeatherView>(drawing, weather)};
    }
    return std::nullopt;
}

void cleanupSectionItems() {
    CPUStatCollectorLinux::cleanupShared();
    LoadStatCollectorLinux::cleanupShared();
    MemoryStatCollectorLinux::cleanupShared();
    DiskSystem::cleanupShared();
    NetworkStatCollectorLinux::cleanupShared();
    BatteryStatCollectorLinux::cleanupShared();
    SensorsStatCollectorLinux::cleanupShared();
    WeatherStatCollector::cleanupShared();
}

} // namespace corvane
