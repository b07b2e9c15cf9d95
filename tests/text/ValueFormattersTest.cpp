#include "text/ValueFormatters.h"

#include "preferences/PreferencesFixture.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <functional>
#include <unicode/locid.h>

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
        CVBFormatters::cleanup();
        CVBTranslations::cleanup();
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US"), status);
        PreferencesFixture::TearDown();
    }
    std::string under(const char* locale) {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(locale), status);
        CVBFormatters::cleanup(); // the shared formatter keeps the locale it was made in
        return GetParam().call();
    }
};

TEST_P(FormatterRules, English) {
    EXPECT_EQ(under("en_US"), GetParam().english);
}
TEST_P(FormatterRules, German) {
    EXPECT_EQ(under("de_DE"), GetParam().german);
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

TEST(TemperatureConversion, ExactConstants) {
    // 5/9 as single precision makes 100 C read a hair under 212.
    EXPECT_DOUBLE_EQ(celciusToFahrenheit(100), 100 / 0.5555555820465088 + 32);
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
