#include "text/ValueFormatters.h"

#include "preferences/PreferenceDefaults.h"
#include "preferences/PreferencesFixture.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"
#include "text/ProcessFormatters.h"
#include "text/SensorFormatters.h"
#include "text/TextFieldFormatters.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>

namespace corvane {
namespace {

struct Case {
    const char* rule;
    std::vector<std::pair<const char*, std::int64_t>> settings;
    std::function<std::string()> call;
    const char* english; // en_US: grouping ",", decimal "."
    const char* german;  // de_DE: grouping ".", decimal ","
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << c.rule;
}

class FormatterRules : public test::PreferencesFixture, public ::testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        install();
        CVBTranslations::cleanup();
        for (const auto& [key, value] : GetParam().settings)
            CVBSetIntegerForKey(value, key);
    }
    void TearDown() override {
        CVBTranslations::cleanup();
        PreferencesFixture::TearDown();
    }
    std::string under(const char* locale) {
        const test::ScopedEnvironment formats("LC_ALL", locale);
        CVBFormatters::cleanup(); // the shared formatter keeps the locale it was made in
        std::string text = GetParam().call();
        CVBFormatters::cleanup();
        return text;
    }
};

TEST_P(FormatterRules, English) {
    EXPECT_EQ(under("en_US.UTF-8"), GetParam().english);
}
TEST_P(FormatterRules, German) {
    EXPECT_EQ(under("de_DE.UTF-8"), GetParam().german);
}

// Unit level 3 keeps whole words, so the menu-bar cases read like the dropdown's.
const std::pair<const char*, std::int64_t> kWords{"Network_MenubarUnitLevel", 3};
const std::pair<const char*, std::int64_t> kBytes{"Network_DataFormat", 0};
const std::pair<const char*, std::int64_t> kTwoKB{"Network_DecimalLevelKB", 2};

INSTANTIATE_TEST_SUITE_P(
    Bandwidth, FormatterRules,
    ::testing::Values(
        // Menu bar: the first level holds up to 1000 inclusive, then 1001/1024 = 0.977 -> 0.98.
        Case{"menubar 1000 B/s stays bytes",
             {kBytes, kWords},
             [] { return formattedBandwidthFormatter(false, 1000); },
             "1000 B/s",
             "1000 B/s"},
        Case{"menubar 1001 B/s is 0.98 KB/s",
             {kBytes, kWords, {"Network_DecimalLevelKB", 2}},
             [] { return formattedBandwidthFormatter(false, 1001); },
             "0.98 KB/s",
             "0,98 KB/s"},
        Case{"menubar KB decimals 0",
             {kBytes, kWords, {"Network_DecimalLevelKB", 0}},
             [] { return formattedBandwidthFormatter(false, 1001); },
             "1 KB/s",
             "1 KB/s"},
        Case{"menubar KB decimals 1",
             {kBytes, kWords, {"Network_DecimalLevelKB", 1}},
             [] { return formattedBandwidthFormatter(false, 1536); },
             "1.5 KB/s",
             "1,5 KB/s"},
        // 1024001 passes the KB threshold: 0.977 MB with the MB decimals.
        Case{"menubar 1024001 B/s is MB",
             {kBytes, kWords, {"Network_DecimalLevelMB", 2}},
             [] { return formattedBandwidthFormatter(false, 1024001); },
             "0.98 MB/s",
             "0,98 MB/s"},
        Case{"menubar unit level 0 keeps the blank",
             {kBytes, {"Network_MenubarUnitLevel", 0}},
             [] { return formattedBandwidthFormatter(false, 500); },
             "500 ",
             "500 "},
        Case{"menubar unit level 1 is one letter",
             {kBytes, {"Network_MenubarUnitLevel", 1}, kTwoKB},
             [] { return formattedBandwidthFormatter(false, 2048); },
             "2.00 K",
             "2,00 K"},
        Case{"menubar unit level 2 is two letters",
             {kBytes, {"Network_MenubarUnitLevel", 2}, kTwoKB},
             [] { return formattedBandwidthFormatter(false, 2048); },
             "2.00 KB",
             "2,00 KB"},
        Case{"menubar unit level 2 first level is one letter",
             {kBytes, {"Network_MenubarUnitLevel", 2}},
             [] { return formattedBandwidthFormatter(false, 10); },
             "10 B",
             "10 B"},
        // Bits: 200 B/s * 8 = 1600 b/s, past 1000, so 1600/1024 = 1.5625 Kb/s.
        Case{"bits multiply by 8",
             {{"Network_DataFormat", 2}, kWords, kTwoKB},
             [] { return formattedBandwidthFormatter(false, 200); },
             "1.56 Kb/s",
             "1,56 Kb/s"},
        Case{"switchUnits turns bytes to bits",
             {kBytes, kWords},
             [] { return formattedBandwidthFormatter(true, 100); },
             "800 b/s",
             "800 b/s"},
        // Format 4 skips the first two levels: 10 / 1048576 rounds to 0.00.
        Case{"format 4 starts at MB",
             {{"Network_DataFormat", 4}},
             [] { return formattedBandwidth(false, 10); },
             "0.00 MB/s",
             "0,00 MB/s"},
        // Format 6 is bytes without the first level and without the factor 8.
        Case{"format 6 skips bytes",
             {{"Network_DataFormat", 6}},
             [] { return formattedBandwidth(false, 512); },
             "0.50 KB/s",
             "0,50 KB/s"},
        Case{"dropdown 1024 B/s stays bytes",
             {kBytes},
             [] { return formattedBandwidth(false, 1024); },
             "1024 B/s",
             "1024 B/s"},
        // 1000 MiB/s is below 1 GiB/s, so it stays MB with grouping.
        Case{"dropdown grouping in the MB level",
             {{"Network_DataFormat", 1}},
             [] { return formattedBandwidth(false, 1000.0 * 1048576); },
             "1,000.00 MB/s",
             "1.000,00 MB/s"},
        Case{"dropdown GB level",
             {kBytes},
             [] { return formattedBandwidth(false, 1536.0 * 1048576); },
             "1.50 GB/s",
             "1,50 GB/s"}));

