#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockFormatCompiler.h"
#include "clock/ClockTime.h"
#include "clock/ClockTokens.h"
#include "clock/SkyDay.h"
#include "clock/TimeDropdown.h"
#include "text/CVBTranslations.h"

#include <cmath>
#include <gtest/gtest.h>

namespace corvane {
namespace {

// 2023-11-14 22:13:20 UTC, a Tuesday: 23:13 in Berlin, 17:13 in New York, and already
// Wednesday in Kolkata (+5:30), Kathmandu (+5:45) and Kiritimati (+14).
constexpr double kT0 = 1700000000;
constexpr const char* kLocal = "Europe/Berlin";
constexpr const char* kNewYork = "America/New_York";

// The clock of one locale with its language's "time" table, in a fixed local zone.
struct LocaleClock {
    explicit LocaleClock(const char* locale, const char* local = kLocal)
        : utilities(
              locale,
              [this, language = std::string(locale).substr(0, 2)](std::string_view key) {
                  return translations.localizedString(key, "time", Value(language)).value_or("");
              },
              local) {}

    std::string text(const std::vector<const char*>& components, const char* zone, double time,
                     bool flashSeparators = false, int flash = 1) {
        Value line = Value::array();
        for (const char* c : components)
            line.append(c);
        const CompiledClock clock = formattedLocations(
            Value::array({Value::dict({{"timezone", zone}, {"format", Value::array({line})}})}),
            {flashSeparators, [](std::string_view, bool) { return 4.0; }});
        return lineText(utilities, clock.locations.at(0).lines.at(0), time, flash);
    }

