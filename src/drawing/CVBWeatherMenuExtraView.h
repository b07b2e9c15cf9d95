#pragma once

#include "collectors/weather/WeatherUnits.h"
#include "drawing/CVBModuleView.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace corvane {

// The weather item: the entries of "Weather_MenubarMode" as a reading of the forecast record
// ("currently", today's "forecast" day), the condition icon in colour or in the panel's tint,
// stacked pairs of readings, and spacers. Nothing is drawn until a record is given.
class CVBWeatherMenuExtraView : public CVBModuleView {
public:
    explicit CVBWeatherMenuExtraView(const DrawingContext& context);

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The forecast record the status program keeps (keys "currently", "forecast", "metadata",
    // "timezone"); null forgets it.
    void setForecast(Value record);
    const Value& forecast() const { return forecast_; }
    // Reads the record at this moment instead of now, for previews and pictures on request.
    void setFixedTime(std::optional<double> time) { fixedTime_ = time; }
    // The units "locale" stands for; the measurement region's unless set.
    void setDefaultUnits(WeatherDefaultUnits units) { defaults_ = std::move(units); }

    // The text of one reading ("display" 0 to 8), "-" when the record lacks it; `units` is the
    // entry's own unit choice for wind and pressure (0: the settings').
    std::string stringForMode(std::int64_t display, std::int64_t units) const;
    // Whether the icons take their night form: today's sunrise is still to come, or its sunset
    // has passed.
    bool isNight() const;

private:
    int drawEntry(const Value& entry, int offset);
    int drawIcon(bool coloured, int offset);
    int drawStacked(const Value& entry, int offset);
    // Today's entry of the day list, worked out again once a minute or for a new record.
    const Value& today() const;
    double now() const;
    WeatherUtilities utilities() const;

    Value forecast_;
    std::optional<double> fixedTime_;
    WeatherDefaultUnits defaults_;
    mutable Value today_;
    mutable double todayMinute_ = -1;
};

} // namespace corvane
