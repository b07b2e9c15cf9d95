#include "text/ValueFormatters.h"

#include "preferences/PreferenceDefaults.h"
#include "preferences/PreferencesFixture.h"
#include "text/ProcessFormatters.h"
#include "text/SensorFormatters.h"
#include "text/TextFieldFormatters.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>

namespace corvane {
namespace {

using Settings = std::vector<std::pair<const char*, std::int64_t>>;

struct Case {
    const char* rule;
    Settings settings;
    std::function<std::string(const TextContext&)> call;
    const char* english; // en_US: grouping ",", decimal "."
    const char* german;  // de_DE: grouping ".", decimal ","
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << c.rule;
}

struct Reading final : SensorItem {
    Reading(int t, double v)
        : t_(t)
        , v_(v) {}
    int type() const override { return t_; }
    double value() const override { return v_; }
    int t_;
    double v_;
};

// Two formatters of different regions live side by side in one process, as two hosts would
// hold them; each text follows the formatter of its own context.
class Texts : public test::PreferencesFixture {
protected:
    void apply(const Settings& settings) {
        for (const auto& [key, value] : settings)
            preferences.setInteger(value, key);
    }
    CVBPreferences& preferences = install();
    CVBTranslations translations;
    CVBFormatters englishNumbers{"en_US"};
    CVBFormatters germanNumbers{"de_DE"};
    TextContext english{preferences, englishNumbers, translations};
    TextContext german{preferences, germanNumbers, translations};
};

class FormatterRules : public Texts, public ::testing::WithParamInterface<Case> {};

TEST_P(FormatterRules, EnglishAndGermanSideBySide) {
    apply(GetParam().settings);
    EXPECT_EQ(GetParam().call(english), GetParam().english);
    EXPECT_EQ(GetParam().call(german), GetParam().german);
    EXPECT_EQ(GetParam().call(english), GetParam().english);
}

// Unit level 3 keeps whole words, so the menu-bar cases read like the dropdown's.
const std::pair<const char*, std::int64_t> kWords{"Network_MenubarUnitLevel", 3};
const std::pair<const char*, std::int64_t> kBytes{"Network_DataFormat", 0};
const std::pair<const char*, std::int64_t> kTwoKB{"Network_DecimalLevelKB", 2};

INSTANTIATE_TEST_SUITE_P(
    Bandwidth, FormatterRules,
    ::testing::Values(
        // Menu bar: the first level holds up to 1000 inclusive, then 1001/1024 = 0.977 -> 0.98.
        Case{"menubar 1000 B/s and dropdown 1024 B/s stay bytes; switchUnits turns to bits",
             {kBytes, kWords},
             [](auto& in) {
                 return formattedBandwidthFormatter(in, false, 1000) + "|" +
                        formattedBandwidth(in, false, 1024) + "|" +
                        formattedBandwidthFormatter(in, true, 100);
             },
             "1000 B/s|1024 B/s|800 b/s",
             "1000 B/s|1024 B/s|800 b/s"},
        Case{"menubar 1001 B/s is 0.98 KB/s",
             {kBytes, kWords, kTwoKB},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 1001); },
             "0.98 KB/s",
             "0,98 KB/s"},
        Case{"menubar KB decimals 1",
             {kBytes, kWords, {"Network_DecimalLevelKB", 1}},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 1536); },
             "1.5 KB/s",
             "1,5 KB/s"},
        // 1024001 passes the KB threshold: 0.977 MB with the MB decimals.
        Case{"menubar 1024001 B/s is MB",
             {kBytes, kWords, {"Network_DecimalLevelMB", 2}},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 1024001); },
             "0.98 MB/s",
             "0,98 MB/s"},
        Case{"menubar unit level 0 keeps the blank",
             {kBytes, {"Network_MenubarUnitLevel", 0}},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 500); },
             "500 ",
             "500 "},
        Case{"menubar unit level 1 is one letter",
             {kBytes, {"Network_MenubarUnitLevel", 1}, kTwoKB},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 2048); },
             "2.00 K",
             "2,00 K"},
        Case{"menubar unit level 2 is two letters after the first level",
             {kBytes, {"Network_MenubarUnitLevel", 2}, kTwoKB},
             [](auto& in) {
                 return formattedBandwidthFormatter(in, false, 10) + "|" +
                        formattedBandwidthFormatter(in, false, 2048);
             },
             "10 B|2.00 KB",
             "10 B|2,00 KB"},
        // Bits: 200 B/s * 8 = 1600 b/s, past 1000, so 1600/1024 = 1.5625 Kb/s.
        Case{"bits multiply by 8",
             {{"Network_DataFormat", 2}, kWords, kTwoKB},
             [](auto& in) { return formattedBandwidthFormatter(in, false, 200); },
             "1.56 Kb/s",
             "1,56 Kb/s"},
        // Format 4 skips the first two levels: 10 / 1048576 rounds to 0.00.
        Case{"format 4 starts at MB",
             {{"Network_DataFormat", 4}},
             [](auto& in) { return formattedBandwidth(in, false, 10); },
             "0.00 MB/s",
             "0,00 MB/s"},
        // Format 6 is bytes without the first level and without the factor 8.
        Case{"format 6 skips bytes",
             {{"Network_DataFormat", 6}},
             [](auto& in) { return formattedBandwidth(in, false, 512); },
             "0.50 KB/s",
             "0,50 KB/s"},
        // 1000 MiB/s is below 1 GiB/s, so it stays MB with grouping.
        Case{"dropdown grouping in the MB level",
             {{"Network_DataFormat", 1}},
             [](auto& in) { return formattedBandwidth(in, false, 1000.0 * 1048576); },
             "1,000.00 MB/s",
             "1.000,00 MB/s"}));

