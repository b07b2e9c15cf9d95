#include "shell/SectionItems.h"

#include "collectors/battery/BatteryStatCollectorLinux.h"
#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "drawing/CVBBatteryMenuExtraView.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/CVBMemoryMenuExtraView.h"

namespace corvane {

std::vector<std::string> sectionItemNames() {
    return {"cpu", "memory", "battery"};
}

std::optional<SectionItem> makeSectionItem(std::string_view section, const EngineContext& context,
                                           const DrawingContext& drawing) {
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
    if (section == "battery") {
        auto& battery = BatteryStatCollectorLinux::sharedBatteryCollector(context);
        return SectionItem{[&battery] { battery.updateStats(); },
                           std::make_unique<CVBBatteryMenuExtraView>(drawing, battery)};
    }
    return std::nullopt;
}

void cleanupSectionItems() {
    CPUStatCollectorLinux::cleanupShared();
    LoadStatCollectorLinux::cleanupShared();
    MemoryStatCollectorLinux::cleanupShared();
    BatteryStatCollectorLinux::cleanupShared();
}

} // namespace corvane
