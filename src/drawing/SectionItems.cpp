#include "drawing/SectionItems.h"

#include "collectors/cpu/CPUStatCollectorLinux.h"
#include "collectors/cpu/LoadStatCollectorLinux.h"
#include "drawing/CVBCPUMenuExtraView.h"

namespace corvane {

std::vector<std::string> sectionItemNames() {
    return {"cpu"};
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
    return std::nullopt;
}

void cleanupSectionItems() {
    CPUStatCollectorLinux::cleanupShared();
    LoadStatCollectorLinux::cleanupShared();
}

} // namespace corvane