INSTANTIATE_TEST_SUITE_P(
    SpaceMemoryActivity, FormatterRules,
    ::testing::Values(
        // Space is decimal: 999999 B is still KB; 2.5e12 B = 2.5e9 KB, past the GB bound.
        Case{"space levels",
             {},
             [](auto& in) {
                 return formattedSpace(in, 999999) + "|" + formattedSpace(in, 1000001) + "|" +
                        formattedSpace(in, 2.5e12);
             },
             "1000 KB|1.0 MB|2.50 TB",
             "1000 KB|1,0 MB|2,50 TB"},
        // 999.9 KB rounds in KB; 16 GiB in KB, single-precision division gives exactly 16.
        Case{"memory levels",
             {},
             [](auto& in) {
                 return formattedMemory(in, 999.9) + "|" + formattedMemory(in, 1000) + "|" +
                        formattedMemory(in, 16777216);
             },
             "1000 KB|1 MB|16.00 GB",
             "1000 KB|1 MB|16,00 GB"},
        Case{"disk activity under 100 MB/s has a decimal, from 100 MB/s is whole",
             {},
             [](auto& in) {
                 return formattedDiskActivity(in, 52428800 * 1.5) + "|" +
                        formattedDiskActivity(in, 104857600);
             },
             "75.0 MB/s|100 MB/s",
             "75,0 MB/s|100 MB/s"},
        Case{"frequency GHz and MHz",
             {},
             [](auto& in) {
                 return formattedFrequency(in, 2400) + "|" + formattedFrequency(in, 999);
             },
             "2.40 GHz|999 MHz",
             "2,40 GHz|999 MHz"},
        Case{"percentage 1 decimal; other decimals give 0",
             {},
             [](auto& in) {
                 return formattedPercentage(in, 1, 42.25) + "|" + formattedPercentage(in, 7, 42.5);
             },
             "42.2%|42%",
             "42,2%|42%"},
        Case{"number #,##0 groups",
             {},
             [](auto& in) { return formattedNumber(in, 1234567); },
             "1,234,567",
             "1.234.567"}));

