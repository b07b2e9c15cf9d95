#include "collectors/weather/WeatherUnits.h"

#include "foundation/Log.h"
#include "preferences/SystemFacts.h"
#include "text/ValueFormatters.h"

#include <cmath>
#include <cstdio>
#include <strings.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>
#include <utility>

namespace corvane {

namespace {

// How the locale would show `value` of `unit` for `usage`, in its short unit width; empty when
// ICU cannot say.
std::string sampleText(const icu::Locale& locale, const char* unit, const char* usage,
                       double value) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::MeasureUnit measure = icu::MeasureUnit::forIdentifier(unit, status);
    const auto formatter =
        icu::number::NumberFormatter::withLocale(locale).unit(measure).usage(usage).unitWidth(
            UNUM_UNIT_WIDTH_SHORT);
    const icu::UnicodeString text = formatter.formatDouble(value, status).toString(status);
    if (U_FAILURE(status)) {
        CVBLog("Weather units of %s for %s: %s", locale.getName(), usage, u_errorName(status));
        return {};
    }
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
}

bool has(const std::string& text, const char* symbol) {
    return text.find(symbol) != std::string::npos;
}

// Inches show as "in" in words and as a double prime or quote in the narrow forms.
bool hasInches(const std::string& text) {
    return has(text, " in") || has(text, "″") || has(text, "\"");
}

} // namespace

WeatherDefaultUnits WeatherDefaultUnits::forLocale(const std::string& localeId) {
    const icu::Locale locale(localeId.c_str());
    WeatherDefaultUnits units;
    // ICU reads the C locale as American; the C locale itself has no units, so it reads as metric
    // here, as the other settings take it.
    const std::string language = locale.getLanguage();
    if (language.empty() || strcasecmp(language.c_str(), "c") == 0 ||
        strcasecmp(language.c_str(), "posix") == 0 || strcasecmp(locale.getVariant(), "posix") == 0)
        return units;
    const std::string speed = sampleText(locale, "meter-per-second", "wind", 0);
    units.speed = has(speed, "mph")   ? "mph"
                  : has(speed, "kn")  ? "knots"
                  : has(speed, "m/s") ? "m/s"
                                      : "km/h";
    const std::string pressure = sampleText(locale, "millibar", "baromtrc", 0);
    units.pressure = has(pressure, "mb") ? "mb" : has(pressure, "inHg") ? "inHg" : "hPa";
    units.temperature = has(sampleText(locale, "celsius", "weather", 0), "°F") ? "°F" : "°C";
    // A distance of nothing falls to the locale's smallest unit (feet, metres), so the sample
    // is one that stays in the unit a forecast gives visibility in.
    units.distance = has(sampleText(locale, "kilometer", "visiblty", 10), " mi") ? "miles" : "km";
    units.rainSmall = hasInches(sampleText(locale, "millimeter", "rainfall", 30)) ? "inches" : "mm";
    units.rainLarge = hasInches(sampleText(locale, "centimeter", "snowfall", 3)) ? "inches" : "cm";
    return units;
}

WeatherDefaultUnits WeatherDefaultUnits::current() {
    return forLocale(formatsLocaleId("LC_MEASUREMENT"));
}

Value WeatherDefaultUnits::dictionary() const {
    return Value::dict({{"speed", speed},
                        {"pressure", pressure},
                        {"temperature", temperature},
                        {"distance", distance},
                        {"rain-small", rainSmall},
                        {"rain-large", rainLarge}});
}

std::string verifyTemp(std::string text) {
    if (text == "-0" || text == "-0°")
        return "0";
    return text;
}

WeatherUtilities::WeatherUtilities(const TextContext& text, WeatherDefaultUnits defaults)
    : text_(text)
    , defaults_(std::move(defaults)) {}

std::int64_t WeatherUtilities::integerForKey(const char* key) const {
    return text_.integer(key);
}

std::string WeatherUtilities::localized(const char* key) const {
    return HLVLocalizedString(text_, key, {}, "weather");
}

