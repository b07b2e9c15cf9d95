// The forecast: what an answer of the source becomes, what is refused, and when it is fetched,
// against a local HTTPS server.
#include "collectors/weather/ForecastSource.h"
#include "collectors/weather/ForecastWording.h"
#include "collectors/weather/WeatherStatCollector.h"
#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "foundation/ManualMainQueue.h"
#include "preferences/PreferencesFixture.h"
#include "support/LocalTlsServer.h"
#include "support/MainContext.h"

#include <gtest/gtest.h>
#include <map>

using namespace corvane;

namespace {

// The answer's "current" time: 10:15 in Berlin on its first day.
constexpr double kAnswerTime = 1795511700;
constexpr double kFirstDay = 1795474800;
const ForecastPlace kBerlin{"2950159", "Berlin", 52.52, 13.405};

std::string recordedAnswer() {
    return readFileContents(CVB_FIXTURES_DIR "/weather/open-meteo-berlin.json").value_or("");
}

// The recorded answer with one change made to its JSON.
std::string answerWith(const char* block, const char* key, Value value) {
    Value json = parseJson(recordedAnswer());
    Value inner = json[block];
    inner.set(key, std::move(value));
    json.set(block, std::move(inner));
    return toJson(json);
}

TEST(ForecastRecord, ReadsTheRecordedAnswer) {
    const auto record = forecastRecordFromAnswer(recordedAnswer(), kBerlin, kAnswerTime);
    ASSERT_TRUE(record);
    const Value& now = (*record)["currently"];
    EXPECT_EQ(now["temperature"].doubleValue(), 4.6);
    EXPECT_EQ(now["humidity"].doubleValue(), 81);
    EXPECT_DOUBLE_EQ(now["visibility"].doubleValue(), 24.14) << "metres become kilometres";
    EXPECT_EQ(now["icon"].stringValue(), "cloudy");
    EXPECT_FALSE(now["is-night"].boolValue());
    EXPECT_EQ((*record)["timezone"].stringValue(), "Europe/Berlin");
    EXPECT_EQ((*record)["metadata"]["location"]["timezone"].stringValue(), "Europe/Berlin");
    EXPECT_EQ((*record)["attribution"].stringValue(), "Weather data by Open-Meteo.com");
    // Thunder with hail has its own picture; plain thunder keeps the storm.
    for (const auto& [code, icon] : {std::pair{95, "thunderstorm"}, {96, "hail"}, {99, "hail"}}) {
        const auto stormy = forecastRecordFromAnswer(answerWith("current", "weather_code", code),
                                                     kBerlin, kAnswerTime);
        ASSERT_TRUE(stormy) << code;
        EXPECT_EQ((*stormy)["currently"]["icon"].stringValue(), icon) << code;
    }

    const Value& hours = (*record)["hourly"];
    ASSERT_EQ(hours.size(), std::size_t(forecast::kHoursKept));
    EXPECT_EQ(hours[0]["time"].doubleValue(), kFirstDay + 10 * 3600) << "from the hour under way";

    const Value& days = (*record)["forecast"];
    ASSERT_EQ(days.size(), 7u);
    EXPECT_EQ(days[0]["start"].doubleValue(), kFirstDay);
    EXPECT_EQ(days[0]["end"].doubleValue(), days[1]["start"].doubleValue());
    EXPECT_EQ((*record)["sun-data"]["current"]["sun"]["set"], days[0]["sunset"]);
    struct Day {
        int index;
        const char* icon;
        bool dayNight;
        const char* type;
        double rain;
        double snow;
    };
    for (const Day& d :
         {Day{1, "rain", false, "rain", 6.4, 0}, Day{4, "snow", false, "mixed", 0.4, 21},
          Day{5, "showers", true, "rain", 2.3, 0}}) {
        const Value& day = days[d.index];
        EXPECT_EQ(day["icon"].stringValue(), d.icon) << d.index;
        EXPECT_EQ(day["dn"].boolValue(), d.dayNight) << d.index;
        EXPECT_EQ(day["precipitation"]["type"].stringValue(), d.type) << d.index;
        EXPECT_DOUBLE_EQ(day["precipitation"]["rain-forecast"].doubleValue(), d.rain) << d.index;
        EXPECT_DOUBLE_EQ(day["precipitation"]["snow-forecast"].doubleValue(), d.snow) << d.index;
    }
    EXPECT_GT(days[1]["temperature-high"].doubleValue(), days[1]["temperature-low"].doubleValue());
}

TEST(ForecastRecord, RefusesWhatIsNotAWholeSaneForecast) {
    const std::string whole = recordedAnswer();
    struct Case {
        const char* name;
        std::string answer;
        const char* logged;
    };
    const Case cases[] = {
        {"truncated", whole.substr(0, whole.size() / 2), "refused"},
        {"not JSON", "<html>busy</html>", "refused"},
        {"an array", "[1,2,3]", "not a JSON object"},
        {"huge", std::string(forecast::kLongestAnswer + 1, ' '), "refused a forecast of"},
        {"a boiling day", answerWith("current", "temperature_2m", 500), "out of range"},
        {"a text reading", answerWith("current", "pressure_msl", "1016"), "not a number"},
        {"a short series", answerWith("daily", "sunset", Value::array({1})), "does not match"},
        {"no times", answerWith("hourly", "time", Value::array()), "no times"},
        {"no current time", answerWith("current", "time", Value()), "no time"},
    };
    for (const Case& c : cases) {
        LogCapture log;
        EXPECT_FALSE(forecastRecordFromAnswer(c.answer, kBerlin, kAnswerTime)) << c.name;
        EXPECT_TRUE(log.contains(c.logged)) << c.name << ": " << log.lines();
    }
    // A reading the source does not have is left out, not refused.
    const auto gap =
        forecastRecordFromAnswer(answerWith("current", "uv_index", Value()), kBerlin, kAnswerTime);
    ASSERT_TRUE(gap);
    EXPECT_FALSE((*gap)["currently"].contains("uv-index"));
}

TEST(ForecastPlace, IsTheFirstLocationOrWhereTheMachineIs) {
    const ForecastPlace here{"-7", "", 48.13743, 11.57549};
    const Value city = Value::dict({{"identifier", "2950159"},
                                    {"name", "Berlin"},
                                    {"latitude", "52.5200"},
                                    {"longitude", 13.4049}});
    const auto with = [&](std::initializer_list<std::pair<const std::string, Value>> changes) {
        Value changed = city;
        for (const auto& [key, value] : changes)
            changed.set(key, value);
        return Value::array({changed});
    };
    struct Case {
        const char* name;
        Value locations;
        std::optional<ForecastPlace> here;
        std::optional<ForecastPlace> expected;
    };
    const Case cases[] = {
        {"current, known", Value::array({Value::dict({{"identifier", "-7"}})}), here,
         ForecastPlace{"-7", "", 48.14, 11.58}},
        {"current, not yet known", Value::array({Value::dict({{"identifier", "-7"}})}),
         std::nullopt, std::nullopt},
        {"none stored", Value(), here, ForecastPlace{"-7", "", 48.14, 11.58}},
        {"a city, text or numbers", with({}), here,
         ForecastPlace{"2950159", "Berlin", 52.52, 13.4}},
        {"a city off the globe", with({{"latitude", 95}}), here, std::nullopt},
        {"a city without a place", with({{"longitude", Value()}}), here, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(forecastPlaceFromLocations(c.locations, c.here), c.expected) << c.name;
}

class ForecastWords : public test::PreferencesFixture {
protected:
    void SetUp() override { preferences.setObject(Value("en"), "language"); }
    ForecastWording words(const Value& record, const char* locale) {
        CVBFormatters numbers(locale);
        const WeatherUtilities units(TextContext{preferences, numbers, translations},
                                     WeatherDefaultUnits::forLocale(locale));
        return wordForecast(record, units, kAnswerTime);
    }
    CVBPreferences& preferences = install();
    CVBTranslations translations;
};

TEST_F(ForecastWords, InTheChosenUnitsAndThePlacesOwnTime) {
    Value record = *forecastRecordFromAnswer(recordedAnswer(), kBerlin, kAnswerTime);
    const ForecastWording metric = words(record, "de_DE");
    EXPECT_EQ(metric.place, "Berlin");
    EXPECT_EQ(metric.now, "5° Overcast");
    const std::map<std::string, std::string> details(metric.details.begin(), metric.details.end());
    EXPECT_EQ(details.at("Wind"), "15 km/h South West");
    EXPECT_EQ(details.at("Humidity"), "81%");
    EXPECT_EQ(details.at("Sunrise"), "07:52") << "Berlin's time, not this machine's";
    EXPECT_EQ(details.at("Sunset"), "15:58");
    ASSERT_EQ(metric.hours.size(), std::size_t(kWordedHours));
    EXPECT_EQ(metric.hours[0].first, "10:00");
    ASSERT_EQ(metric.days.size(), 7u);
    EXPECT_EQ(metric.days[0].first, "Tuesday");
    EXPECT_EQ(metric.attribution, "Weather data by Open-Meteo.com");
    EXPECT_TRUE(metric.note.empty());

    EXPECT_EQ(words(record, "en_US").now, "40° Overcast");
    record.set("stale", true);
    EXPECT_EQ(words(record, "de_DE").note, "Not updated since 10:15");
    const ForecastWording none = words(Value(), "de_DE");
    EXPECT_TRUE(none.empty);
    EXPECT_EQ(none.place, "Current Location");
}

class Forecast : public ::testing::Test {
protected:
    void SetUp() override {
        if (!server.failure().empty())
            GTEST_SKIP() << server.failure();
        server.respond("/v1/forecast", 200, recordedAnswer());
        source = make(server.database());
    }
    std::unique_ptr<ForecastSource> make(GTlsDatabase* trust) {
        return std::make_unique<ForecastSource>(
            clock, ForecastSource::Settings{server.url("/v1/forecast"), trust, state / "f.json"},
            [this](const Value&) { ++changes; });
    }
    // Serves until the fetch in flight has ended.
    void settle(const ForecastSource& fetching) {
        test::runMainContextUntil([&] { return !fetching.fetching(); });
    }
    int requests() const { return server.requests("/v1/forecast"); }
    double temperature() const {
        return source->record()["currently"]["temperature"].doubleValue();
    }

    test::LocalTlsServer server;
    test::TemporaryDirectory state;
    ManualMainQueue clock{kAnswerTime};
    std::unique_ptr<ForecastSource> source;
    int changes = 0;
};

TEST_F(Forecast, FetchedOnChangesAndAtMostEveryQuarterHourNeverOffline) {
    source->setPlace(kBerlin);
    source->refresh();
    EXPECT_FALSE(source->fetching()) << "never while offline";
    source->networkChanged(true);
    settle(*source);
    EXPECT_EQ(requests(), 1);
    EXPECT_EQ(temperature(), 4.6);
    clock.advance(ForecastSource::kMinimumInterval - 1);
    source->refresh();
    EXPECT_FALSE(source->fetching());
    clock.advance(1);
    source->refresh();
    settle(*source);
    source->didWake();
    settle(*source);
    source->networkChanged(true);
    settle(*source);
    EXPECT_EQ(requests(), 4) << "a quarter of an hour, a wake and a new network";
    source->networkChanged(false);
    source->didWake();
    EXPECT_FALSE(source->fetching());

    // A restart shows what was kept and waits out the quarter of an hour.
    source = make(server.database());
    EXPECT_EQ(temperature(), 4.6);
    source->networkChanged(true);
    source->setPlace(kBerlin);
    settle(*source);
    EXPECT_EQ(requests(), 5) << "the network came up";
    source->refresh();
    EXPECT_FALSE(source->fetching());
    // Another place's numbers are never shown for this one.
    changes = 0;
    source->setPlace(ForecastPlace{"-7", "", 48.1, 11.6});
    EXPECT_TRUE(source->record().isNull());
    EXPECT_TRUE(source->fetching());
    settle(*source);
    EXPECT_EQ(changes, 2);
}

TEST_F(Forecast, FailuresKeepTheLastGoodRecordMarkedStale) {
    source->setPlace(kBerlin);
    source->networkChanged(true);
    settle(*source);
    const std::string whole = recordedAnswer();
    struct Case {
        const char* name;
        unsigned status;
        std::string body;
        const char* logged;
    };
    const Case cases[] = {
        {"malformed", 200, "{\"timezone\": ", "refused"},
        {"truncated", 200, whole.substr(0, whole.size() - 40), "refused"},
        {"huge", 200, std::string(forecast::kLongestAnswer + 10, '{'), "longer than"},
        {"an error status", 503, whole, "status 503"},
    };
    for (const Case& c : cases) {
        server.respond("/v1/forecast", c.status, c.body);
        LogCapture log;
        source->didWake();
        settle(*source);
        EXPECT_TRUE(log.contains(c.logged)) << c.name << ": " << log.lines();
        EXPECT_EQ(temperature(), 4.6) << c.name;
        EXPECT_TRUE(source->record()["stale"].boolValue()) << c.name;
    }
    EXPECT_EQ(make(server.database())->record()["stale"], Value(false))
        << "the kept file holds the last good answer";
    server.respond("/v1/forecast", 200, whole);
    source->didWake();
    settle(*source);
    EXPECT_FALSE(source->record()["stale"].boolValue());

    LogCapture log;
    auto untrusting = make(nullptr);
    untrusting->networkChanged(true);
    settle(*untrusting);
    EXPECT_TRUE(log.contains("the request failed")) << log.lines();
    EXPECT_TRUE(untrusting->record()["stale"].boolValue());
}

} // namespace