INSTANTIATE_TEST_SUITE_P(
    SpaceMemoryActivity, FormatterRules,
    ::testing::Values(
        Case{"space 999999 B is still KB",
             {},
             [] { return formattedSpace(999999); },
             "1000 KB",
             "1000 KB"},
        Case{"space 1000001 B is MB",
             {},
             [] { return formattedSpace(1000001); },
             "1.0 MB",
             "1,0 MB"},
        // 2.5e12 B = 2.5e9 KB, past the GB bound of 1e9 KB.
        Case{"space is decimal: 2.5e12 B",
             {},
             [] { return formattedSpace(2.5e12); },
             "2.50 TB",
             "2,50 TB"},
        Case{"memory 999.9 KB rounds in KB",
             {},
             [] { return formattedMemory(999.9); },
             "1000 KB",
             "1000 KB"},
        Case{"memory 1000 KB is MB", {}, [] { return formattedMemory(1000); }, "1 MB", "1 MB"},
        // 16 GiB in KB, single-precision division gives exactly 16.
        Case{"memory GB", {}, [] { return formattedMemory(16777216); }, "16.00 GB", "16,00 GB"},
        Case{"disk activity 0 reads 0 KB/s",
             {},
             [] { return formattedDiskActivity(0); },
             "0 KB/s",
             "0 KB/s"},
        Case{"disk activity under 100 MB/s has a decimal",
             {},
             [] { return formattedDiskActivity(52428800 * 1.5); },
             "75.0 MB/s",
             "75,0 MB/s"},
        Case{"disk activity from 100 MB/s is whole",
             {},
             [] { return formattedDiskActivity(104857600); },
             "100 MB/s",
             "100 MB/s"},
        Case{"frequency GHz", {}, [] { return formattedFrequency(2400); }, "2.40 GHz", "2,40 GHz"},
        Case{"frequency MHz", {}, [] { return formattedFrequency(999); }, "999 MHz", "999 MHz"},
        Case{"percentage 1 decimal",
             {},
             [] { return formattedPercentage(1, 42.25); },
             "42.2%",
             "42,2%"},
        Case{"percentage other decimals give 0",
             {},
             [] { return formattedPercentage(7, 42.5); },
             "42%",
             "42%"},
        Case{"number #,##0 groups",
             {},
             [] { return formattedNumber(1234567); },
             "1,234,567",
             "1.234.567"}));

INSTANTIATE_TEST_SUITE_P(
    Temperature, FormatterRules,
    ::testing::Values(Case{"-1 C is a dash",
                           {{"Sensors_TemperatureMode", 0}},
                           [] { return formattedTemperature(-1); },
                           "-°",
                           "-°"},
                      Case{"-1 in Fahrenheit is a dash",
                           {{"Sensors_TemperatureMode", 1}},
                           [] { return formattedTemperature(-1); },
                           "-°",
                           "-°"},
                      Case{"-1 in Kelvin is a dash and K",
                           {{"Sensors_TemperatureMode", 2}},
                           [] { return formattedTemperature(-1); },
                           "- K",
                           "- K"},
                      // 2t/-10 + 2t + 32 with t = 36.5: 73/-10 + 73 + 32 = 97.7 -> 98.
                      Case{"Fahrenheit rounds",
                           {{"Sensors_TemperatureMode", 1}},
                           [] { return formattedTemperature(36.5); },
                           "98°",
                           "98°"},
                      Case{"Kelvin adds 273.15",
                           {{"Sensors_TemperatureMode", 2}},
                           [] { return formattedTemperature(26.9); },
                           "300 K",
                           "300 K"},
                      Case{"switchUnits shows Fahrenheit in Celsius mode",
                           {{"Sensors_TemperatureMode", 0}},
                           [] { return temperatureValue(true, 100); },
                           "212",
                           "212"},
                      Case{"switchUnits leaves Kelvin",
                           {{"Sensors_TemperatureMode", 2}},
                           [] { return temperatureValue(true, 0); },
                           "273",
                           "273"}));

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

        // The shared formatter reads the process's own environment.
        std::vector<std::unique_ptr<test::ScopedEnvironment>> process;
        for (const char* name : {"LC_ALL", "LC_NUMERIC", "LC_MESSAGES", "LANG"})
            process.push_back(std::make_unique<test::ScopedEnvironment>(name, lookup(name)));
        CVBFormatters::cleanup();
        EXPECT_EQ(CVBFormatters::sharedFormatter().stringFromDouble2(1234.567), c.number);
        CVBFormatters::cleanup();
    }
}

