#include "drawing/SectionItems.h"

#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "collectors/memory/MemoryStatCollectorLinux.h"
#include "drawing/CVBCPUMenuExtraView.h"
#include "drawing/CVBMemoryMenuExtraView.h"

namespace corvane {

std::vector<std::string> sectionItemNames() {
    return {"cpu", "memory"};
}

std::optional<SectionItem> makeSectionItem(std::string_view section, const EngineContext& context) {
    if (section == "cpu") {
        auto& cpu = CPUStatCollectorLinux::sharedCPUCollector(context);
        auto& load = LoadStatCollectorLinux::sharedLoadCollector(context);
        return SectionItem{[&cpu, &load] {
                               cpu.updateStats();
                               load.updateStats();
                           },
                           std::make_unique<CVBCPUMenuExtraView>(cpu, &load)};
    }
    if (section == "memory") {
        auto& memory = MemoryStatCollectorLinux::sharedMemoryCollector(context);
        return SectionItem{[&memory] { memory.updateStats(); },
                           std::make_unique<CVBMemoryMenuExtraView>(memory)};
    }
    return std::nullopt;
}

void cleanupSectionItems() {
    CPUStatCollectorLinux::cleanupShared();
    LoadStatCollectorLinux::cleanupShared();
    MemoryStatCollectorLinux::cleanupShared();
}

} // namespace corvane
