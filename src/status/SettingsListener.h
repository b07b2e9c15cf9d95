#pragma once

#include "foundation/DistributedNotificationCenter.h"
#include "foundation/NotificationCenter.h"

#include <functional>
#include <string>
#include <vector>

namespace corvane {

struct StatusSection;

// The notifications through which the other processes tell the status program that settings
// changed, sorted by what the program has to do about them.
class SettingsListener {
public:
    struct Handlers {
        // A section's settings: "key" in `userInfo` names the one key, when given.
        std::function<void(const StatusSection& section, const Value& userInfo)> sectionChanged;
        // A panel item was switched on or off.
        std::function<void()> itemsSwitched;
        // Settings that touch every item: imported, reset, the dropdowns' look, the language.
        std::function<void(const std::string& name)> everythingChanged;
        // The desktop's or the panel's look.
        std::function<void()> themeChanged;
    };

    static constexpr const char* kEnableStatusItem = "CorvaneBarEnableStatusItem";
    static constexpr const char* kDisableStatusItem = "CorvaneBarDisableStatusItem";
    static constexpr const char* kLanguageChange = "CorvaneBarLanguageChange";
    static constexpr const char* kStatusRestart = "CorvaneBarStatusRestart";

    // `local` is the in-process centre the preferences post their theme changes on.
    SettingsListener(DistributedNotificationCenter& center, NotificationCenter& local,
                     Handlers handlers);

private:
    void observe(DistributedNotificationCenter& center, const std::string& name,
                 NotificationCenter::Callback callback);

    Handlers handlers_;
    std::vector<Observation> observations_;
};

} // namespace corvane
