#include "collectors/weather/WeatherUnits.h"

#include "collectors/weather/WeatherSentences.h"
#include "preferences/PreferencesFixture.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace corvane {
namespace {

// ICU's own unit data, not the C library's locales, decide these, so de_DE answers even where
// the machine has no German locale installed.
struct LocaleCase {
    const char* locale;
    const char* speed;
    const char* pressure;
    const char* temperature;
    const char* distance;
    const char* rain;
};

TEST(WeatherDefaultUnits, FollowTheLocaleUnitPreferences) {
    const LocaleCase cases[] = {
        {"en_US", "mph", "inHg", "°F", "miles", "inches"},
        {"en_GB", "km/h", "mb", "°C", "miles", "mm"},
        {"de_DE", "km/h", "hPa", "°C", "km", "mm"},
        {"en_CA", "km/h", "hPa", "°C", "km", "mm"},
        {"en_US_POSIX", "km/h", "hPa", "°C", "km", "mm"}, // LANG=C
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        const auto units = WeatherDefaultUnits::forLocale(c.locale);
        EXPECT_EQ(units.speed, c.speed);
        EXPECT_EQ(units.pressure, c.pressure);
        EXPECT_EQ(units.temperature, c.temperature);
        EXPECT_EQ(units.distance, c.distance);
        EXPECT_EQ(units.rainSmall, c.rain);
        EXPECT_EQ(units.rainLarge, std::string(c.rain) == "mm" ? "cm" : c.rain);
    }
}

using Settings = std::vector<std::pair<const char*, std::int64_t>>;

class WeatherTexts : public test::PreferencesFixture {
protected:
    void SetUp() override { preferences.setObject(Value("en"), "language"); }
    WeatherUtilities in(const char* locale, const Settings& settings = {},
                        const char* language = "en") {
        for (const auto& [key, value] : settings)
            preferences.setInteger(value, key);
        preferences.setObject(Value(language), "language");
        auto& [numbers, defaults] = locales[locale];
        if (!numbers) {
            numbers = std::make_unique<CVBFormatters>(locale);
            defaults = WeatherDefaultUnits::forLocale(locale);
        }
        return {TextContext{preferences, *numbers, translations}, defaults};
    }
    CVBPreferences& preferences = install();
    CVBTranslations translations;
    std::map<std::string, std::pair<std::unique_ptr<CVBFormatters>, WeatherDefaultUnits>> locales;
};

TEST_F(WeatherTexts, UnitChoicesFallBackToTheLocale) {
    WeatherDefaultUnits knots;
    knots.speed = "knots";
    WeatherUtilities sailor(in("en_GB").text(), knots);
    EXPECT_EQ(sailor.defaultWindUnit(), kWindKnots);
    EXPECT_EQ(in("en_US").defaultWindUnit(), kWindMph);
    EXPECT_EQ(in("en_US").defaultTemperatureUnit(false), 2);
    EXPECT_EQ(in("en_US").defaultTemperatureUnit(true), 1);
    EXPECT_EQ(in("en_US").defaultPrecipitationUnits(), 2);
    EXPECT_EQ(in("de_DE").defaultPrecipitationUnits(), 1);
    EXPECT_EQ(in("en_GB").defaultPressureUnit(), 2);
    EXPECT_EQ(in("en_US", {{"Weather_WindUnits", kWindMps}}).defaultWindUnit(), kWindMps);
    EXPECT_EQ(in("de_DE", {{"Weather_TemperatureUnits", 2}}).defaultTemperatureUnit(true), 1);
}

// Readings in words, as `corvanebar weather format` prints them.
struct TextCase {
    const char* locale;
    Settings settings;
    const char* kind;
    double value;
    const char* expected;
    const char* language = "en";
};

const TextCase kTexts[] = {
    // A rounded negative zero shows neither sign nor degree mark; a positive one keeps the mark.
    {"de_DE", {}, "menubar-temperature", -0.4, "0"},
    {"de_DE", {}, "menubar-temperature", 0.4, "0°"},
    {"de_DE", {{"Weather_MenubarTemperatureUnitLevel", 1}}, "menubar-temperature", -0.4, "-0.4°"},
    {"en_US", {}, "menubar-temperature", -17.9, "0"},
    {"en_US", {}, "temperature2", 21.6, "71°"},
    {"de_DE", {}, "temperature", 7.44, "7,4"},
    {"en_CA", {{"Weather_DropdownHideDecimals", 1}}, "temperature", 7.6, "8"},
    {"en_GB", {}, "hour-temperature", -12.6, "-13"},
    {"en_US", {}, "wind", 4.2, "9 mph"},
    {"en_CA", {}, "wind", 4.2, "15 km/h"},
    {"de_DE", {{"Weather_WindUnits", kWindKnots}}, "wind", 4.2, "8 kn", "de"},
    {"de_DE", {{"Weather_WindUnits", kWindMps}}, "wind-detailed", 1.24, "1.2 m/s"},
    {"en_GB", {}, "pressure", 1013.2, "1013 mb"},
    {"en_US", {}, "pressure", 1013.2, "29.92\""},
    {"de_DE", {}, "visibility", 999, "Unlimited"},
    {"en_US", {}, "visibility", 999.4, "Unlimited"},
    {"en_GB", {}, "visibility", 24.1, "15 miles"},
    {"en_US", {}, "rain", 12.7, "0.50\""},
    {"en_CA", {}, "rain-forecast", 1.25, "1.2 mm"},
    {"de_DE", {}, "snow-forecast", 30, "3.0 cm"},
    {"en_US", {}, "snow", 30, "1\""},
    {"en_US", {}, "humidity", 50, "50%"},
    {"en_US", {}, "direction", 337.5, "North"},
    {"en_US", {}, "direction", 337.4, "North West"},
    {"en_US", {}, "direction", 22.5, "North East"},
    {"de_DE", {}, "direction", 200, "Süd", "de"},
    {"en_US", {}, "uv", 2, "Low"},
    {"en_US", {}, "uv", 3, "Moderate"},
    {"en_US", {}, "uv", 11, "Extreme"},
    {"de_DE", {}, "uv", 9, "Sehr hoch", "de"},
};

TEST_F(WeatherTexts, ReadingsInWords) {
    for (const auto& c : kTexts) {
        SCOPED_TRACE(std::string(c.kind) + " " + std::to_string(c.value) + " in " + c.locale);
        EXPECT_EQ(in(c.locale, c.settings, c.language).formattedReading(c.kind, c.value, false),
                  c.expected);
        for (const auto& [key, value] : c.settings)
            preferences.setObject(Value(), key);
    }
    EXPECT_EQ(in("en_US").formattedReading("temperature2", 21.6, true), "22°");
    EXPECT_EQ(in("de_DE").weatherFormattedRainDetailedRange(2, 6), "2-6 mm");
    EXPECT_EQ(in("en_US").formattedReading("no such kind", 1, false), std::nullopt);
}

struct SentenceCase {
    const char* locale;
    Settings settings;
    const char* text;
    const char* expected;
};

const SentenceCase kSentences[] = {
    {"en_US", {}, "Light rain. Chance of rain 40%.", "Light rain."},
    {"en_US", {}, "Winds from 10 to 20 km/h.", "Winds from 6 to 12 mph."},
    {"en_CA", {{"Weather_WindUnits", kWindMps}}, "Gusts 36 km/h.", "Gusts 10 m/s."},
    {"en_CA", {}, "Winds 5 to 10 mph.", "Winds 8 to 16 km/h."},
    {"en_CA", {}, "Snow 2–5 cm. Then 4mm", "Snow 2-5cm Then 4 mm"},
    {"en_US", {}, "Snow 2–5 cm. Then 10cm", "Snow 1-2\" Then 4\""},
    {"en_US", {}, "Cloudy. High 12C. Dry.", "Cloudy. Dry."},
    {"en_US", {}, "Near 12C by noon", "Near 54° by noon"},
    {"de_DE", {}, "Bewölkt. Höchstwerte bei 12 °C. Trocken.", "Bewölkt. Trocken."},
    {"de_DE", {}, "Nuageux. Températures minimales de 3C.", "Nuageux."},
    {"de_DE", {}, "Νεφώσεις. Μέγιστη θερμοκρασία 12 °C.", "Νεφώσεις."},
    {"de_DE", {}, "多云。最高气温12°C。", "多云。"},
    {"de_DE", {}, "曇り。最高気温12度、最低気温3°C。", "曇り。"},
    {"en_US", {}, "風速10～20キロメートル毎時。", "風速6～12 mph。"},
};

TEST_F(WeatherTexts, SentencesInTheChosenUnits) {
    for (const auto& c : kSentences) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(weatherReplaceUnitsInString(in(c.locale, c.settings), c.text), c.expected);
        for (const auto& [key, value] : c.settings)
            preferences.setObject(Value(), key);
    }
}

} // namespace
} // namespace corvane
