#include "status/SettingsListener.h"

#include "preferences/CVBPreferences.h"
#include "preferences/SettingsFile.h"
#include "status/StatusSections.h"

namespace corvane {

namespace {

// Settings of every item: the dropdowns' look and theme, a whole file imported, the language,
// a restart asked for after the history was deleted.
constexpr const char* kEverything[] = {
    "CorvaneBarGlobalDisplayChange", kImportedPreferencesNotification,
    SettingsListener::kLanguageChange, SettingsListener::kStatusRestart};

} // namespace

SettingsListener::SettingsListener(DistributedNotificationCenter& center, NotificationCenter& local,
                                   Handlers handlers)
    : handlers_(std::move(handlers)) {
    for (const auto& section : statusSections()) {
        const StatusSection* s = &section;
        observe(center, std::string(section.notification),
                [this, s](const Notification& n) { handlers_.sectionChanged(*s, n.userInfo); });
    }
    for (const char* name : {kEnableStatusItem, kDisableStatusItem})
        observe(center, name, [this](const Notification&) { handlers_.itemsSwitched(); });
    for (const char* name : kEverything)
        observe(center, name,
                [this](const Notification& n) { handlers_.everythingChanged(n.name); });
    observe(center, "CorvaneBarDetectedMenubarColorChanged",
            [this](const Notification&) { handlers_.themeChanged(); });
    observations_.push_back(
        local.addObserver(kMenubarThemeChangedNotification,
                          [this](const Notification&) { handlers_.themeChanged(); }));
}

void SettingsListener::observe(DistributedNotificationCenter& center, const std::string& name,
                               NotificationCenter::Callback callback) {
    observations_.push_back(center.addObserver(name, std::move(callback)));
}

} // namespace corvane
