#include "status/StatusSections.h"

#include "shell/SectionItems.h"

#include <algorithm>
#include <array>

namespace corvane {

namespace {

// "CorvaneBarMeoryPreferencesChanged" is the name on the wire, misspelt.
constexpr std::array<StatusSection, 8> kSections{{
    {1, "cpu", "CPU", "CorvaneBarCPUPreferencesChanged"},
    {2, "memory", "Memory", "CorvaneBarMeoryPreferencesChanged"},
    {3, "disks", "Disks", "CorvaneBarDisksPreferencesChanged"},
    {4, "network", "Network", "CorvaneBarNetworkPreferencesChanged"},
    {5, "sensors", "Sensors", "CorvaneBarSensorsPreferencesChanged"},
    {6, "battery", "Battery", "CorvaneBarBatteryPreferencesChanged"},
    {7, "time", "Time", "CorvaneBarTimePreferencesChanged"},
    {9, "weather", "Weather", "CorvaneBarWeatherPreferencesChanged"},
}};

template <class Match>
const StatusSection* findSection(Match match) {
    const auto found = std::find_if(kSections.begin(), kSections.end(), match);
    return found == kSections.end() ? nullptr : &*found;
}

} // namespace

std::span<const StatusSection> statusSections() {
    return kSections;
}

const StatusSection* statusSectionForKey(std::int64_t key) {
    return findSection([key](const StatusSection& s) { return s.key == key; });
}

const StatusSection* statusSectionNamed(std::string_view name) {
    return findSection([name](const StatusSection& s) { return s.name == name; });
}

const StatusSection* statusSectionForNotification(std::string_view notification) {
    return findSection(
        [notification](const StatusSection& s) { return s.notification == notification; });
}

std::vector<const StatusSection*> enabledSections(const std::vector<std::int64_t>& order) {
    const auto drawn = sectionItemNames();
    std::vector<const StatusSection*> sections;
    for (const auto key : order) {
        const StatusSection* section = statusSectionForKey(key);
        if (!section || std::find(drawn.begin(), drawn.end(), section->name) == drawn.end() ||
            std::find(sections.begin(), sections.end(), section) != sections.end())
            continue;
        sections.push_back(section);
    }
    return sections;
}

} // namespace corvane
