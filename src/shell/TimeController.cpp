#include "shell/TimeController.h"

#include "clock/ClockPatternText.h"
#include "foundation/DistributedNotificationCenter.h"
#include "preferences/CVBPreferences.h"
#include "shell/SectionServices.h"

namespace corvane {

namespace {

constexpr const char* kFormatKey = "Time_MenubarFormat";
constexpr const char* kChanged = "CorvaneBarTimePreferencesChanged";

} // namespace

TimeController::~TimeController() = default;

std::vector<std::string> TimeController::menubarLines() const {
    return menubarClockLines(CVBPreferences::sharedPreferences().objectForKey(kFormatKey));
}

bool TimeController::setMenubarLines(const std::vector<std::string>& lines) {
    auto& preferences = CVBPreferences::sharedPreferences();
    const Value format = withMenubarClockLines(preferences.objectForKey(kFormatKey), lines);
    if (format == preferences.objectForKey(kFormatKey))
        return true;
    if (!preferences.setObject(format, kFormatKey) || !preferences.synchronize())
        return false;
    postDistributed(kChanged);
    return true;
}

ClockController& TimeController::clocks() {
    if (!clocks_) {
        clocks_ = std::make_unique<ClockController>(CVBPreferences::sharedPreferences(),
                                                    *services().distributedCenter);
        clocks_->loadCities();
    }
    return *clocks_;
}

void TimeController::reloadClocks() {
    clocks().loadCities();
}

void TimeController::setChangeListener(std::function<void()> changed) {
    changed_ = std::move(changed);
    timeChanged_ = {};
    if (changed_ && services().distributedCenter)
        timeChanged_ = services().distributedCenter->addObserver(
            kChanged, [this](const Notification&) { changedElsewhere(); });
}

void TimeController::externalNotification(const Notification*) {
    changedElsewhere();
}

void TimeController::importedPreferences() {
    SectionController::importedPreferences();
    changedElsewhere();
}

void TimeController::changedElsewhere() {
    auto& preferences = CVBPreferences::sharedPreferences();
    for (const char* key : {kFormatKey, "Time_Cities", "Time_CityNames"})
        preferences.resetValueForKey(key);
    if (clocks_)
        clocks_->loadCities();
    if (changed_)
        changed_();
}

} // namespace corvane
