#pragma once

#include "drawing/CVBModuleView.h"
#include "text/TextContext.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

class BatteryStatCollector;
class BatteryStatCollectorItem;

// The battery item: for each power source the user picked (all of them when none are picked),
// its level as text, graphs or a device picture, its time left, and the label, as the mode
// list of the source's kind and state asks.
class CVBBatteryMenuExtraView : public CVBModuleView {
public:
    // What one element of a source draws from.
    struct Reading {
        std::int64_t type = 0, subtype = 0, state = 0, time = 0;
        double percentage = 0, percentageLeft = 0, percentageRight = 0;

        static Reading of(const BatteryStatCollectorItem& battery);
        bool earbuds() const { return type == 2 && subtype == 1; }
    };

    // The collector is not owned and must outlive the view.
    CVBBatteryMenuExtraView(const DrawingContext& context, BatteryStatCollector& battery);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The sources of "Battery_MenubarItems" that exist, in its order.
    std::vector<std::shared_ptr<BatteryStatCollectorItem>> menubarBatteries() const;
    // The mode list for the source: by kind, and by state where the user set lists per state.
    Value currentModesForBattery(const Reading& battery) const;
    // The colour key of a coloured graph; `standard` gives the plain vertical graph's key.
    static std::string graphColorKey(const Reading& battery, bool standard);
    // "1:05", or the word for a state without an estimate.
    static std::string formattedBatteryTime(const TextContext& text, std::int64_t state,
                                            std::int64_t time);

private:
    int drawBattery(const Reading& battery, int offset);
    int drawEarbudsEntry(const Value& mode, const Reading& battery, int offset);
    int drawEntry(std::int64_t code, const Reading& battery, int offset);
    int drawPercentage(const Reading& battery, int offset);
    int drawTime(const Reading& battery, int offset);
    int drawStackedText(const Reading& battery, int offset);
    int drawDeviceImage(const Reading& battery, int offset);
    // The artwork in the panel's colour at (offset, 2).
    void drawTinted(const std::string& image, int offset);

    BatteryStatCollector& battery_;
    bool labelDrawn_ = false;
};

} // namespace corvane