std::int64_t WeatherUtilities::defaultTemperatureUnit(bool swap) const {
    std::int64_t unit = integerForKey("Weather_TemperatureUnits");
    if (unit != 1 && unit != 2)
        unit = defaults_.temperature == "°F" ? 2 : 1;
    if (swap)
        unit = unit == 2 ? 1 : 2;
    return unit;
}

std::int64_t WeatherUtilities::defaultPrecipitationUnits() const {
    const std::int64_t unit = integerForKey("Weather_RainUnits");
    if (unit == 1 || unit == 2)
        return unit;
    return defaults_.rainSmall == "inches" ? 2 : 1;
}

std::int64_t WeatherUtilities::defaultWindUnit() const {
    const std::int64_t unit = integerForKey("Weather_WindUnits");
    if (unit >= kWindMps && unit <= kWindKnots)
        return unit;
    if (defaults_.speed == "mph")
        return kWindMph;
    if (defaults_.speed == "knots")
        return kWindKnots;
    if (defaults_.speed == "m/s")
        return kWindMps;
    return kWindKph;
}

std::int64_t WeatherUtilities::defaultPressureUnit() const {
    const std::int64_t unit = integerForKey("Weather_PressureUnits");
    if (unit >= 1 && unit <= 3)
        return unit;
    return defaults_.pressure == "mb" ? 2 : defaults_.pressure == "inHg" ? 3 : 1;
}

std::int64_t WeatherUtilities::defaultDistanceUnit() const {
    const std::int64_t unit = integerForKey("Weather_VisibilityUnits");
    if (unit == 1 || unit == 2)
        return unit;
    return defaults_.distance == "miles" ? 2 : 1;
}

double WeatherUtilities::temperatureIn(double celsius, bool swap) const {
    return defaultTemperatureUnit(swap) == 2 ? weatherCelciusToFahrenheit(celsius) : celsius;
}

std::string WeatherUtilities::weatherFormattedTemperature(double celsius, bool swap) const {
    if (!isShowable(celsius))
        return kNoValueText;
    const double value = temperatureIn(celsius, swap);
    if (defaultTemperatureUnit(swap) == 2)
        return verifyTemp(printfNumber("%.0f", value));
    if (text_.integer("Weather_DropdownHideDecimals") != 0)
        return verifyTemp(text_.formatters.stringFromDouble0(value));
    return verifyTemp(text_.formatters.stringFromDouble1(value));
}

std::string WeatherUtilities::weatherFormattedHourTemperature(double celsius, bool swap) const {
    if (isShowable(celsius) && defaultTemperatureUnit(swap) == 1 && celsius < -10)
        return verifyTemp(printfNumber("%.0f", celsius));
    return weatherFormattedTemperature(celsius, swap);
}

std::string WeatherUtilities::weatherFormattedTemperatureNoUnit(double celsius, bool swap) const {
    if (!isShowable(celsius))
        return kNoValueText;
    return verifyTemp(printfNumber("%.0f", temperatureIn(celsius, swap)));
}

std::string WeatherUtilities::weatherFormattedTemperature2(double celsius, bool swap) const {
    if (!isShowable(celsius))
        return kNoValueText;
    return verifyTemp(printfNumber("%.0f", temperatureIn(celsius, swap)) + "°");
}

std::string WeatherUtilities::weatherFormattedTemperatureMenubar(double celsius, bool swap) const {
    if (!isShowable(celsius))
        return kNoValueText;
    const char* format =
        integerForKey("Weather_MenubarTemperatureUnitLevel") == 1 ? "%.1f" : "%.0f";
    return verifyTemp(printfNumber(format, temperatureIn(celsius, swap)) + "°");
}

std::string WeatherUtilities::windWithUnit(double mps, std::int64_t unit, bool detailed) const {
    if (!isShowable(mps))
        return kNoValueText;
    double value = mps;
    const char* format = "%@ km/h";
    switch (unit) {
    case kWindMps:
        format = "%@ m/s";
        break;
    case kWindMph:
        value = MpsToMph(mps);
        format = "%@ mph";
        break;
    case kWindKnots:
        value = MpsToKnots(mps);
        format = "%@ knots";
        break;
    default:
        value = MpsToKph(mps);
        break;
    }
    const bool decimal = detailed && std::fabs(value) < 10;
    return formattedString(localized(format), printfNumber(decimal ? "%.1f" : "%.0f", value));
}

