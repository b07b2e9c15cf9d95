#pragma once

#include "clock/ClockController.h"
#include "shell/SectionController.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// The panel clock, calendar and cities: what the Time page edits beyond its plain switches,
// the panel clock's lines and the world clocks.
class TimeController : public SectionController {
public:
    using SectionController::SectionController;
    ~TimeController() override;

    std::string sectionName() const override { return "Time"; }
    std::optional<std::string> bundleName() const override { return "com.halvorn.CorvaneBarTime"; }
    std::string stateNotificationKey() const override { return "time"; }
    std::optional<std::string> hotkeyPreferenceKey() const override { return "Time_Hotkey"; }

    // The panel clock's first location as typed lines, one or two.
    std::vector<std::string> menubarLines() const;
    // Stores the lines and tells the running programs; false when the settings could not be
    // written.
    bool setMenubarLines(const std::vector<std::string>& lines);

    // The world clocks, read from the settings when first asked for; `reloadClocks` reads again.
    ClockController& clocks();
    void reloadClocks();

    // Runs `changed` after the clock's settings were written elsewhere (the command line,
    // the status program, an imported file), once the stored values are read again. Changes
    // this process makes come back the same way, so the listener must tolerate them. Empty
    // stops listening.
    void setChangeListener(std::function<void()> changed);
    void externalNotification(const Notification* notification) override;
    void importedPreferences() override;

private:
    void changedElsewhere();

    std::unique_ptr<ClockController> clocks_;
    std::function<void()> changed_;
    Observation timeChanged_;
};

} // namespace corvane
