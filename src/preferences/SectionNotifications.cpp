#include "preferences/SectionNotifications.h"

#include <array>
#include <utility>

namespace corvane {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

} // namespace

std::string notificationForKey(std::string_view key) {
    // Keys with a notification of their own come before their section's prefix.
    if (endsWith(key, "_Hotkey"))
        return "CorvaneBarChangedHotkey";
    if (key == "Disks_MonitorSMART")
        return "CorvaneBarSMARTPreferencesChanged";
    if (key == "FanControl_DefaultSet")
        return "CorvaneBarDefaultFanSetChanged";
    if (startsWith(key, "Notifications-"))
        return "CorvaneBarUserNotificationsChanged";
    if (key == "Time_CalendarsDisabled")
        return "CorvaneBarCalendarFilteringChanged";
    if (startsWith(key, "Combined"))
        return "CorvaneBarCombinedDisplayChange";

    static constexpr std::array<std::pair<std::string_view, const char*>, 12> kSections{{
        {"CPU_", "CorvaneBarCPUPreferencesChanged"},
        {"Load_", "CorvaneBarCPUPreferencesChanged"},
        {"GPU_", "CorvaneBarCPUPreferencesChanged"},
        // The name as the other processes listen for it, misspelt.
        {"Memory_", "CorvaneBarMeoryPreferencesChanged"},
        {"Disks_", "CorvaneBarDisksPreferencesChanged"},
        {"FilteringDisk", "CorvaneBarDisksPreferencesChanged"},
        {"Network_", "CorvaneBarNetworkPreferencesChanged"},
        {"Sensors_", "CorvaneBarSensorsPreferencesChanged"},
        {"FanControl_", "CorvaneBarSensorsPreferencesChanged"},
        {"Battery_", "CorvaneBarBatteryPreferencesChanged"},
        {"Time_", "CorvaneBarTimePreferencesChanged"},
        {"Weather_", "CorvaneBarWeatherPreferencesChanged"},
    }};
    for (const auto& [prefix, name] : kSections) {
        if (startsWith(key, prefix))
            return name;
    }
    if (key == "FilteringNetwork")
        return "CorvaneBarNetworkPreferencesChanged";
    if (key == "FilteringSensors")
        return "CorvaneBarSensorsPreferencesChanged";
    return "CorvaneBarGlobalDisplayChange";
}

} // namespace corvane