std::string WeatherUtilities::weatherFormattedWindSpeed(double mps, std::int64_t units) const {
    return windWithUnit(mps, units > 0 ? units : defaultWindUnit(), false);
}

std::string WeatherUtilities::weatherFormattedWindSpeedDetailed(double mps) const {
    return windWithUnit(mps, defaultWindUnit(), true);
}

std::string WeatherUtilities::weatherFormattedWindSpeedNoUnit(double mps) const {
    if (!isShowable(mps))
        return kNoValueText;
    switch (defaultWindUnit()) {
    case kWindMps:
        return printfNumber("%.0f", mps);
    case kWindMph:
        return printfNumber("%.0f", MpsToMph(mps));
    case kWindKnots:
        return printfNumber("%.0f", MpsToKnots(mps));
    default:
        return printfNumber("%.0f", MpsToKph(mps));
    }
}

std::string WeatherUtilities::weatherWindSpeedUnit() const {
    switch (defaultWindUnit()) {
    case kWindMps:
        return localized("m/s");
    case kWindMph:
        return localized("mph");
    case kWindKnots:
        return localized("knots");
    default:
        return localized("km/h");
    }
}

std::string WeatherUtilities::pressureIn(double millibars, std::int64_t unit) const {
    if (!isShowable(millibars))
        return kNoValueText;
    if (unit == 3)
        return printfNumber("%.2f", millibars * 0.029529983071445) + "\"";
    return formattedString(localized(unit == 2 ? "%@ mb" : "%@ hPa"),
                           printfNumber("%.0f", millibars));
}

std::string WeatherUtilities::weatherFormattedPressure(double millibars) const {
    return pressureIn(millibars, defaultPressureUnit());
}

std::string WeatherUtilities::weatherFormattedPressureMenubar(double millibars,
                                                              std::int64_t units) const {
    return pressureIn(millibars, units > 0 ? units : defaultPressureUnit());
}

std::string WeatherUtilities::weatherFormattedVisiility(double km) const {
    if (!isShowable(km))
        return kNoValueText;
    if (static_cast<std::int64_t>(km) == 999)
        return localized("Unlimited");
    if (defaultDistanceUnit() == 2)
        return formattedString(localized("%@ miles"), printfNumber("%.0f", KmToMiles(km)));
    return formattedString(localized("%@ km"), printfNumber("%.0f", km));
}

std::string WeatherUtilities::weatherFormattedRain(double mm) const {
    if (!isShowable(mm))
        return kNoValueText;
    if (defaultPrecipitationUnits() == 2)
        return printfNumber("%.2f", MmToInch(mm)) + "\"";
    return formattedString(localized("%@ mm"), printfNumber("%.0f", mm));
}

std::string WeatherUtilities::weatherFormattedRainForecast(double mm) const {
    if (!isShowable(mm))
        return kNoValueText;
    if (defaultPrecipitationUnits() == 2)
        return printfNumber("%.2f", MmToInch(mm)) + "\"";
    return formattedString(localized("%@ mm"), printfNumber("%.1f", mm));
}

std::string WeatherUtilities::weatherFormattedSnowForecast(double mm) const {
    if (!isShowable(mm))
        return kNoValueText;
    if (defaultPrecipitationUnits() == 2)
        return printfNumber("%.2f", MmToInch(mm)) + "\"";
    return formattedString(localized("%@ cm"), printfNumber("%.1f", mm / 10));
}

std::string WeatherUtilities::weatherFormattedSnowNoUnit(double mm) const {
    if (!isShowable(mm))
        return kNoValueText;
    return printfNumber("%.0f", defaultPrecipitationUnits() == 2 ? MmToInch(mm) : mm / 10);
}

std::string WeatherUtilities::weatherSnowUnit() const {
    return defaultPrecipitationUnits() == 2 ? "\"" : localized("cm");
}

std::string WeatherUtilities::weatherFormattedSnow(double mm) const {
    if (!isShowable(mm))
        return kNoValueText;
    if (defaultPrecipitationUnits() == 2)
        return weatherFormattedSnowNoUnit(mm) + "\"";
    return formattedString(localized("%@ cm"), weatherFormattedSnowNoUnit(mm));
}

