#include "DrawingFixture.h"
#include "drawing/CVBWeatherMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "support/GoldenImage.h"

using namespace corvane;
using corvane::test::DrawingFixture;
using corvane::test::matchesGolden;

namespace {

// The recorded record is of Berlin on 24 November 2026: sunrise 07:45, sunset 16:00.
constexpr double kMidnight = 1795474800;
constexpr double kNoon = kMidnight + 12 * 3600;

Value recordedForecast() {
    const auto file = std::filesystem::path(CVB_FIXTURES_DIR) / "weather/forecast-record.json";
    return parseJson(readFileContents(file).value_or(""), "forecast record");
}

Value entries(std::initializer_list<Value> list) {
    Value modes = Value::array();
    for (const Value& entry : list)
        modes.append(entry);
    return modes;
}

Value text(int display) {
    return Value::dict({{"mode", 0}, {"display", display}});
}

const Value kIcon = Value::dict({{"mode", 1}});
const Value kIconMono = Value::dict({{"mode", 2}});

class WeatherView : public DrawingFixture {
protected:
    void SetUp() override {
        preferences.setObject(Value("en"), "language");
        view.setSurface(&surface);
        view.setDefaultUnits(WeatherDefaultUnits::forLocale("en_CA"));
        view.setForecast(recordedForecast());
        view.setFixedTime(kNoon);
        view.ready = true;
    }
    void TearDown() override {
        view.setSurface(nullptr);
        PreferencesFixture::TearDown();
    }
    int draw(const Value& list) {
        CVBSetObjectForKey(list, "Weather_MenubarMode");
        return view.drawAtOffset(0);
    }
    int large(const std::string& s) {
        return view.sizeLargeText(s, view.textAttributes("weather-text")) + 4;
    }
    int small(const std::string& s) {
        return view.sizeSmallText(s, view.smallTextAttributes("stacked-text")) + 4;
    }
    Image render(const Value& list, bool dark) {
        return rendered(view, "Weather_MenubarMode", list, dark);
    }

    CVBWeatherMenuExtraView view{host()};
    Image scratch{600, Surface::kStripHeight};
    Surface surface{scratch};
};

TEST_F(WeatherView, ReadingsOfTheRecord) {
    const struct {
        int display;
        int units;
        const char* expected;
    } cases[] = {
        {0, 0, "7°"}, {1, 0, "5°"},       {2, 0, "15 km/h"}, {2, 3, "9 mph"},
        {3, 0, "3°"}, {4, 0, "1013 hPa"}, {4, 3, "29.92\""}, {5, 0, "72%"},
        {6, 0, "2°"}, {7, 0, "8°"},       {8, 0, "40%"},     {9, 0, "-"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(view.stringForMode(c.display, c.units), c.expected) << c.display;
    view.switchUnits = true;
    EXPECT_EQ(view.stringForMode(0, 0), "45°");
    view.setForecast(Value());
    EXPECT_EQ(view.stringForMode(0, 0), "-");
    EXPECT_EQ(view.stringForMode(8, 0), "-");
}

TEST_F(WeatherView, NightFromTodaysSunriseAndSunset) {
    EXPECT_FALSE(view.isNight());
    view.setFixedTime(kMidnight + 7 * 3600);
    EXPECT_TRUE(view.isNight());
    view.setFixedTime(kMidnight + 17 * 3600);
    EXPECT_TRUE(view.isNight());
}

TEST_F(WeatherView, WidthsKeepTheLastGap) {
    const int temperature = large("7°");
    EXPECT_EQ(draw(entries({kIcon, text(0)})), 22 + temperature);
    EXPECT_EQ(draw(entries({text(0), Value::dict({{"mode", 101}, {"width", 6}}), kIconMono})),
              temperature + 6 + 22);
    const Value stacked = Value::dict({{"mode", 3}, {"top", 7}, {"bottom", 6}});
    EXPECT_EQ(draw(entries({stacked})), std::max(small("8°"), small("2°")));
    // Without a record there is no icon to draw, and readings show as missing.
    view.setForecast(Value());
    EXPECT_EQ(draw(entries({kIcon, text(0)})), large("-"));
    view.ready = false;
    EXPECT_EQ(draw(entries({text(0)})), 0);
}

TEST_F(WeatherView, LooksAsRecorded) {
    const Value stacked = Value::dict({{"mode", 3}, {"top", 7}, {"bottom", 6}});
    for (bool dark : {false, true}) {
        const std::string look = dark ? "-dark" : "-light";
        view.setFixedTime(kNoon);
        EXPECT_TRUE(matchesGolden(render(entries({kIcon, text(0)}), dark), "weather-icon" + look));
        EXPECT_TRUE(matchesGolden(render(entries({kIconMono, stacked, text(2)}), dark),
                                  "weather-mono-stacked" + look));
        view.setFixedTime(kMidnight + 20 * 3600);
        EXPECT_TRUE(
            matchesGolden(render(entries({kIcon, kIconMono}), dark), "weather-night" + look));
    }
}

} // namespace
