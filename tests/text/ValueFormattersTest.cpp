#include "text/ValueFormatters.h"

#include "preferences/PreferenceDefaults.h"
#include "preferences/PreferencesFixture.h"
#include "text/ProcessFormatters.h"
#include "text/SensorFormatters.h"
#include "text/TextFieldFormatters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace corvane {
namespace {

using Settings = std::vector<std::pair<const char*, std::int64_t>>;
using Format = std::string (*)(const TextContext&, double);

struct Reading final : SensorItem {
    Reading(int t, double v)
        : t_(t)
        , v_(v) {}
    int type() const override { return t_; }
    double value() const override { return v_; }
    int t_;
    double v_;
};

std::string sensor(const TextContext& t, int type, double value) {
    const Reading reading(type, value);
    return formattedSensor(t, &reading);
}

// With one option set, when `option` names one.
std::string menubarSensor(const TextContext& t, int type, double value, const char* option = "",
                          const Value& setting = {}, bool switched = false) {
    const Reading reading(type, value);
    Value options = Value::dict();
    if (*option)
        options.set(option, setting);
    return formattedMenubarSensor(t, &reading, options, switched);
}

std::string sensor2(const TextContext& t, int type, double itemValue, double value) {
    const Reading reading(type, itemValue);
    return formattedSensor2(t, &reading, value);
}

// Every formatter of one reading, by name, with what it shows for a garbage reading (null: it
// does not format the reading).
struct Formatter {
    const char* name;
    Format format;
    const char* neutral = "-";
};

const Formatter kFormatters[] = {
    {"bandwidth", [](auto& t, auto v) { return formattedBandwidth(t, false, v); }},
    {"menubar", [](auto& t, auto v) { return formattedBandwidthFormatter(t, false, v); }},
    {"menubar switched", [](auto& t, auto v) { return formattedBandwidthFormatter(t, true, v); }},
    {"disk activity", [](auto& t, auto v) { return formattedDiskActivity(t, v); }},
    {"space", [](auto& t, auto v) { return formattedSpace(t, v); }},
    {"memory", [](auto& t, auto v) { return formattedMemory(t, v); }},
    {"frequency", [](auto& t, auto v) { return formattedFrequency(t, v); }},
    {"percentage 1", [](auto& t, auto v) { return formattedPercentage(t, 1, v); }},
    {"percentage 7", [](auto& t, auto v) { return formattedPercentage(t, 7, v); }},
    {"number", [](auto& t, auto v) { return formattedNumber(t, v); }},
    {"milliamps", [](auto& t, auto v) { return formattedMilliAmps(t, v); }},
    {"milliamp hours", [](auto& t, auto v) { return formattedMilliAmpHours(t, v); }},
    {"temperature", [](auto& t, auto v) { return formattedTemperature(t, v); }, "-°"},
    {"temperature switched", [](auto& t, auto v) { return temperatureValue(t, true, v); }},
    {"double", [](auto& t, auto v) { return t.formatters.stringFromDouble(v); }},
    {"process bandwidth",
     [](auto& t, auto v) { return formattedProcessBandwidth(t, false, v).text; }},
    {"process bandwidth switched",
     [](auto& t, auto v) { return formattedProcessBandwidth(t, true, v).text; }},
    {"process activity", [](auto& t, auto v) { return formattedProcessActivity(t, v).text; }},
    {"no sensor", [](auto& t, auto) { return formattedSensor(t, nullptr); }, nullptr},
    {"fan", [](auto& t, auto v) { return sensor(t, 2, v); }},
    {"volts", [](auto& t, auto v) { return sensor(t, 3, v); }},
    {"clock", [](auto& t, auto v) { return sensor(t, 8, v); }},
    {"multiplier", [](auto& t, auto v) { return sensor(t, 9, v); }},
    {"clock level", [](auto& t, auto v) { return sensor2(t, 8, 3200, v); }},
    {"unknown type", [](auto& t, auto v) { return sensor2(t, -1, 0, v); }},
    {"menubar volts", [](auto& t, auto v) { return menubarSensor(t, 3, v); }},
    {"menubar volts 2 decimals",
     [](auto& t, auto v) { return menubarSensor(t, 3, v, "decimals", 2); }},
    {"menubar volts no suffix",
     [](auto& t, auto v) { return menubarSensor(t, 3, v, "suffix", false); }},
    {"menubar fan", [](auto& t, auto v) { return menubarSensor(t, 2, v); }},
    {"menubar fan unit", [](auto& t, auto v) { return menubarSensor(t, 2, v, "suffix", true); }},
    {"menubar clock", [](auto& t, auto v) { return menubarSensor(t, 8, v); }},
    {"menubar temperature", [](auto& t, auto v) { return menubarSensor(t, 0, v); }, "-°"},
    {"menubar temperature switched",
     [](auto& t, auto v) { return menubarSensor(t, 0, v, "", {}, true); }, "-°"},
    {"duration field",
     [](auto&, auto v) {
         return DurationFormatter().getObjectValue(std::to_string(std::lround(v))).stringValue();
     },
     nullptr},
    {"data field", [](auto& t, auto v) { return DataFormatter(t).stringForObjectValue(Value(v)); },
     "-MB"},
    {"gigabyte field",
     [](auto& t, auto v) {
         DataFormatter data(t);
         data.dataFormat = 1;
         return data.stringForObjectValue(Value(v));
     },
     "-GB"},
    {"temperature field",
     [](auto& t, auto v) { return TemperatureFormatter(t).stringForObjectValue(Value(v)); }, "-°C"},
    {"percentage field",
     [](auto&, auto v) { return PercentageFormatter().stringForObjectValue(Value(v)); }, "-%"},

};

struct Case {
    const char* formatter;
    std::vector<double> readings;
    const char* english; // en_US, grouping "," and decimal "."; the readings' texts joined by "|"
    const char* german;  // de_DE, grouping "." and decimal ","
    Settings settings = {};
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << c.formatter << ": " << c.english;
}

// Two formatters of different regions live side by side in one process, as two hosts would
// hold them; each text follows the formatter of its own context.
class Texts : public test::PreferencesFixture {
protected:
    CVBPreferences& preferences = install();
    CVBTranslations translations;
    CVBFormatters englishNumbers{"en_US"};
    CVBFormatters germanNumbers{"de_DE"};
    TextContext english{preferences, englishNumbers, translations};
    TextContext german{preferences, germanNumbers, translations};
};

class FormatterRules : public Texts, public ::testing::WithParamInterface<Case> {};

TEST_P(FormatterRules, EnglishAndGermanSideBySide) {
    const Case& c = GetParam();
    for (const auto& [key, value] : c.settings)
        preferences.setInteger(value, key);
    const auto found =
        std::find_if(std::begin(kFormatters), std::end(kFormatters),
                     [&](const Formatter& f) { return f.name == std::string(c.formatter); });
    ASSERT_NE(found, std::end(kFormatters)) << c.formatter;
    const auto texts = [&](const TextContext& in) {
        std::string joined;
        for (std::size_t i = 0; i < c.readings.size(); ++i)
            joined += (i ? "|" : "") + found->format(in, c.readings[i]);
        return joined;
    };
    EXPECT_EQ(texts(english), c.english);
    EXPECT_EQ(texts(german), c.german);
    EXPECT_EQ(texts(english), c.english);
}

using Setting = std::pair<const char*, std::int64_t>;
Setting units(std::int64_t level) {
    return {"Network_MenubarUnitLevel", level};
}
Setting format(std::int64_t code) {
    return {"Network_DataFormat", code};
}
const Setting kWords = units(3), kBytes = format(0), kBits = format(2);
const Setting kTwoKB{"Network_DecimalLevelKB", 2}, kTwoMB{"Network_DecimalLevelMB", 2};
const Setting kCelsius{"Sensors_TemperatureMode", 0};
const Setting kFahrenheit{"Sensors_TemperatureMode", 1};
const Setting kKelvin{"Sensors_TemperatureMode", 2};

const Case kCases[] = {
    // The menu bar's first level holds up to 1000 inclusive, then 1001/1024 = 0.977 -> 0.98;
    // unit level 3 keeps whole words, as the dropdown does.
    {"menubar", {1000, 1001}, "1000 B/s|0.98 KB/s", "1000 B/s|0,98 KB/s", {kBytes, kWords, kTwoKB}},
    {"menubar", {1536}, "1.5 KB/s", "1,5 KB/s", {kBytes, kWords, {"Network_DecimalLevelKB", 1}}},
    // 1024001 passes the KB threshold: 0.977 MB with the MB decimals.
    {"menubar", {1024001}, "0.98 MB/s", "0,98 MB/s", {kBytes, kWords, kTwoMB}},
    // Unit level 0 keeps the blank, 1 is one letter, 2 two letters after the first level.
    {"menubar", {500}, "500 ", "500 ", {kBytes, units(0)}},
    {"menubar", {2048}, "2.00 K", "2,00 K", {kBytes, units(1), kTwoKB}},
    {"menubar", {10, 2048}, "10 B|2.00 KB", "10 B|2,00 KB", {kBytes, units(2), kTwoKB}},
    // Bits: 200 B/s * 8 = 1600 b/s, past 1000, so 1600/1024 = 1.5625 Kb/s. switchUnits turns bytes
    // to bits.
    {"menubar", {200}, "1.56 Kb/s", "1,56 Kb/s", {kBits, kWords, kTwoKB}},
    {"menubar switched", {100}, "800 b/s", "800 b/s", {kBytes, kWords}},
    {"bandwidth", {1024}, "1024 B/s", "1024 B/s", {kBytes, kWords}},
    // Format 4 skips the first two levels: 10 / 1048576 rounds to 0.00. Format 6 is bytes without
    // the first level and without the factor 8.
    {"bandwidth", {10}, "0.00 MB/s", "0,00 MB/s", {format(4)}},
    {"bandwidth", {512}, "0.50 KB/s", "0,50 KB/s", {format(6)}},
    // 1000 MiB/s is below 1 GiB/s, so it stays MB with grouping.
    {"bandwidth", {1000.0 * 1048576}, "1,000.00 MB/s", "1.000,00 MB/s", {format(1)}},
    // Space is decimal: 999999 B is still KB; 2.5e12 B = 2.5e9 KB, past the GB bound.
    {"space", {999999, 1000001, 2.5e12}, "1000 KB|1.0 MB|2.50 TB", "1000 KB|1,0 MB|2,50 TB"},
    // 999.9 KB rounds in KB; 16 GiB in KB, single-precision division gives exactly 16.
    {"memory", {999.9, 1000, 16777216}, "1000 KB|1 MB|16.00 GB", "1000 KB|1 MB|16,00 GB"},
    // Disk activity under 100 MB/s has a decimal, from 100 MB/s it is whole.
    {"disk activity", {52428800 * 1.5, 104857600}, "75.0 MB/s|100 MB/s", "75,0 MB/s|100 MB/s"},
    {"frequency", {2400, 999}, "2.40 GHz|999 MHz", "2,40 GHz|999 MHz"},
    // A percentage has one decimal when asked for one, else none.
    {"percentage 1", {42.25}, "42.2%", "42,2%"},
    {"percentage 7", {42.5}, "42%", "42%"},
    {"number", {1234567}, "1,234,567", "1.234.567"},
    // Below zero is a dash in every mode. Fahrenheit: 2t/-10 + 2t + 32 with t = 36.5 is
    // 73/-10 + 73 + 32 = 97.7 -> 98. Kelvin adds 273.15, and switchUnits leaves it; in Celsius
    // switchUnits shows Fahrenheit.
    {"temperature", {-1, 36.5}, "-°|98°", "-°|98°", {kFahrenheit}},
    {"temperature", {-1, 26.9}, "- K|300 K", "- K|300 K", {kKelvin}},
    {"temperature switched", {0}, "273", "273", {kKelvin}},
    {"temperature switched", {100}, "212", "212", {kCelsius}},
    // Sensors by type: the dropdown's unit after a blank, none for fans.
    {"no sensor", {0}, "-", "-"},
    {"fan", {1999.6}, "2000", "2000"},
    {"multiplier", {36}, "36x", "36x"},
    {"volts", {12.346}, "12.35 V", "12,35 V"},
    {"clock", {3200}, "3.20 GHz", "3,20 GHz"},
    // The level by the item's value (3200 MHz), the number the argument's; a type the table does
    // not name is a plain number, not a temperature.
    {"clock level", {800}, "0.80 GHz", "0,80 GHz"},
    {"unknown type", {1.5}, "1.50", "1,50"},
    // The menu bar's unit straight after the number: volts at level 1 unless more decimals are
    // asked, with their unit unless refused; fans only when asked.
    {"menubar volts", {12.346}, "12.3V", "12,3V"},
    {"menubar volts 2 decimals", {12.346}, "12.35V", "12,35V"},
    {"menubar volts no suffix", {12.346}, "12.3", "12,3"},
    {"menubar fan", {1200}, "1200", "1200"},
    {"menubar fan unit", {1200}, "1200rpm", "1200rpm"},
    {"menubar temperature switched", {50}, "122°", "122°", {kCelsius}},
    // Process lists: levels start at kilo and switch at 1024000 and 1048576000, after bits are
    // counted: 128000 B/s is 1024000 b/s, still kilo, one more byte is mega. The switch swaps
    // back. Under a kilobyte of activity counts as one.
    {"process bandwidth",
     {0, 2048, 1024000, 1024001},
     "-|2 KB/s|1,000 KB/s|1.0 MB/s",
     "-|2 KB/s|1.000 KB/s|1,0 MB/s",
     {kBytes}},
    {"process bandwidth",
     {1048576000, 2147483648},
     "1,000.0 MB/s|2.00 GB/s",
     "1.000,0 MB/s|2,00 GB/s",
     {kBytes}},
    {"process bandwidth", {128000, 128001}, "1,000 Kb/s|1.0 Mb/s", "1.000 Kb/s|1,0 Mb/s", {kBits}},
    {"process bandwidth switched", {2048}, "2 KB/s", "2 KB/s", {kBits}},
    {"process activity", {10, 2147483648.0}, "1 KB/s|2.0 GB/s", "1 KB/s|2,0 GB/s"},
    // Settings fields: units straight after the number; a duration is kept to 1...600.
    {"duration field", {0, 700}, "1|600", "1|600"},
    {"gigabyte field", {5}, "5GB", "5GB"},
    {"temperature field", {80}, "80°F", "80°F", {kFahrenheit}},
    {"percentage field", {42}, "42%", "42%"},
};

INSTANTIATE_TEST_SUITE_P(Readings, FormatterRules, ::testing::ValuesIn(kCases));

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
    constexpr double kInf = std::numeric_limits<double>::infinity();
    for (const double v : {std::nan(""), kInf, -kInf, 9.3e18, -9.3e18, 1e300, -1e300}) {
        for (const auto& f : kFormatters) {
            if (f.neutral) {
                EXPECT_EQ(f.format(english, v), f.neutral) << f.name << "(" << v << ")";
            }
        }
    }
    // Just inside the limit is still a reading: 9.2e18 KB / 2^20 = 8.77e12 GB.
    EXPECT_EQ(formattedMemory(english, 9.2e18).substr(0, 6), "8,773,");
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

} // namespace
} // namespace corvane
