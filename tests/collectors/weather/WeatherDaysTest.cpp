#include "collectors/weather/WeatherDays.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "preferences/PreferencesFixture.h"

namespace corvane {
namespace {

// The recorded record is of Berlin, 24 November 2026; its day starts at 23:00 UTC before.
constexpr double kMidnight = 1795474800;
constexpr double kNoon = kMidnight + 12 * 3600;
constexpr double kEvening = kMidnight + 20 * 3600;

Value recordedForecast() {
    const auto file = std::filesystem::path(CVB_FIXTURES_DIR) / "weather/forecast-record.json";
    return parseJson(readFileContents(file).value_or(""), "forecast record");
}

class WeatherDays : public test::PreferencesFixture {
protected:
    void SetUp() override { preferences.setObject(Value("en"), "language"); }
    CVBPreferences& preferences = install();
    CVBTranslations translations;
    CVBFormatters numbers{"en_CA"};
    WeatherUtilities units{TextContext{preferences, numbers, translations},
                           WeatherDefaultUnits::forLocale("en_CA")};
    Value record = recordedForecast();
};

TEST(WeatherStartOfDay, FollowsTheZoneNotUtc) {
    EXPECT_EQ(startOfDay(kNoon, "Europe/Berlin"), kMidnight);
    EXPECT_EQ(startOfDay(kMidnight - 1, "Europe/Berlin"), kMidnight - 86400);
    EXPECT_EQ(startOfDay(kNoon, "America/New_York"), kMidnight + 6 * 3600);
    EXPECT_EQ(startOfDay(kNoon, "Not/AZone"), kMidnight + 3600);
}

TEST(WeatherIcons, NamesFollowDayNightAndPanel) {
    const Value clear = Value::dict({{"icon", "clear"}, {"dn", true}});
    const Value fog = Value::dict({{"icon", "fog"}});
    EXPECT_EQ(weatherIcon(clear, true, 18), "clear-night-18");
    EXPECT_EQ(weatherIcon(fog, true, 18), "fog-18");
    EXPECT_EQ(weatherIconLight(clear, false, 32), "clear-day-32-onlight");
    EXPECT_EQ(weatherIconMenubar(clear, false, true, 18, true), "clear-day-18");
    EXPECT_EQ(weatherIconMenubar(clear, false, true, 18, false), "clear-day-18-onlight");
    EXPECT_EQ(weatherIconMenubar(fog, false, false, 18, true), "fog-18-white");
    EXPECT_EQ(weatherIconMenubar(fog, false, false, 18, false), "fog-18-black");
    EXPECT_EQ(weatherIcon(Value::dict({{"dn", true}}), false, 18), std::nullopt);
}

TEST(WeatherDayPart, NightThenDayThenPlain) {
    const Value day = Value::dict({{"summary-day", "Sunny"},
                                   {"summary-night", "Clear"},
                                   {"icon-day", "clear"},
                                   {"conditions", "Fine"}});
    EXPECT_EQ(weatherDayPart(day, "summary", true).string(), "Clear");
    EXPECT_EQ(weatherDayPart(day, "icon", true).string(), "clear");
    EXPECT_EQ(weatherDayPart(day, "conditions", true).string(), "Fine");
    EXPECT_TRUE(weatherDayPart(day, "missing", false).isNull());
}

TEST_F(WeatherDays, PrecipitationInWords) {
    const struct {
        Value precipitation;
        const char* value;
        const char* label;
    } cases[] = {
        {Value::dict({{"type", "rain"}, {"probability", 40}, {"rain-forecast", 1.2}}),
         "40%, 1.2 mm", "Rain"},
        {Value::dict({{"type", "rain"},
                      {"probability", 80},
                      {"rain-forecast-low", 2},
                      {"rain-forecast-high", 6}}),
         "80%, 2-6 mm", "Rain"},
        {Value::dict({{"type", "rain"},
                      {"probability", 60},
                      {"rain-forecast-high", 1},
                      {"value-modifier", "<"}}),
         "60%, 0-1 mm", "Rain"},
        {Value::dict({{"type", "rain"}, {"probability", 10}, {"rain-forecast-low", 0.5}}),
         "10%, 0.5 mm", "Rain"},
        {Value::dict({{"type", "rain"}, {"probability", 5}}), "5%", "Rain"},
        {Value::dict({{"type", "mixed"},
                      {"probability", 55},
                      {"rain-forecast", 1.5},
                      {"snow-forecast", 8}}),
         "55%, 1.5 mm / 0.8 cm", "Rain & Snow"},
        {Value::dict({{"type", "mixed"}, {"probability", 55}, {"rain-forecast", 1.5}}), "55%",
         "Rain & Snow"},
        {Value::dict({{"type", "snow"}, {"probability", 70}, {"snow-forecast", 30}}),
         "70%, 30.0 mm", "Snow"},
        {Value::dict({{"day", Value::dict({{"type", "rain"}, {"probability", 20}})},
                      {"night", Value::dict({{"type", "snow"}, {"probability", 90}})}}),
         "90%", "Snow"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        const Value rain =
            rainFromData(units, Value::dict({{"precipitation", c.precipitation}}), true);
        EXPECT_EQ(rain["value"].string(), c.value);
        EXPECT_EQ(rain["label"].string(), c.label);
    }
    EXPECT_TRUE(rainFromData(
                    units, Value::dict({{"precipitation", Value::dict({{"type", "hail"}})}}), false)
                    .empty());
}

TEST_F(WeatherDays, DaysFromTodayWithTheirWords) {
    const Value days = formattedDayData(units, record, kNoon + 86400);
    ASSERT_EQ(days.size(), 6u); // yesterday goes
    EXPECT_EQ(days[0]["rain-summary"].string(), "80% chance of rain");
    EXPECT_EQ(days[0]["precipitation-formatted"]["value"].string(), "80%, 2-6 mm");
    EXPECT_EQ(days[1]["rain-summary"].string(), "70% chance of snow");
    EXPECT_FALSE(days[0].contains("is-night"));

    const Value evening = formattedDayData(units, record, kEvening);
    EXPECT_EQ(evening.size(), 7u);
    EXPECT_EQ(evening[0]["precipitation-formatted"]["value"].string(), "40%, 1.2 mm");
}

TEST_F(WeatherDays, AMissingHighComesFromTheWarmestHour) {
    Value day = record["forecast"][0];
    day.erase("temperature-high");
    Value forecast = Value::array({day});
    Value currently = record["currently"];
    currently.erase("temperature-since7am");
    record.set("forecast", forecast);
    record.set("currently", currently);
    Value days = formattedDayData(units, record, kEvening);
    ASSERT_EQ(days.size(), 1u);
    EXPECT_EQ(days[0]["temperature-high"].doubleValue(), 8); // the 7.9 at 11:00
    EXPECT_TRUE(days[0]["is-night"].boolValue());            // after the recorded sunset

    // A warmest hour no warmer than the low is no high: the day is left out.
    day.set("temperature-low", 8);
    record.set("forecast", Value::array({day}));
    EXPECT_TRUE(formattedDayData(units, record, kEvening).empty());

    // No hours at all: the day stays, marked for the night.
    record.set("hourly", Value::array());
    days = formattedDayData(units, record, kNoon);
    ASSERT_EQ(days.size(), 1u);
    EXPECT_TRUE(days[0]["is-night"].boolValue());
}

} // namespace
} // namespace corvane
