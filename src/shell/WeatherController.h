#pragma once

#include "shell/SectionController.h"

namespace corvane {

// The weather of a chosen place.
class WeatherController : public SectionController {
public:
    using SectionController::SectionController;

    void initWithXib(std::string xibName, std::int64_t key) override;
    std::string sectionName() const override { return "Weather"; }
    std::string stateNotificationKey() const override { return "weather"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Weather_Hotkey"; }

    // The moon form of the icon by night: before 6 and from 18 on, by the local hour.
    void updateIcon();
    void updateIcon(int hour);
};

} // namespace corvane
