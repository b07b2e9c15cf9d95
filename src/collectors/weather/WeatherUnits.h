#pragma once

#include "foundation/Value.h"
#include "text/TextContext.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// Conversions from the metric readings the forecast keeps. The two temperature factors differ
// in their last digits on purpose: the first is the single-precision 5/9.
constexpr double weatherCelciusToFahrenheit(double x) {
    return x / 0.5555555820465088 + 32;
}
constexpr double weatherFahrenheitToCelcius(double x) {
    return (x - 32) * 0.5555555555555556;
}
constexpr double MmToInch(double x) {
    return x * 0.03937;
}
constexpr double CmToInch(double x) {
    return x * 0.3937;
}
constexpr double inchToMm(double x) {
    return x * 25.4;
}
constexpr double cmToMm(double x) {
    return x * 10;
}
constexpr double milesToKm(double x) {
    return x * 1.609344;
}
constexpr double KmToMiles(double x) {
    return x * 0.621371192237;
}
constexpr double MpsToKph(double x) {
    return x * 3.6;
}
constexpr double kphToMps(double x) {
    return x * 0.27777777777778;
}
constexpr double MpsToMph(double x) {
    return x * 2.2369362920544;
}
constexpr double mphToMps(double x) {
    return x * 0.44704;
}
constexpr double MpsToKnots(double x) {
    return x * 1.94384;
}
constexpr double inchToMillibar(double x) {
    return x / 0.029529983071445;
}

// The units a locale shows weather in, found by formatting a sample reading the way the
// locale would and looking for a unit's symbol in the text.
struct WeatherDefaultUnits {
    std::string speed = "km/h";
    std::string pressure = "hPa";
    std::string temperature = "°C";
    std::string distance = "km";
    std::string rainSmall = "mm";
    std::string rainLarge = "cm";

    // In an ICU locale ("en_US"); an unknown locale reads as metric.
    static WeatherDefaultUnits forLocale(const std::string& localeId);
    // In the measurement region the desktop set (LC_MEASUREMENT).
    static WeatherDefaultUnits current();
    // Keyed "speed", "pressure", "temperature", "distance", "rain-small", "rain-large".
    Value dictionary() const;
};

// Setting values of "Weather_WindUnits".
enum WeatherWindUnit : std::int64_t { kWindMps = 1, kWindKph = 2, kWindMph = 3, kWindKnots = 4 };

// Weather readings in words, in the units the settings choose (0: the locale's). Texts come
// from the "weather" table of the context's language.
class WeatherUtilities {
public:
    WeatherUtilities(const TextContext& text, WeatherDefaultUnits defaults);

    const WeatherDefaultUnits& defaultUnits() const { return defaults_; }
    std::int64_t integerForKey(const char* key) const;

    // 1 Celsius or 2 Fahrenheit; `swap` exchanges them.
    std::int64_t defaultTemperatureUnit(bool swap) const;
    // 1 metric or 2 inches.
    std::int64_t defaultPrecipitationUnits() const;
    // One of WeatherWindUnit.
    std::int64_t defaultWindUnit() const;
    // 1 hPa, 2 mb, 3 inches.
    std::int64_t defaultPressureUnit() const;
    // 1 km, 2 miles.
    std::int64_t defaultDistanceUnit() const;

    std::string weatherFormattedTemperature(double celsius, bool swap) const;
    std::string weatherFormattedHourTemperature(double celsius, bool swap) const;
    std::string weatherFormattedTemperatureNoUnit(double celsius, bool swap) const;
    std::string weatherFormattedTemperature2(double celsius, bool swap) const;
    std::string weatherFormattedTemperatureMenubar(double celsius, bool swap) const;

    // Speeds in m/s; `units` 0 follows the settings.
    std::string weatherFormattedWindSpeed(double mps, std::int64_t units = 0) const;
    std::string weatherFormattedWindSpeedNoUnit(double mps) const;
    std::string weatherFormattedWindSpeedDetailed(double mps) const;
    std::string weatherWindSpeedUnit() const;

    // Pressure in millibars; `units` 0 follows the settings.
    std::string weatherFormattedPressure(double millibars) const;
    std::string weatherFormattedPressureMenubar(double millibars, std::int64_t units) const;
    // Kilometres; 999 means no limit.
    std::string weatherFormattedVisiility(double km) const;

    // Amounts in millimetres.
    std::string weatherFormattedRain(double mm) const;
    std::string weatherFormattedRainForecast(double mm) const;
    std::string weatherFormattedSnowForecast(double mm) const;
    std::string weatherFormattedSnow(double mm) const;
    std::string weatherFormattedSnowNoUnit(double mm) const;
    std::string weatherSnowUnit() const;
    std::string weatherFormattedRainDetailedRange(double lowMm, double highMm) const;

    std::string weatherFormattedPercentage(int decimals, double value) const;
    // A fraction from 0 to 1.
    std::string weatherFormattedHumidity(double fraction) const;

    std::string weatherWindDirection(double degrees) const;
    std::string weatherUVLabel(double index) const;

    // A reading of one of weatherReadingKinds() in words; nothing for another kind.
    std::optional<std::string> formattedReading(std::string_view kind, double value,
                                                bool swap) const;

    std::string localized(const char* key) const;
    const TextContext& text() const { return text_; }

private:
    double temperatureIn(double celsius, bool swap) const;
    std::string windWithUnit(double mps, std::int64_t unit, bool detailed) const;
    std::string pressureIn(double millibars, std::int64_t unit) const;

    TextContext text_;
    WeatherDefaultUnits defaults_;
};

// The readings formattedReading words ("temperature", "wind", ...), each with the metric unit
// its value is given in.
struct WeatherReadingKind {
    const char* name;
    const char* unit;
    std::string (*format)(const WeatherUtilities&, double value, bool swap);
};
const std::vector<WeatherReadingKind>& weatherReadingKinds();

// "-0", with or without the degree mark behind it, reads "0": rounding never shows a negative
// zero, and the mark goes too.
std::string verifyTemp(std::string text);

} // namespace corvane