// Garbage readings (an overflowed difference, a division by nothing) read as a dash in every
// formatter: never "nan", "inf" or a number wider than the item.
class NoReading : public test::PreferencesFixture {
protected:
    struct Sensor final : SensorItem {
        Sensor(int kind, double reading)
            : kind_(kind)
            , reading_(reading) {}
        int type() const override { return kind_; }
        double value() const override { return reading_; }
        int kind_;
        double reading_;
    };
    static std::string sensorText(int type, double value, bool menubar) {
        const Sensor sensor(type, value);
        return menubar ? formattedMenubarSensor(&sensor, {}, false) : formattedSensor(&sensor);
    }
    void SetUp() override {
        install();
        CVBFormatters::cleanup();
    }
    void TearDown() override {
        CVBFormatters::cleanup();
        PreferencesFixture::TearDown();
    }
    test::ScopedEnvironment formats{"LC_ALL", "en_US.UTF-8"};
};

TEST_F(NoReading, NonFiniteAndHugeValuesReadAsADash) {
    const struct {
        const char* formatter;
        std::function<std::string(double)> call;
        const char* neutral;
    } formatters[] = {
        {"formattedBandwidth", [](double v) { return formattedBandwidth(false, v); }, "-"},
        {"formattedBandwidthFormatter",
         [](double v) { return formattedBandwidthFormatter(true, v); }, "-"},
        {"formattedDiskActivity", formattedDiskActivity, "-"},
        {"formattedSpace", formattedSpace, "-"},
        {"formattedMemory", formattedMemory, "-"},
        {"formattedFrequency", formattedFrequency, "-"},
        {"formattedPercentage", [](double v) { return formattedPercentage(1, v); }, "-"},
        {"formattedNumber", formattedNumber, "-"},
        {"formattedMilliAmps", formattedMilliAmps, "-"},
        {"formattedMilliAmpHours", formattedMilliAmpHours, "-"},
        {"formattedTemperature", formattedTemperature, "-°"},
        {"temperatureValue", [](double v) { return temperatureValue(true, v); }, "-"},
        {"stringFromDouble",
         [](double v) { return CVBFormatters::sharedFormatter().stringFromDouble(v); }, "-"},
        {"formattedProcessBandwidth",
         [](double v) { return formattedProcessBandwidth(false, v).text; }, "-"},
        {"formattedProcessActivity", [](double v) { return formattedProcessActivity(v).text; },
         "-"},
        {"formattedSensor voltage", [](double v) { return sensorText(3, v, false); }, "-"},
        {"formattedSensor multiplier", [](double v) { return sensorText(9, v, false); }, "-"},
        {"formattedMenubarSensor frequency", [](double v) { return sensorText(8, v, true); }, "-"},
        {"formattedMenubarSensor temperature", [](double v) { return sensorText(0, v, true); },
         "-°"},
        {"TemperatureFormatter",
         [](double v) { return TemperatureFormatter().stringForObjectValue(Value(v)); }, "-°C"},
        {"DataFormatter", [](double v) { return DataFormatter().stringForObjectValue(Value(v)); },
         "-MB"},
        {"PercentageFormatter",
         [](double v) { return PercentageFormatter().stringForObjectValue(Value(v)); }, "-%"},
    };
    constexpr double kInf = std::numeric_limits<double>::infinity();
    for (const double v : {std::nan(""), kInf, -kInf, 9.3e18, -9.3e18, 1e300, -1e300}) {
        for (const auto& f : formatters)
            EXPECT_EQ(f.call(v), f.neutral) << f.formatter << "(" << v << ")";
    }
    // Just inside the limit is still a reading: 9.2e18 KB / 2^20 = 8.77e12 GB.
    EXPECT_EQ(formattedMemory(9.2e18).substr(0, 6), "8,773,");
}

TEST(TemperatureConversion, ExactConstants) {
    // 5/9 as single precision makes 100 C read a hair under 212.
    EXPECT_LT(celciusToFahrenheit(100), 212.0);
    EXPECT_DOUBLE_EQ(fahrenheitToCelcius(212), 100.0);
    EXPECT_DOUBLE_EQ(kelvinToCelcius(celciusToKelvin(21.5)), 21.5);
}

TEST(StringFromValue, TrimsAndReadsNumbers) {
    EXPECT_EQ(stringFromValue(Value("  en0 \n")), "en0");
    EXPECT_EQ(stringFromValue(Value(" \t")), "");
    EXPECT_EQ(stringFromValue(Value(42)), "42");
}

} // namespace
} // namespace corvane