INSTANTIATE_TEST_SUITE_P(
    Temperature, FormatterRules,
    // Below zero is a dash in every mode. Fahrenheit: 2t/-10 + 2t + 32 with t = 36.5 is
    // 73/-10 + 73 + 32 = 97.7 -> 98. Kelvin adds 273.15, and switchUnits leaves it.
    ::testing::Values(Case{"Fahrenheit",
                           {{"Sensors_TemperatureMode", 1}},
                           [](auto& in) {
                               return formattedTemperature(in, -1) + formattedTemperature(in, 36.5);
                           },
                           "-°98°",
                           "-°98°"},
                      Case{"Kelvin",
                           {{"Sensors_TemperatureMode", 2}},
                           [](auto& in) {
                               return formattedTemperature(in, -1) + "|" +
                                      formattedTemperature(in, 26.9) +
                                      temperatureValue(in, true, 0);
                           },
                           "- K|300 K273",
                           "- K|300 K273"},
                      Case{"switchUnits shows Fahrenheit in Celsius mode",
                           {{"Sensors_TemperatureMode", 0}},
                           [](auto& in) { return temperatureValue(in, true, 100); },
                           "212",
                           "212"}));

// Sensors by type: the dropdown's unit after a blank, the menu bar's after the number.
INSTANTIATE_TEST_SUITE_P(
    Sensors, FormatterRules,
    ::testing::Values(
        Case{"missing item, fan without unit, multiplier, volts and gigahertz",
             {},
             [](auto& in) {
                 const Reading fan(2, 1999.6), multiplier(9, 36), volts(3, 12.346), clock(8, 3200);
                 return formattedSensor(in, nullptr) + "|" + formattedSensor(in, &fan) + "|" +
                        formattedSensor(in, &multiplier) + "|" + formattedSensor(in, &volts) + "|" +
                        formattedSensor(in, &clock);
             },
             "-|2000|36x|12.35 V|3.20 GHz",
             "-|2000|36x|12,35 V|3,20 GHz"},
        // formattedSensor2 picks the frequency level by the item's value, prints the argument;
        // a type the table does not name is a plain number, not a temperature.
        Case{"formattedSensor2 level by the item, unknown type plain",
             {},
             [](auto& in) {
                 const Reading clock(8, 3200), odd(-1, 0);
                 return formattedSensor2(in, &clock, 800) + "|" + formattedSensor2(in, &odd, 1.5);
             },
             "0.80 GHz|1.50",
             "0,80 GHz|1,50"},
        Case{"menu bar volts: level 1, decimals asked, suffix refused",
             {},
             [](auto& in) {
                 const Reading volts(3, 12.346);
                 return formattedMenubarSensor(in, &volts, Value::dict(), false) + "|" +
                        formattedMenubarSensor(in, &volts, Value::dict({{"decimals", 2}}), false) +
                        "|" +
                        formattedMenubarSensor(in, &volts, Value::dict({{"suffix", false}}), false);
             },
             "12.3V|12.35V|12.3",
             "12,3V|12,35V|12,3"},
        Case{"menu bar fans show their unit only when asked; temperature switched",
             {{"Sensors_TemperatureMode", 0}},
             [](auto& in) {
                 const Reading fan(2, 1200), hot(0, 50);
                 return formattedMenubarSensor(in, &fan, Value::dict(), false) + "|" +
                        formattedMenubarSensor(in, &fan, Value::dict({{"suffix", true}}), false) +
                        "|" + formattedMenubarSensor(in, &hot, Value::dict(), true);
             },
             "1200|1200rpm|122°",
             "1200|1200rpm|122°"}));

