#include "hardware/FauxMac.h"

#include <algorithm>
#include <cstdio>

namespace corvane {

namespace {

struct Group {
    std::string_view keyFormat;
    std::string_view nameFormat;
    int limit; // -1 the CPU count, -2 the core count
    int offset;
    int nameOffset;
};

constexpr int kCpus = -1;
constexpr int kCores = -2;

// "PCIe SLot" is how such hardware has always been labelled.
constexpr Group kGroups[] = {
    {"TC%@D", "CPU Package %@", kCpus, 10, 1},
    {"TC%@H", "CPU Heatsink %@", kCpus, 10, 1},
    {"TC%@D", "CPU Core %@", kCores, 0, 1},
    {"TC%@H", "CPU %@ Heatsink", 0, 1, 1},
    {"TM%@P", "Memory Bank %@", 8, 0, 1},
    {"TM%@S", "Memory Module %@", 8, 0, 1},
    {"TMA%@", "Memory Bank 1 Slot %@", 4, 1, 0},
    {"TMB%@", "Memory Bank 2 Slot %@", 4, 1, 4},
    {"TH%@P", "HDD Bay %@", 8, 0, 1},
    {"TG%@D", "GPU %@ Die", 3, 1, 1},
    {"TG%@H", "GPU %@ Heatsink", 3, 1, 1},
    {"TG%@P", "GPU %@ Proximity", 3, 1, 1},
    {"TG%@M", "GPU %@ Memory", 3, 1, 1},
    {"Te%@S", "PCIe SLot %@", 4, 1, 1},
    {"TZ%@C", "Thermal Zone %@", 15, 0, 1},
    {"Tp%@S", "Power Heatsink %@", 2, 2, 1},
    {"MlC%@", "CPU Core %@", kCores, 0, 1},
    {"MC%@C", "CPU Core %@", kCores, 0, 1},
    {"CC%@C", "CPU Core %@", kCores, 0, 1},
    {"VC%@C", "CPU Core %@", kCores, 0, 1},
    {"CG%@C", "GPU %@ Core", 4, 0, 1},
    {"CG%@M", "GPU %@ Memory", 4, 0, 1},
    {"CG%@S", "GPU %@ Shader", 4, 0, 1},
    {"CG%@R", "GPU %@ ROP", 4, 0, 1},
    {"VC%@G", "CPU %@ Graphics", kCpus, 0, 1},
    {"VG%@C", "GPU %@ Core", 4, 0, 1},
    {"VG%@R", "GPU %@ Rail", 4, 0, 1},
    {"VS%@C", "VRM Supply %@", 15, 0, 1},
    {"Vp%@C", "Power Supply %@", 15, 0, 1},
    {"IC%@C", "CPU %@", kCores, 10, 1},
    {"IG%@C", "GPU %@", 3, 1, 2},
    {"Ie%@S", "PCIe Slot %@", 8, 0, 1},
    {"IM%@S", "PCIe Slot %@", 8, 0, 1},
    {"PG%@R", "GPU Rail %@", 5, 1, 1},
    {"PG%@C", "GPU %@", 5, 1, 1},
    {"PC%@C", "CPU Core %@", 8, 0, 1},
    {"PC%@C", "CPU %@", 10, 0, 1},
    {"PM%@S", "DIMM Riser %@ 12V", 2, 10, 1},
    {"Pe%@S", "PCIe Slot %@", 4, 1, 1},
    {"Pe%@s", "PCIe Slot Booster %@", 2, 10, 1},
    {"Pp%@C", "Power Supply %@", 2, 0, 1},
};

constexpr std::pair<std::string_view, std::string_view> kFixed[] = {
    {"TA0P", "Ambient"},  {"TC0P", "CPU Proximity"},   {"TCXC", "PECI CPU"},
    {"TCXc", "PECI CPU"}, {"TN0D", "Northbridge Die"},
};

std::string filled(std::string_view format, const std::string& value) {
    std::string text(format);
    if (const auto at = text.find("%@"); at != std::string::npos)
        text.replace(at, 2, value);
    return text;
}

std::string withoutNumber(std::string_view format) {
    std::string text(format);
    for (std::string_view gap : {" %@", "%@ "})
        if (const auto at = text.find(gap); at != std::string::npos)
            text.erase(at, gap.size());
    return text;
}

} // namespace

std::map<std::string, std::string, std::less<>>
fauxMacSensorNames(const std::vector<std::string>& existingKeys, int cpuCount, int coreCount) {
    std::map<std::string, std::string, std::less<>> names;
    for (const auto& [key, name] : kFixed)
        names[std::string(key)] = name;
    const auto exists = [&](const std::string& key) {
        return std::find(existingKeys.begin(), existingKeys.end(), key) != existingKeys.end();
    };
    for (const auto& group : kGroups) {
        const int limit = group.limit == kCpus    ? cpuCount
                          : group.limit == kCores ? coreCount
                                                  : group.limit;
        std::vector<std::pair<std::string, int>> members;
        int present = 0;
        for (int i = 0; i < limit; ++i) {
            char hex[24];
            std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(i + group.offset));
            std::string key = filled(group.keyFormat, hex).substr(0, 4);
            present += exists(key) ? 1 : 0;
            members.emplace_back(std::move(key), i + group.nameOffset);
        }
        const std::string format =
            present < 2 ? withoutNumber(group.nameFormat) : std::string(group.nameFormat);
        for (const auto& [key, number] : members)
            names[key] = filled(format, std::to_string(number));
    }
    return names;
}

std::vector<SensorRow> FauxMac::supportedSensors() const {
    const auto& keys = inputs().smcKeys;
    const auto names = fauxMacSensorNames(keys, cpuCount(), cpuPhysicalCoreCount());
    std::vector<SensorRow> rows;
    for (const auto& key : keys) {
        if (key.size() != 4)
            continue;
        if (const auto found = names.find(key); found != names.end())
            rows.push_back({key, found->second});
    }
    return rows;
}

} // namespace corvane
