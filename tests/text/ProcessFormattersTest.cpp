#include "text/ProcessFormatters.h"

#include "preferences/PreferencesFixture.h"
#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

namespace corvane {
namespace {

class ProcessFigures : public test::PreferencesFixture {
protected:
    test::ScopedEnvironment formats{"LC_ALL", "en_US.UTF-8"};
    void SetUp() override {
        CVBFormatters::cleanup();
        CVBTranslations::cleanup();
        install();
        CVBSetIntegerForKey(0, "Network_DataFormat");
    }
    void TearDown() override {
        CVBFormatters::cleanup();
        CVBTranslations::cleanup();
        PreferencesFixture::TearDown();
    }
};

TEST_F(ProcessFigures, ValueAndUnitRuns) {
    // 2048 B/s -> "2" at size 12 with its blank, "KB/s" at size 10.
    const auto bandwidth = formattedProcessBandwidth(false, 2048);
    EXPECT_EQ(bandwidth.text, "2 KB/s");
    ASSERT_EQ(bandwidth.runs.size(), 2u);
    EXPECT_EQ(bandwidth.runs[0].length, 2u);
    EXPECT_EQ(bandwidth.runs[1].start, 2u);
    EXPECT_EQ(bandwidth.runs[1].fontSize, 10);
    EXPECT_EQ(formattedProcessBandwidth(false, 0).text, "-");
    // Under a kilobyte counts as one; 2 GiB/s is 2097152 KB, above 1024000, so GB.
    EXPECT_EQ(formattedProcessActivity(10).text, "1 KB/s");
    EXPECT_EQ(formattedProcessActivity(2147483648.0).text, "2.0 GB/s");
}

// Levels start at kilo and switch at 1024000 and 1048576000, after bits are counted.
TEST_F(ProcessFigures, BandwidthLevelsAndBits) {
    EXPECT_EQ(formattedProcessBandwidth(false, 1024000).text, "1,000 KB/s");
    EXPECT_EQ(formattedProcessBandwidth(false, 1024001).text, "1.0 MB/s");
    EXPECT_EQ(formattedProcessBandwidth(false, 1048576000).text, "1,000.0 MB/s");
    EXPECT_EQ(formattedProcessBandwidth(false, 2147483648.0).text, "2.00 GB/s");
    // Bytes shown as bits: 128000 B/s is 1024000 b/s, still kilo; one more byte is mega.
    CVBSetIntegerForKey(2, "Network_DataFormat");
    EXPECT_EQ(formattedProcessBandwidth(false, 128000).text, "1,000 Kb/s");
    EXPECT_EQ(formattedProcessBandwidth(false, 128001).text, "1.0 Mb/s");
    // The panel's switch swaps bits back to bytes.
    EXPECT_EQ(formattedProcessBandwidth(true, 2048).text, "2 KB/s");
}

// The value colour follows the dropdown theme; 1 is the older number of the dark theme.
TEST_F(ProcessFigures, EveryRunTakesTheValueColourOfTheTheme) {
    const Color lightText = Color::gray(0.22);
    for (const auto& [theme, expected] : std::vector<std::pair<int, Color>>{
             {0, lightText}, {1, Color::white()}, {2, lightText}, {3, Color::white()}}) {
        SCOPED_TRACE(theme);
        CVBSetIntegerForKey(theme, "DropdownTheme");
        EXPECT_EQ(valueTextColor(), expected);
        for (const auto& figure : {formattedProcessBandwidth(false, 5e6),
                                   formattedProcessActivity(5e6), formattedProcessActivity(0)})
            for (const auto& run : figure.runs)
                EXPECT_EQ(run.color, expected) << figure.text;
    }
}

TEST_F(ProcessFigures, DarkPanelReadsTheDarkDropdownTheme) {
    test::PreferencesFixture::TearDown();
    appearance->dark = true;
    install();
    EXPECT_EQ(formattedProcessActivity(4096).runs.front().color, Color::white());
    CVBSetIntegerForKey(0, "DropdownTheme-Dark");
    EXPECT_EQ(formattedProcessActivity(4096).runs.back().color, Color::gray(0.22));
}

TEST_F(ProcessFigures, RightToLeftLanguageMirrorsTheFigures) {
    const auto leftToRight = formattedProcessBandwidth(false, 2048);
    EXPECT_EQ(leftToRight.alignment, kAlignmentRight);
    EXPECT_FALSE(leftToRight.rightToLeft);

    CVBSetObjectForKey(Value("ar"), "language");
    for (const auto& figure : {formattedProcessBandwidth(false, 2048),
                               formattedProcessActivity(2048), formattedProcessActivity(0)}) {
        EXPECT_EQ(figure.alignment, kAlignmentLeft) << figure.text;
        EXPECT_TRUE(figure.rightToLeft) << figure.text;
    }
}

} // namespace
} // namespace corvane