// Process lists: levels start at kilo and switch at 1024000 and 1048576000, after bits are
// counted; under a kilobyte of activity counts as one.
INSTANTIATE_TEST_SUITE_P(
    Processes, FormatterRules,
    ::testing::Values(
        Case{"bandwidth levels",
             {kBytes},
             [](auto& in) {
                 std::string out;
                 for (double v : {0.0, 2048.0, 1024000.0, 1024001.0, 1048576000.0, 2147483648.0})
                     out += formattedProcessBandwidth(in, false, v).text + "|";
                 return out;
             },
             "-|2 KB/s|1,000 KB/s|1.0 MB/s|1,000.0 MB/s|2.00 GB/s|",
             "-|2 KB/s|1.000 KB/s|1,0 MB/s|1.000,0 MB/s|2,00 GB/s|"},
        // 128000 B/s is 1024000 b/s, still kilo; one more byte is mega. The switch swaps back.
        Case{"bits and the switch",
             {{"Network_DataFormat", 2}},
             [](auto& in) {
                 return formattedProcessBandwidth(in, false, 128000).text + "|" +
                        formattedProcessBandwidth(in, false, 128001).text + "|" +
                        formattedProcessBandwidth(in, true, 2048).text;
             },
             "1,000 Kb/s|1.0 Mb/s|2 KB/s",
             "1.000 Kb/s|1,0 Mb/s|2 KB/s"},
        Case{"activity",
             {},
             [](auto& in) {
                 return formattedProcessActivity(in, 10).text + "|" +
                        formattedProcessActivity(in, 2147483648.0).text;
             },
             "1 KB/s|2.0 GB/s",
             "1 KB/s|2,0 GB/s"}));

// Settings fields: units straight after the number.
INSTANTIATE_TEST_SUITE_P(
    TextFields, FormatterRules,
    ::testing::Values(Case{"duration clamps to 1...600",
                           {},
                           [](auto&) {
                               return DurationFormatter().getObjectValue("0").stringValue() +
                                      DurationFormatter().getObjectValue("700").stringValue();
                           },
                           "1600",
                           "1600"},
                      Case{"quota, degrees and percentage",
                           {{"Sensors_TemperatureMode", 1}},
                           [](auto& in) {
                               DataFormatter data(in);
                               data.dataFormat = 1;
                               return data.stringForObjectValue(Value(5)) +
                                      TemperatureFormatter(in).stringForObjectValue(Value(80)) +
                                      PercentageFormatter().stringForObjectValue(Value(42));
                           },
                           "5GB80°F42%",
                           "5GB80°F42%"}));

// The figures of process lists: number at size 12, unit at size 10, in the value colour of
// the dropdown theme (1 is the older number of the dark one), mirrored in right-to-left.
TEST_F(Texts, ProcessFiguresRunsColoursAndDirection) {
    const auto bandwidth = formattedProcessBandwidth(english, false, 2048);
    ASSERT_EQ(bandwidth.runs.size(), 2u);
    EXPECT_EQ(bandwidth.runs[0].length, 2u);
    EXPECT_EQ(bandwidth.runs[1].start, 2u);
    EXPECT_EQ(bandwidth.runs[1].fontSize, 10);
    EXPECT_EQ(bandwidth.alignment, kAlignmentRight);
    EXPECT_FALSE(bandwidth.rightToLeft);

    const Color lightText = Color::gray(0.22);
    for (const auto& [theme, expected] : std::vector<std::pair<int, Color>>{
             {0, lightText}, {1, Color::white()}, {2, lightText}, {3, Color::white()}}) {
        SCOPED_TRACE(theme);
        preferences.setInteger(theme, "DropdownTheme");
        for (const auto& figure :
             {formattedProcessBandwidth(english, false, 5e6), formattedProcessActivity(english, 0)})
            for (const auto& run : figure.runs)
                EXPECT_EQ(run.color, expected) << figure.text;
    }

    preferences.setObject(Value("ar"), "language");
    for (const auto& figure :
         {formattedProcessBandwidth(english, false, 2048), formattedProcessActivity(english, 0)}) {
        EXPECT_EQ(figure.alignment, kAlignmentLeft) << figure.text;
        EXPECT_TRUE(figure.rightToLeft) << figure.text;
    }
}