    CVBTranslations translations;
    CVBDateAndTimeUtilities utilities;
};

struct TextCase {
    const char* name;
    std::vector<const char*> components;
    const char* zone;
    double time;
    const char* english;
    const char* german;
};

class ClockText : public ::testing::TestWithParam<TextCase> {
protected:
    static LocaleClock& english() {
        static LocaleClock clock("en_US");
        return clock;
    }
    static LocaleClock& german() {
        static LocaleClock clock("de_DE");
        return clock;
    }
};

TEST_P(ClockText, InEnglishAndGerman) {
    const TextCase& c = GetParam();
    EXPECT_EQ(english().text(c.components, c.zone, c.time), c.english);
    EXPECT_EQ(german().text(c.components, c.zone, c.time), c.german);
}

const std::vector<const char*> kTimeAndOffset{"HH", "':'", "mm", "' '", "__RELATIVE_OFFSET__"};

const TextCase kTextCases[] = {
    {"LocalZoneByDefault", {"EEE", "' '", "HH", "':'", "mm"}, "", kT0, "Tue 23:13", "Di. 23:13"},
    {"TwelveHourMarks", {"h", "':'", "mm", "' '", "a"}, kNewYork, kT0, "5:13 PM", "5:13 PM"},
    {"OneLetterMarks", {"h", "aa", "' '", "h", "aaa"}, kNewYork, kT0, "5P 13p", "5P 13p"},
    {"HalfHourZone", kTimeAndOffset, "Asia/Kolkata", kT0, "03:43 +4.5", "03:43 +4.5"},
    {"QuarterHourZone", kTimeAndOffset, "Asia/Kathmandu", kT0, "03:58 +4.8", "03:58 +4.8"},
    {"OwnZoneIsPlusNought", {"__RELATIVE_OFFSET__"}, kLocal, kT0, "+0", "+0"},
    // New York has changed to summer time on 10 March, Berlin only on 31 March.
    {"OffsetFollowsSummerTime", {"__RELATIVE_OFFSET__"}, kNewYork, 1710936000, "-5", "-5"},
    {"BeforeClocksGoForward", {"HH", "':'", "mm"}, kLocal, 1711846770, "01:59", "01:59"},
    {"AfterClocksGoForward", {"HH", "':'", "mm"}, kLocal, 1711846830, "03:00", "03:00"},
    {"DayAhead", {"__RELATIVE_DAY__"}, "Pacific/Kiritimati", kT0, "Tomorrow", "Morgen"},
    {"SameDay", {"__RELATIVE_DAY__"}, kNewYork, kT0, "Today", "Heute"},
    // 00:30 on Wednesday in Berlin is still Tuesday evening in New York.
    {"DayBehind", {"__RELATIVE_DAY__"}, kNewYork, 1700004600, "Yesterday", "Gestern"},
    {"WeekdayLetter", {"__DAY_MTWRFSU__", "__DAY_MTWRFSU__"}, "Asia/Kolkata", kT0, "WW", "WW"},
    {"OrdinalDay",
     {"d", "__DAY_SUFFIX__", "' '", "__DAY_SUFFIX_UPPER__"},
     kNewYork,
     kT0,
     "14th TH",
     "14. ."},
    {"QuotedApostrophe", {"'It's '", "H"}, "UTC", kT0, "It's 22", "It's 22"},
    {"FuzzyInZone", {"FUZZY"}, "Asia/Kathmandu", kT0, "four o'clock", "vier Uhr"},
};

INSTANTIATE_TEST_SUITE_P(Zones, ClockText, ::testing::ValuesIn(kTextCases),
                         [](const auto& in) { return std::string(in.param.name); });

TEST(ClockFlashing, BlankSeparatorsTakeTheirPlaceAndSecondsFollow) {
    LocaleClock clock("en_US");
    const std::vector<const char*> line{"HH", "':'", "mm", "':'", "ss"};
    EXPECT_EQ(clock.text(line, "UTC", kT0, true, 1), "22:13:20");
    EXPECT_EQ(clock.text(line, "UTC", kT0, true, 0), "22 13 20");
    EXPECT_EQ(clock.text(line, "UTC", kT0, false, 0), "22:13:20");
}

struct FuzzyCase {
    int hour, minute;
    const char* english;
    const char* german;
};

TEST(FuzzyClock, WordsByFiveMinutesWithEachLanguagesHourCounting) {
    const FuzzyCase cases[] = {
        {23, 58, "midnight", "Mitternacht"},
        {0, 2, "midnight", "Mitternacht"},
        {0, 3, "five past twelve", "fünf nach zwölf"},
        {11, 58, "twelve o'clock", "zwölf Uhr"},
        {14, 15, "quarter past two", "Viertel nach zwei"},
        {10, 25, "twenty five past ten", "fünf vor halb elf"},
        {10, 30, "half past ten", "halb elf"},
        {10, 35, "twenty five to eleven", "fünf nach halb elf"},
        {22, 57, "five to eleven", "fünf vor elf"},
    };
    LocaleClock english("en_US", "UTC");
    LocaleClock german("de_DE", "UTC");
    for (const FuzzyCase& c : cases) {
        const double time = c.hour * 3600 + c.minute * 60;
        EXPECT_EQ(english.utilities.fuzzyClock(time, {}), c.english) << c.hour << ":" << c.minute;
        EXPECT_EQ(german.utilities.fuzzyClock(time, {}), c.german) << c.hour << ":" << c.minute;
    }
}

TEST(FuzzyClock, AMalformedHourListFallsBackToTheEnglishCounting) {
    for (const char* list : {"1,1", "0,0,0,0,0,0,1,1,1,1,x", ""}) {
        CVBDateAndTimeUtilities u(
            "en_US",
            [list](std::string_view key) {
                return key == "FUZZY_CLOCK_HOURS" ? std::string(list) : std::string(key);
            },
            "UTC");
        EXPECT_EQ(u.fuzzyClock(10 * 3600 + 30 * 60, {}), "half past ten") << list;
        EXPECT_EQ(u.fuzzyClock(10 * 3600 + 35 * 60, {}), "twenty five to eleven") << list;
    }
}

TEST(WeekNumbers, IsoAndUsCountingDisagreeAtTheTurnOfTheYear) {
    LocaleClock clock("en_US", "UTC");
    constexpr double kSunday2023 = 1672574400; // 2023-01-01
    constexpr double kMonday2024 = 1704110400; // 2024-01-01
    clock.utilities.setWeekNumberFormat(1);
    EXPECT_EQ(clock.utilities.week(kSunday2023), "52");
    EXPECT_EQ(clock.utilities.week(kMonday2024), "1");
    clock.utilities.setWeekNumberFormat(0);
    EXPECT_EQ(clock.utilities.week(kSunday2023), "1");
    EXPECT_EQ(clock.text({"w"}, "UTC", kSunday2023), "1");
}

TEST(AmPm, CustomSymbolsReplaceTheLocalesOnlyWhenBothAreSet) {
    LocaleClock clock("en_US", "UTC");
    clock.utilities.amSymbol = "vorm.";
    EXPECT_EQ(clock.text({"a"}, "UTC", kT0), "PM");
    clock.utilities.pmSymbol = "nachm.";
    EXPECT_EQ(clock.text({"a"}, "UTC", kT0), "nachm.");
    EXPECT_EQ(clock.text({"a"}, "UTC", 3600), "vorm.");
}

TEST(ClockZones, AnUnknownZoneOrPatternGivesANeutralText) {
    LocaleClock clock("en_US", "UTC");
    EXPECT_EQ(clock.text({"HH"}, "Mars/Olympus_Mons", kT0), "22");
    EXPECT_EQ(clock.utilities.formatters().format(kT0, "UTC", "jJ"), "");
}

TEST(ClockTimeArguments, UnixSecondsOrADateAndTimeInAZone) {
    const struct {
        const char* text;
        std::optional<double> seconds;
    } cases[] = {
        {"1700000000", 1700000000},
        {"2023-11-14T22:13:20Z", 1700000000},
        {"2023-11-14 23:13:20", 1700000000}, // local: Berlin
        {"2023-11-15T03:58:20+05:45", 1700000000},
        {"2023-11-14T17:13-05:00", 1699999980},
        {"2024-03-31T03:00", 1711846800}, // first minute of summer time
        {"2024-02-30T10:00", std::nullopt},
        {"2023-11-14T24:00", std::nullopt},
        {"2023-11-14", std::nullopt},
        {"2023-11-14T22:13Zjunk", std::nullopt},
        {"yesterday", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseClockTime(c.text, "Europe/Berlin"), c.seconds) << c.text;
}

TEST(TimeDropdown, WorldClocksWithTheirNamesTimesAndDays) {
    LocaleClock german("de_DE");
    const Value cities = Value::array(
        {Value::dict({{"identifier", "-6"}, {"city", "Moon"}}), Value::dict({{"identifier", "-7"}}),
         Value::dict(
             {{"identifier", "1"}, {"city", "Kiritimati"}, {"timezone", "Pacific/Kiritimati"}}),
         Value::dict({{"identifier", "2"}, {"city", "New York City"}, {"timezone", kNewYork}}),
         Value::dict({{"identifier", "3"}, {"city", "Nowhere"}})});
    const Value names = Value::array({Value::dict({{"identifier", "2"}, {"name", "Büro"}})});
    EXPECT_EQ(worldClockRows(german.utilities, cities, names, kT0),
              (std::vector<std::string>{"Aktueller Ort  23:13  Di. 14 Nov.  Heute",
                                        "Kiritimati  12:13  Mi. 15 Nov.  Morgen",
                                        "Büro  17:13  Di. 14 Nov.  Heute"}));
    const Value twoLocations = Value::array(
        {Value::dict({{"format", Value::array({Value::array({"HH", "':'", "mm"})})}}),
         Value::dict({{"lines", 2},
                      {"timezone", "Asia/Kolkata"},
                      {"format", Value::array({Value::array({"HH"}), Value::array({"EEE"})})}})});
    // The second line has a zone of its own, "timezone-2": without one it is the local day.
    EXPECT_EQ(menubarClockText(german.utilities, twoLocations, kT0), "23:13  03  Di.");
}

// Times the almanacs give, to the minute: the sun's rise and set on 21 June 2024 and, beyond the
// polar circle, the polar day of June and the polar night of December.
TEST(SkyDay, SunriseAndSunsetAtTheSolsticesAndBeyondThePolarCircle) {
    const struct {
        const char* place;
        double latitude, longitude, time;
        int zoneSeconds;
        double sunrise, sunset; // local hours; 0 for none
        bool upAllDay;
    } cases[] = {
        {"London", 51.5085, -0.1257, 1718960400, 3600, 4 + 43 / 60.0, 21 + 21 / 60.0, false},
        {"Sydney", -33.8679, 151.2073, 1718960400, 36000, 7 + 0 / 60.0, 16 + 54 / 60.0, false},
        {"Kathmandu", 27.7017, 85.3206, 1718960400, 20700, 5 + 9 / 60.0, 19 + 2 / 60.0, false},
        {"Tromso, June", 69.6496, 18.956, 1718960400, 7200, 0, 0, true},
        {"Tromso, December", 69.6496, 18.956, 1734771600, 3600, 0, 0, false},
    };
    for (const auto& c : cases) {
        const SkyDay sky = skyDay(c.time, c.zoneSeconds, c.latitude, c.longitude);
        const double midnight =
            std::floor((c.time + c.zoneSeconds) / 86400) * 86400 - c.zoneSeconds;
        const auto hours = [&](const std::optional<double>& t) {
            return t ? (*t - midnight) / 3600 : 0.0;
        };
        EXPECT_NEAR(hours(sky.sunrise), c.sunrise, 2 / 60.0) << c.place;
        EXPECT_NEAR(hours(sky.sunset), c.sunset, 2 / 60.0) << c.place;
        EXPECT_EQ(sky.sunUpAllDay, c.upAllDay) << c.place;
    }
}

TEST(TimeDropdown, SunAndMoonForTheLastLocationElseTheFirstCityWithAPlace) {
    const Value cities = Value::array(
        {Value::dict({{"identifier", "-6"}, {"city", "Moon"}}), Value::dict({{"identifier", "-7"}}),
         Value::dict({{"identifier", "1"}, {"city", "Nowhere"}, {"timezone", "UTC"}}),
         Value::dict({{"identifier", "2"},
                      {"city", "London"},
                      {"latitude", "51.50853"},
                      {"longitude", "-0.12574"},
                      {"timezone", "Europe/London"}})});
    const auto here = skyPlace(Value::dict({{"latitude", 47.56}, {"longitude", -52.71}}), cities);
    ASSERT_TRUE(here);
    EXPECT_EQ(here->zone, "");
    const auto london = skyPlace(Value::dict({{"latitude", 0}, {"longitude", 0}}), cities);
    ASSERT_TRUE(london);
    EXPECT_EQ(london->name, "London");
    EXPECT_FALSE(skyPlace(Value(), Value::array({cities[0], cities[2]})));

    LocaleClock german("de_DE");
    const auto rows = skyRows(german.utilities, *london, 1718960400);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], "Sonnenaufgang 04:43   Sonnenuntergang 21:21");
    // The day before the full moon of 22 June 2024.
    EXPECT_TRUE(rows[1].starts_with("Zunehmender Mond 99 %   Mondaufgang ")) << rows[1];
}

} // namespace
} // namespace corvane
