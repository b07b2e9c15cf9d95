#include "sky/SkyReport.h"

#include "SkyTestSupport.h"
#include "support/TemporaryDirectory.h"

#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace corvane {
namespace {

using skytest::utc;

// Dates without a zone are read in the local zone: UTC here.
class SkyReportTest : public ::testing::Test {
protected:
    void SetUp() override { tzset(); }
    void TearDown() override {
        zone_.reset();
        tzset();
    }

private:
    std::optional<test::ScopedEnvironment> zone_{std::in_place, "TZ", "UTC"};
};

TEST_F(SkyReportTest, ParsesIsoDatesWithAndWithoutTimeAndZone) {
    EXPECT_EQ(parseSkyDate("2019-01-10"), Date{utc(2019, 1, 10)});
    EXPECT_EQ(parseSkyDate("2019-01-10T15:21"), Date{utc(2019, 1, 10, 15, 21)});
    EXPECT_EQ(parseSkyDate("2019-01-10 15:21:30"), Date{utc(2019, 1, 10, 15, 21, 30)});
    EXPECT_EQ(parseSkyDate("2019-01-10T15:21Z"), Date{utc(2019, 1, 10, 15, 21)});
    EXPECT_EQ(parseSkyDate("2019-01-10T10:21-05:00"), Date{utc(2019, 1, 10, 15, 21)});
    EXPECT_EQ(parseSkyDate("2019-01-11T00:21+09:00"), Date{utc(2019, 1, 10, 15, 21)});
    EXPECT_EQ(parseSkyDate("2020-02-29"), Date{utc(2020, 2, 29)});
}

TEST_F(SkyReportTest, RejectsMalformedDates) {
    for (const char* text :
         {"", "2019", "2019-1-10", "2019-13-01", "2019-02-29", "2019-01-10T25:00", "2019-01-10T12",
          "2019-01-10T12:60", "2019-01-10T12:00+5", "2019-01-10x", "10/01/2019",
          "2019-01-10T12:00:00Zjunk"}) {
        EXPECT_FALSE(parseSkyDate(text).has_value()) << text;
    }
}

TEST_F(SkyReportTest, ReportShowsPlacesPhaseAndThePublishedMoonrise) {
    // 10 January 2019 at 81 W, 29 N: moonrise 15:21 and moonset 02:01 UT (USNO), a waxing
    // crescent four days after the new moon of 6 January.
    const std::string report = skyReport(29.0, -81.0, Date{utc(2019, 1, 10, 12)});
    EXPECT_NE(report.find("29.0000\xC2\xB0 N, 81.0000\xC2\xB0 W"), std::string::npos) << report;
    EXPECT_NE(report.find("Sun\n"), std::string::npos);
    EXPECT_NE(report.find("Phase           Waxing Crescent"), std::string::npos) << report;
    EXPECT_NE(report.find("Next phases\n  First Quarter   2019-01-14"), std::string::npos)
        << report;

    const std::size_t rise = report.find("Moonrise        ");
    ASSERT_NE(rise, std::string::npos);
    const std::string riseText = report.substr(rise + 16, 9);
    EXPECT_EQ(riseText.substr(5), " UTC");
    const int minutes = std::stoi(riseText.substr(0, 2)) * 60 + std::stoi(riseText.substr(3, 2));
    EXPECT_NEAR(minutes, 15 * 60 + 21, 5) << riseText;
}

TEST_F(SkyReportTest, MoonAltitudeIsTheOneSeenFromThePlace) {
    // References: the moon's centre as seen from the place at sea level, without refraction,
    // from an independent ephemeris (the ELP 2000-82 lunar theory, as PyEphem 4.1 computes it
    // for an observer with pressure 0). Seen from the earth's centre the moon stands 0.6 to 1.0
    // degrees higher in these cases: -9.98, 47.62 and 20.63.
    struct Case {
        double latitude, longitude, when, altitude;
    };
    for (const Case& c : {Case{52.52, 13.405, utc(2026, 11, 22, 12), -10.953},
                          Case{29.0, -81.0, utc(2019, 1, 10, 20), 47.003},
                          Case{-33.87, 151.21, utc(2024, 3, 15, 9), 19.719}}) {
        const std::string report = skyReport(c.latitude, c.longitude, Date{c.when});
        const std::size_t moon = report.find("Moon\n  Altitude");
        ASSERT_NE(moon, std::string::npos) << report;
        EXPECT_NEAR(std::stod(report.substr(moon + 16)), c.altitude, 0.1) << report;
    }
}

} // namespace
} // namespace corvane
