#include "shell/WeatherController.h"

#include "shell/SectionManager.h"

#include <ctime>

namespace corvane {

void WeatherController::initWithXib(std::string xibName, std::int64_t key) {
    SectionController::initWithXib(std::move(xibName), key);
    updateIcon();
}

void WeatherController::updateIcon() {
    const auto now = static_cast<std::time_t>(services().clock->now());
    std::tm local{};
    localtime_r(&now, &local);
    updateIcon(local.tm_hour);
}

void WeatherController::updateIcon(int hour) {
    const std::string icon = (hour < 6 || hour >= 18) ? "prefs-sourcelist-icon-weather-moon"
                                                      : "prefs-sourcelist-icon-weather";
    sourceItem().icon = icon;
    sourceItem().selectedIcon = icon + "-selected";
    sourceItem().setNeedsDisplay();
}

} // namespace corvane