std::string WeatherUtilities::weatherFormattedRainDetailedRange(double lowMm, double highMm) const {
    if (!isShowable(lowMm) || !isShowable(highMm))
        return kNoValueText;
    std::string low;
    std::string high;
    if (defaultPrecipitationUnits() == 2) {
        low = printfNumber("%.2f", MmToInch(lowMm));
        high = printfNumber("%.2f", MmToInch(highMm)) + "\"";
    } else {
        low = printfNumber("%.0f", lowMm);
        high = formattedString(localized("%@ mm"), printfNumber("%.0f", highMm));
    }
    return low + "-" + high;
}

std::string WeatherUtilities::weatherFormattedPercentage(int decimals, double value) const {
    return formattedWeatherPercentage(text_, decimals, value);
}

std::string WeatherUtilities::weatherFormattedHumidity(double fraction) const {
    return formattedWeatherPercentage(text_, 0, fraction * 100);
}

std::string WeatherUtilities::weatherWindDirection(double degrees) const {
    static constexpr struct {
        double below;
        const char* name;
    } kDirections[] = {{22.5, "North"},       {67.5, "North East"}, {112.5, "East"},
                       {157.5, "South East"}, {202.5, "South"},     {247.5, "South West"},
                       {292.5, "West"},       {337.5, "North West"}};
    for (const auto& direction : kDirections)
        if (degrees < direction.below)
            return localized(direction.name);
    return localized("North");
}

std::string WeatherUtilities::weatherUVLabel(double index) const {
    if (index <= 2)
        return localized("Low");
    if (index <= 5)
        return localized("Moderate");
    if (index <= 7)
        return localized("High");
    if (index <= 10)
        return localized("Very High");
    return localized("Extreme");
}

std::optional<std::string> WeatherUtilities::formattedReading(std::string_view kind, double value,
                                                              bool swap) const {
    for (const auto& known : weatherReadingKinds())
        if (kind == known.name)
            return known.format(*this, value, swap);
    return std::nullopt;
}

const std::vector<WeatherReadingKind>& weatherReadingKinds() {
    using U = const WeatherUtilities&;
    static const std::vector<WeatherReadingKind> kinds = {
        {"temperature", "°C",
         [](U u, double v, bool swap) { return u.weatherFormattedTemperature(v, swap); }},
        {"menubar-temperature", "°C",
         [](U u, double v, bool swap) { return u.weatherFormattedTemperatureMenubar(v, swap); }},
        {"hour-temperature", "°C",
         [](U u, double v, bool swap) { return u.weatherFormattedHourTemperature(v, swap); }},
        {"temperature2", "°C",
         [](U u, double v, bool swap) { return u.weatherFormattedTemperature2(v, swap); }},
        {"wind", "m/s", [](U u, double v, bool) { return u.weatherFormattedWindSpeed(v); }},
        {"wind-detailed", "m/s",
         [](U u, double v, bool) { return u.weatherFormattedWindSpeedDetailed(v); }},
        {"direction", "degrees", [](U u, double v, bool) { return u.weatherWindDirection(v); }},
        {"pressure", "hPa", [](U u, double v, bool) { return u.weatherFormattedPressure(v); }},
        {"visibility", "km, 999 for no limit",
         [](U u, double v, bool) { return u.weatherFormattedVisiility(v); }},
        {"rain", "mm", [](U u, double v, bool) { return u.weatherFormattedRain(v); }},
        {"rain-forecast", "mm",
         [](U u, double v, bool) { return u.weatherFormattedRainForecast(v); }},
        {"snow", "mm", [](U u, double v, bool) { return u.weatherFormattedSnow(v); }},
        {"snow-forecast", "mm",
         [](U u, double v, bool) { return u.weatherFormattedSnowForecast(v); }},
        {"humidity", "percent",
         [](U u, double v, bool) { return u.weatherFormattedHumidity(v / 100); }},
        {"uv", "index", [](U u, double v, bool) { return u.weatherUVLabel(v); }},
    };
    return kinds;
}

} // namespace corvane
