#include "sky/JulianDate.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using skytest::utc;

// Meeus, Astronomical Algorithms, chapter 7: example 7.a and the table of Gregorian dates.
struct JulianDayReference {
    int year, month, day, hour, minute;
    double second;
    double jd;
};
constexpr JulianDayReference kMeeusJulianDays[] = {
    {2000, 1, 1, 12, 0, 0.0, 2451545.0},  {1999, 1, 1, 0, 0, 0.0, 2451179.5},
    {1987, 1, 27, 0, 0, 0.0, 2446822.5},  {1987, 6, 19, 12, 0, 0.0, 2446966.0},
    {1988, 1, 27, 0, 0, 0.0, 2447187.5},  {1988, 6, 19, 12, 0, 0.0, 2447332.0},
    {1900, 1, 1, 0, 0, 0.0, 2415020.5},   {1600, 1, 1, 0, 0, 0.0, 2305447.5},
    {1600, 12, 31, 0, 0, 0.0, 2305812.5}, {1957, 10, 4, 19, 26, 24.0, 2436116.31},
};

TEST(JulianDate, BothCalendarFormulasMatchMeeus) {
    for (const JulianDayReference& r : kMeeusJulianDays) {
        EXPECT_NEAR(julianDayFromFields(r.year, r.month, r.day, r.hour, r.minute, r.second), r.jd,
                    1e-9)
            << r.year << "-" << r.month << "-" << r.day;
        EXPECT_NEAR(julianDayForGregorianDate(r.year, r.month, r.day, r.hour, r.minute, r.second),
                    r.jd, 1e-9)
            << r.year << "-" << r.month << "-" << r.day;
    }
}

TEST(JulianDate, DateExtensionsAgreeWithTheCalendarBothWays) {
    const Date date{utc(1957, 10, 4, 19, 26, 24.0)};
    EXPECT_NEAR(julianDay(date), 2436116.31, 1e-9);
    EXPECT_NEAR(julianDayBase(date), 2436115.5, 1e-9);
    EXPECT_NEAR(modifiedJulianDay(date), 36115.81, 1e-9);
    EXPECT_NEAR(modifiedJulianDayBase(date), 36115.0, 1e-9);
    EXPECT_NEAR(julianDay2000(Date{utc(2000, 1, 2, 12)}), 1.0, 1e-12);
    EXPECT_NEAR(julianCenturyForJulianDay(2451545.0 + 36525.0), 1.0, 1e-15);
    EXPECT_DOUBLE_EQ(dateWithJulianDay(2451545.0).secondsSince1970, utc(2000, 1, 1, 12));
    EXPECT_DOUBLE_EQ(dateWithModifiedJulianDay(58544.0).secondsSince1970, utc(2019, 3, 2));
}

TEST(JulianDate, ZoneFormsTakeTheCalendarDayOfTheZone) {
    // 20:00 UTC on 1 March 2019 is already 2 March in a zone nine hours east.
    const Date date{utc(2019, 3, 1, 20)};
    EXPECT_NEAR(modifiedJulianDayWithTimezone(date, 9 * 3600), 58544.0, 1e-9);
    EXPECT_NEAR(modifiedJulianDayWithTimezone(date, 0), 58543.0, 1e-9);
    EXPECT_NEAR(modifiedJulianDayWithTimezonePrecise(date, 9 * 3600), 58544.0 + 5.0 / 24.0, 1e-9);
    EXPECT_NEAR(julianDayBaseWithTimezone(date, -5 * 3600), 2458543.5, 1e-9);
    EXPECT_NEAR(julianDay2000WithTimezone(date, 9 * 3600), 2458544.5 + 5.0 / 24.0 - 2451545.0,
                1e-9);
    EXPECT_DOUBLE_EQ(convertToTimezone(date, systemZoneSeconds(date)).secondsSince1970,
                     date.secondsSince1970);
}

} // namespace
} // namespace corvane