TEST_F(Texts, DarkPanelReadsTheDarkDropdownTheme) {
    test::PreferencesFixture::TearDown();
    appearance->dark = true;
    CVBPreferences& dark = install();
    const TextContext text{dark, englishNumbers, translations};
    EXPECT_EQ(valueTextColor(text), Color::white());
    dark.setInteger(0, "DropdownTheme-Dark");
    EXPECT_EQ(formattedProcessActivity(text, 4096).runs.back().color, Color::gray(0.22));
}

// Garbage readings (an overflowed difference, a division by nothing) read as a dash in every
// formatter: never "nan", "inf" or a number wider than the item.
TEST_F(Texts, NonFiniteAndHugeValuesReadAsADash) {
    const auto sensor = [this](int type, double v, bool menubar) {
        const Reading reading(type, v);
        return menubar ? formattedMenubarSensor(english, &reading, {}, false)
                       : formattedSensor(english, &reading);
    };
    const TextContext& t = english;
    const struct {
        const char* formatter;
        std::function<std::string(double)> call;
        const char* neutral;
    } formatters[] = {
        {"formattedBandwidth", [&](double v) { return formattedBandwidth(t, false, v); }, "-"},
        {"formattedBandwidthFormatter",
         [&](double v) { return formattedBandwidthFormatter(t, true, v); }, "-"},
        {"formattedDiskActivity", [&](double v) { return formattedDiskActivity(t, v); }, "-"},
        {"formattedSpace", [&](double v) { return formattedSpace(t, v); }, "-"},
        {"formattedMemory", [&](double v) { return formattedMemory(t, v); }, "-"},
        {"formattedFrequency", [&](double v) { return formattedFrequency(t, v); }, "-"},
        {"formattedPercentage", [&](double v) { return formattedPercentage(t, 1, v); }, "-"},
        {"formattedNumber", [&](double v) { return formattedNumber(t, v); }, "-"},
        {"formattedMilliAmps", [&](double v) { return formattedMilliAmps(t, v); }, "-"},
        {"formattedMilliAmpHours", [&](double v) { return formattedMilliAmpHours(t, v); }, "-"},
        {"formattedTemperature", [&](double v) { return formattedTemperature(t, v); }, "-°"},
        {"temperatureValue", [&](double v) { return temperatureValue(t, true, v); }, "-"},
        {"stringFromDouble", [&](double v) { return t.formatters.stringFromDouble(v); }, "-"},
        {"formattedProcessBandwidth",
         [&](double v) { return formattedProcessBandwidth(t, false, v).text; }, "-"},
        {"formattedProcessActivity", [&](double v) { return formattedProcessActivity(t, v).text; },
         "-"},
        {"formattedSensor voltage", [&](double v) { return sensor(3, v, false); }, "-"},
        {"formattedSensor multiplier", [&](double v) { return sensor(9, v, false); }, "-"},
        {"formattedMenubarSensor frequency", [&](double v) { return sensor(8, v, true); }, "-"},
        {"formattedMenubarSensor temperature", [&](double v) { return sensor(0, v, true); }, "-°"},
        {"TemperatureFormatter",
         [&](double v) { return TemperatureFormatter(t).stringForObjectValue(Value(v)); }, "-°C"},
        {"DataFormatter", [&](double v) { return DataFormatter(t).stringForObjectValue(Value(v)); },
         "-MB"},
        {"PercentageFormatter",
         [&](double v) { return PercentageFormatter().stringForObjectValue(Value(v)); }, "-%"},
    };
    constexpr double kInf = std::numeric_limits<double>::infinity();
    for (const double v : {std::nan(""), kInf, -kInf, 9.3e18, -9.3e18, 1e300, -1e300}) {
        for (const auto& f : formatters)
            EXPECT_EQ(f.call(v), f.neutral) << f.formatter << "(" << v << ")";
    }
    // Just inside the limit is still a reading: 9.2e18 KB / 2^20 = 8.77e12 GB.
    EXPECT_EQ(formattedMemory(t, 9.2e18).substr(0, 6), "8,773,");
}

