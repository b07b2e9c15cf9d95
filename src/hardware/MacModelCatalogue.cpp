#include "hardware/MacModelCatalogue.h"

#include <utility>

namespace corvane {

namespace {

constexpr std::pair<std::string_view, std::string_view> kFanNames[] = {
    {"IO", "HD/Expansion"},
    {"EXHAUST", "Exhaust"},
    {"PS", "Power Supply"},
    {"CPU_MEM", "CPU Fan"},
    {"CPU", "CPU Fan"},
    {"Leftside", "Left Fan"},
    {"Rightside", "Right Fan"},
    {"Master", "Main Fan"},
    {"INTAKE", "Intake"},
    {"BOOSTA", "Booster 1"},
    {"BOOSTB", "Booster 2"},
    {"IN0", "CPU 1 Inlet"},
    {"IN1", "CPU 2 Inlet"},
    {"IN2", "CPU 3 Inlet"},
    {"IN3", "CPU 4 Inlet"},
    {"IN4", "FB-DIMM 1 Inlet"},
    {"IN5", "FB-DIMM 2 Inlet"},
    {"IN6", "FB-DIMM 3 Inlet"},
    {"OUT0", "CPU 1 Outlet"},
    {"OUT1", "CPU 2 Outlet"},
    {"OUT2", "CPU 3 Outlet"},
    {"OUT3", "CPU 4 Outlet"},
    {"OUT4", "FB-DIMM 1 Outlet"},
    {"OUT5", "FB-DIMM 2 Outlet"},
    {"OUT6", "FB-DIMM 3 Outlet"},
    {"PS0IN", "Power Supply 1 Inlet"},
    {"PS1IN", "Power Supply 2 Inlet"},
    {"PS0OUT", "Power Supply 1 Outlet"},
    {"PS1OUT", "Power Supply 2 Outlet"},
    {"ODD", "Optical Drive"},
    {"HDD", "Hard Drive"},
    {"PCI", "Expansion Slots"},
};

// Longer prefixes first: "MacBookPro" before "MacBook", "iMacPro" before "iMac".
constexpr std::pair<std::string_view, std::string_view> kFamilies[] = {
    {"MacBookPro", "MacBook Pro"},
    {"MacBookAir", "MacBook Air"},
    {"MacBook", "MacBook"},
    {"MacPro", "Mac Pro"},
    {"Macmini", "Mac mini"},
    {"iMacPro", "iMac Pro"},
    {"iMac", "iMac"},
    {"Xserve", "Xserve"},
    {"Mac", "Mac"},
};

} // namespace

std::string nameForFan(std::string_view raw) {
    for (const auto& [from, to] : kFanNames)
        if (from == raw)
            return std::string(to);
    return std::string(raw);
}

std::string familyName(std::string_view identifier) {
    for (const auto& [prefix, name] : kFamilies)
        if (identifier.starts_with(prefix) && identifier.size() > prefix.size() &&
            identifier[prefix.size()] >= '0' && identifier[prefix.size()] <= '9')
            return std::string(name);
    return "Unknown";
}

} // namespace corvane
