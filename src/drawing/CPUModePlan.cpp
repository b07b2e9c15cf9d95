#include "drawing/CPUModePlan.h"

#include "drawing/DrawingContext.h"

#include <set>

namespace corvane {

namespace {

constexpr std::int64_t kHistory = 0;
constexpr std::int64_t kLabel = 100;

} // namespace

CPUModePlan CPUModePlan::fromPreferences(const DrawingContext& context) {
    CPUModePlan plan;
    plan.combineCores = context.boolean("CPU_MenubarCombineCores");
    plan.groupItems = context.boolean("CPU_MenubarGroupItems");
    plan.singleHistoryGraph = context.boolean("CPU_MenubarSingleHistoryGraph");
    return plan;
}

bool CPUModePlan::isPerCore(std::int64_t code) const {
    switch (code) {
    case 1:
    case 2:
    case 3:
    case 13:
        return true;
    case kHistory:
        return !singleHistoryGraph;
    default:
        return false;
    }
}

std::vector<CPUModeEntry> CPUModePlan::entries(const Value& modes, std::size_t coreCount) const {
    const std::vector<Value> list = modes.isArray() ? modes.arrayItems() : std::vector<Value>{};
    if (combineCores) {
        std::vector<CPUModeEntry> all;
        for (const Value& mode : list)
            all.push_back({mode, CPUModeEntry::kWholeMachine});
        return all;
    }
    if (!groupItems)
        return groupedByCore(list, coreCount);
    std::vector<CPUModeEntry> expanded;
    for (const Value& mode : list) {
        const CPUModeEntry entry{mode, CPUModeEntry::kWholeMachine};
        if (!isPerCore(entry.code())) {
            expanded.push_back(entry);
            continue;
        }
        for (std::size_t core = 0; core < coreCount; ++core)
            expanded.push_back({mode, static_cast<int>(core)});
    }
    return expanded;
}

// The elements outside the per-core run: those before the first per-core element, then those
// after all cores. Labels, load and single graphs stand once; spacers and graphics elements as
// often as they are listed.
std::vector<CPUModeEntry> CPUModePlan::groupedByCore(const std::vector<Value>& modes,
                                                     std::size_t coreCount) const {
    std::vector<CPUModeEntry> result;
    std::set<std::int64_t> placed;
    const auto placeOnce = [&](const Value& mode) {
        const CPUModeEntry entry{mode, CPUModeEntry::kWholeMachine};
        const std::int64_t code = entry.code();
        const bool once = code == kLabel || (code >= 4 && code <= 8) || code == kHistory;
        if (once && !placed.insert(code).second)
            return;
        result.push_back(entry);
    };
    std::size_t firstPerCore = 0;
    while (firstPerCore < modes.size() && !isPerCore(CPUModeEntry{modes[firstPerCore], 0}.code()))
        placeOnce(modes[firstPerCore++]);
    if (firstPerCore == modes.size())
        return result;
    for (std::size_t core = 0; core < coreCount; ++core) {
        for (const Value& mode : modes) {
            if (isPerCore(CPUModeEntry{mode, 0}.code()))
                result.push_back({mode, static_cast<int>(core)});
        }
    }
    for (std::size_t i = firstPerCore; i < modes.size(); ++i) {
        if (!isPerCore(CPUModeEntry{modes[i], 0}.code()))
            placeOnce(modes[i]);
    }
    return result;
}

} // namespace corvane