// Whole numbers are formatted once and then remembered: the remembered text must be what ICU
// writes for every value that rounds to it, halves included (ICU rounds half to even).
TEST_F(Texts, RememberedWholeNumbersMatchWhatICUWrites) {
    for (CVBFormatters* numbers : {&englishNumbers, &germanNumbers}) {
        for (const double v : {0.5, 1.5, 2.5, 2.4999, 42.5, 99.5, 100.5, 999.5, 1000.4, 1000.5,
                               -0.3, -0.0, 0.0, 1234.0}) {
            const std::string remembered =
                (numbers->stringFromDouble0(v), numbers->stringFromDouble0(v));
            numbers->setFractionDigits(0, 0);
            EXPECT_EQ(remembered, numbers->stringFromDouble(v)) << v;
        }
    }
}

// Desktops set the formats region apart from the language: numbers follow LC_NUMERIC, units
// LC_MEASUREMENT and the clock LC_TIME; LC_ALL overrides them all and LANG stands in for any
// that is unset.
TEST(FormatsRegion, EachCategoryFollowsItsOwnVariable) {
    using Environment = std::map<std::string, std::string>;
    const struct {
        Environment environment;
        const char* number;
        bool metric;
        const char* hour;
    } cases[] = {
        {{{"LANG", "en_US.UTF-8"}, {"LC_NUMERIC", "de_DE.UTF-8"}}, "1.234,57", false, "hh"},
        {{{"LANG", "en_US.UTF-8"}, {"LC_MEASUREMENT", "de_DE.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}},
         "1,234.57",
         true,
         "HH"},
        {{{"LANG", "de_DE.UTF-8"}, {"LC_MESSAGES", "en_US.UTF-8"}}, "1.234,57", true, "HH"},
        {{{"LANG", "de_DE.UTF-8"}, {"LC_ALL", "en_US.UTF-8"}, {"LC_NUMERIC", "de_DE.UTF-8"}},
         "1,234.57",
         false,
         "hh"},
        {{{"LANG", "en_US"}, {"LC_ALL", ""}, {"LC_NUMERIC", ""}}, "1,234.57", false, "hh"},
        {{{"LC_NUMERIC", "C.UTF-8"}}, "1234.57", true, "HH"},
        {{}, "1234.57", true, "HH"},
    };
    for (const auto& c : cases) {
        std::string described;
        for (const auto& [name, value] : c.environment)
            described += name + "=" + value + " ";
        SCOPED_TRACE(described);
        const auto lookup = [&](const char* name) -> const char* {
            const auto found = c.environment.find(name);
            return found == c.environment.end() ? nullptr : found->second.c_str();
        };
        const LocaleFacts facts = LocaleFacts::current(lookup);
        EXPECT_EQ(facts.metricSystem, c.metric);
        EXPECT_EQ(hourFieldForPattern(facts.shortTimePattern), c.hour);

        // A formatter made without a region reads the process's own environment.
        std::vector<std::unique_ptr<test::ScopedEnvironment>> process;
        for (const char* name : {"LC_ALL", "LC_NUMERIC", "LC_MESSAGES", "LANG"})
            process.push_back(std::make_unique<test::ScopedEnvironment>(name, lookup(name)));
        EXPECT_EQ(CVBFormatters().stringFromDouble2(1234.567), c.number);
    }
}

TEST(TemperatureConversion, ExactConstants) {
    // 5/9 as single precision makes 100 C read a hair under 212.
    EXPECT_LT(celciusToFahrenheit(100), 212.0);
    EXPECT_DOUBLE_EQ(fahrenheitToCelcius(212), 100.0);
    EXPECT_DOUBLE_EQ(kelvinToCelcius(celciusToKelvin(21.5)), 21.5);
}

} // namespace
} // namespace corvane
