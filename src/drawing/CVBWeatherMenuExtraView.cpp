#include "drawing/CVBWeatherMenuExtraView.h"

#include "collectors/weather/WeatherDays.h"
#include "drawing/Artwork.h"
#include "drawing/ModuleText.h"
#include "text/ValueFormatters.h"

#include <chrono>
#include <cmath>

namespace corvane {

namespace {

enum Code : std::int64_t {
    kText = 0,
    kIcon = 1,
    kIconMono = 2,
    kStacked = 3,
    kSpacer = 101,
};

// What "display" reads.
enum Display : std::int64_t {
    kTemperature = 0,
    kApparent = 1,
    kWindSpeed = 2,
    kDew = 3,
    kPressure = 4,
    kHumidity = 5,
    kLow = 6,
    kHigh = 7,
    kPrecipitation = 8,
};

constexpr int kIconSize = 18;

// The picture of an icon name of the record ("partly-cloudy-day-18-white"): the coloured
// drawing reads on either panel, the plain one is tinted to the panel's colour.
std::string artworkName(const std::string& iconName, bool coloured) {
    const std::string size = "-" + std::to_string(kIconSize);
    const std::string base = iconName.substr(0, iconName.rfind(size));
    return "weather-" + base + (coloured ? "" : "-mono");
}

} // namespace

CVBWeatherMenuExtraView::CVBWeatherMenuExtraView(const DrawingContext& context)
    : CVBModuleView(context)
    , defaults_(WeatherDefaultUnits::current()) {
    loadConfig();
}

Value CVBWeatherMenuExtraView::classConfig() {
    return Value::dict({
        {"weather-text",
         ModuleText::style("Weather_MenubarTextSize", "Weather_MenubarTextColor",
                           "Weather_MenubarTextShadowColor", "Weather_MenubarFontStyle")},
        {"stacked-text",
         ModuleText::style(nullptr, "Weather_StackedColor", "Weather_StackedShadowColor",
                           "Weather_StackerMenubarFontStyle")},
    });
}

void CVBWeatherMenuExtraView::loadConfig() {
    mergeConfig(classConfig());
}

void CVBWeatherMenuExtraView::setForecast(Value record) {
    forecast_ = std::move(record);
    todayMinute_ = -1;
}

const Value& CVBWeatherMenuExtraView::today() const {
    const double moment = now();
    const double minute = std::floor(moment / 60);
    if (minute != todayMinute_) {
        todayMinute_ = minute;
        today_ = formattedDayData(utilities(), forecast_, moment)[0];
    }
    return today_;
}

double CVBWeatherMenuExtraView::now() const {
    if (fixedTime_)
        return *fixedTime_;
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

WeatherUtilities CVBWeatherMenuExtraView::utilities() const {
    return {context().text(), defaults_};
}

bool CVBWeatherMenuExtraView::isNight() const {
    const double moment = now();
    std::string zone = forecast_["metadata"]["location"]["timezone"].stringValue();
    if (zone.empty())
        zone = forecast_["timezone"].stringValue();
    const double dayStart = startOfDay(moment, zone);
    for (const Value& day : forecast_["forecast"].arrayItems()) {
        if (day["start"].doubleValue() < dayStart)
            continue;
        const double sunset = day["sunset"].doubleValue();
        return day["sunrise"].doubleValue() > moment || (sunset > 0 && moment > sunset);
    }
    return false;
}

std::string CVBWeatherMenuExtraView::stringForMode(std::int64_t display, std::int64_t units) const {
    const WeatherUtilities weather = utilities();
    const Value& currently = forecast_["currently"];
    const auto temperature = [&](const Value& value) {
        return value.isNumber()
                   ? weather.weatherFormattedTemperatureMenubar(value.doubleValue(), switchUnits)
                   : std::string(kNoValueText);
    };
    switch (display) {
    case kTemperature:
        return temperature(currently["temperature"]);
    case kApparent:
        return temperature(currently["apparent"]);
    case kDew:
        return temperature(currently["dew"]);
    case kWindSpeed:
        if (currently["wind-speed"].isNumber())
            return weather.weatherFormattedWindSpeed(currently["wind-speed"].doubleValue(), units);
        break;
    case kPressure:
        if (currently["pressure"].isNumber())
            return weather.weatherFormattedPressureMenubar(currently["pressure"].doubleValue(),
                                                           units);
        break;
    case kHumidity:
        if (currently["humidity"].isNumber())
            return weather.weatherFormattedHumidity(currently["humidity"].doubleValue() / 100);
        break;
    case kLow:
        return temperature(today()["temperature-low"]);
    case kHigh:
        return temperature(today()["temperature-high"]);
    case kPrecipitation: {
        const Value& probability = today()["precipitation-formatted"]["probability"];
        if (probability.isNumber())
            return formattedPercentage(context().text(), 0, probability.doubleValue());
        break;
    }
    default:
        break;
    }
    return kNoValueText;
}

int CVBWeatherMenuExtraView::drawAtOffset(int offset) {
    if (!ready)
        return 0;
    const Value modes = context().modes("Weather_MenubarMode");
    int total = 0;
    for (const Value& entry : modes.arrayItems())
        total += drawEntry(entry, offset + total);
    // Unlike the other items, the gap after the last element stays.
    return total;
}

int CVBWeatherMenuExtraView::drawEntry(const Value& entry, int offset) {
    switch (entry["mode"].integerValue()) {
    case kText: {
        const std::string text =
            stringForMode(entry["display"].integerValue(), entry["units"].integerValue());
        return drawLargeText(text, textAttributes("weather-text"), offset);
    }
    case kIcon:
        return drawIcon(true, offset);
    case kIconMono:
        return drawIcon(false, offset);
    case kStacked:
        return drawStacked(entry, offset);
    case kSpacer:
        return static_cast<int>(entry["width"].integerValue());
    default:
        return 0;
    }
}

int CVBWeatherMenuExtraView::drawIcon(bool coloured, int offset) {
    const auto name =
        weatherIconMenubar(forecast_["currently"], isNight(), coloured, kIconSize, context().dark);
    if (!name)
        return 0;
    const std::string artwork = artworkName(*name, coloured);
    const auto image =
        coloured ? context().artwork->artwork().imageNamed(artwork, surface().scaleFactor())
                 : tintedArtwork(artwork);
    if (!image)
        return 0;
    surface().drawImage(*image, {static_cast<double>(offset), 2});
    return kIconSize + 4;
}

int CVBWeatherMenuExtraView::drawStacked(const Value& entry, int offset) {
    const TextAttributes& attributes = smallTextAttributes("stacked-text");
    const std::int64_t units = entry["units"].integerValue();
    const std::string top = stringForMode(entry["top"].integerValue(), units);
    const std::string bottom = stringForMode(entry["bottom"].integerValue(), units);
    const double x = offset;
    return std::max(drawSmallText(top, attributes, Point{x, 10}),
                    drawSmallText(bottom, attributes, Point{x, 1}));
}

} // namespace corvane
