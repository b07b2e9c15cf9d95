#include "sky/MoonRiseSet.h"

#include "SkyTestSupport.h"
#include "UsnoMoonTables.h"

#include <gtest/gtest.h>
#include <string>

namespace corvane {
namespace {

using skytest::utc;
using usno::label;

RiseSet utcDay(int month, int day, double longitude, double latitude) {
    const double start = utc(2019, month, day);
    return moonRiseSet(skytest::mjdOf(start), 0.0, start, longitude, latitude);
}

double hhmm(int month, int day, int value) {
    return utc(2019, month, day, value / 100, value % 100);
}

TEST(MoonRiseSet, RiseAndSetMatchTheNavalObservatoryFor2019) {
    skytest::WorstError worst("moonRiseSet vs USNO 2019, 81W 29N", "min");
    for (const usno::MoonDay& d : usno::kMoon2019W81N29) {
        const RiseSet found = utcDay(d.month, d.day, usno::kLongitude, usno::kLatitude);
        if (d.rise >= 0) {
            worst.add((found.rise - hhmm(d.month, d.day, d.rise)) / 60.0, label(d) + " rise");
        } else {
            EXPECT_EQ(found.rise, kNoMoonrise) << label(d);
        }
        if (d.set >= 0) {
            worst.add((found.set - hhmm(d.month, d.day, d.set)) / 60.0, label(d) + " set");
        } else {
            EXPECT_EQ(found.set, kNoMoonset) << label(d);
        }
    }
    EXPECT_LT(worst.worst(), 2.0);
}

TEST(MoonRiseSet, PolarDaysGiveTheAllDaySentinels) {
    for (const usno::PolarDay& d : usno::kPolar2019) {
        const RiseSet found = utcDay(d.month, d.day, usno::kPolarLongitude, usno::kPolarLatitude);
        const double expected = d.up ? kMoonUpAllDay : kMoonDownAllDay;
        EXPECT_EQ(found.rise, expected) << d.month << "/" << d.day;
        EXPECT_EQ(found.set, expected) << d.month << "/" << d.day;
    }
}

TEST(MoonRiseSet, ZoneDaysCoverTheLocalCalendarDay) {
    // 10 January 2019 in a zone five hours west runs from 05:00 UT to 05:00 UT on the 11th:
    // moonrise 15:21 UT on the 10th, moonset 02:53 UT on the 11th (USNO).
    const int zone = -5 * 3600;
    const MoonRiseAndSet day = calculateMoonRiseAndSet(Date{utc(2019, 1, 10, 18)}, zone,
                                                       usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(day.rise, utc(2019, 1, 10, 15, 21), 5 * 60.0);
    EXPECT_NEAR(day.set, utc(2019, 1, 11, 2, 53), 5 * 60.0);
    EXPECT_LT(day.riseAzimuth, 180.0);
    EXPECT_GT(day.setAzimuth, 180.0);

    // A zone nine hours east: its 11 January runs from 15:00 UT on the 10th and holds the same
    // rise (00:21 local) and set (11:53 local).
    const MoonRiseAndSet east = calculateMoonRiseAndSet(Date{utc(2019, 1, 11, 3)}, 9 * 3600,
                                                        usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(east.rise, day.rise, 1.0);
    EXPECT_NEAR(east.set, day.set, 1.0);

    // Its 12 January, 15:00 UT on the 11th to 15:00 UT on the 12th, takes the rise of the 11th
    // UT (15:54) and the set of the 12th UT (03:46).
    const MoonRiseAndSet later = calculateMoonRiseAndSet(Date{utc(2019, 1, 12, 3)}, 9 * 3600,
                                                         usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(later.rise, utc(2019, 1, 11, 15, 54), 5 * 60.0);
    EXPECT_NEAR(later.set, utc(2019, 1, 12, 3, 46), 5 * 60.0);
}

TEST(MoonRiseSet, SearchesBeyondTheDayFindThePublishedEvents) {
    // No rise on 20 February 2019; the previous one was 19 February 23:33 UT.
    const double before =
        moonriseBeforeDate(Date{utc(2019, 2, 20, 12)}, 0, usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(skytest::unixOfMjd(before), utc(2019, 2, 19, 23, 33), 5 * 60.0);
    // No set on 6 February; the next one was 7 February 00:48 UT.
    const double after =
        moonsetAfterDate(Date{utc(2019, 2, 6, 14)}, 0, usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(skytest::unixOfMjd(after), utc(2019, 2, 7, 0, 48), 5 * 60.0);

    const NextMoonRiseAndSet next = calculateNextMoonRiseAndSet(Date{utc(2019, 1, 1, 12)}, 0,
                                                                usno::kLongitude, usno::kLatitude);
    EXPECT_NEAR(next.nextSet, utc(2019, 1, 1, 19, 34), 5 * 60.0);
    EXPECT_NEAR(next.nextRise, utc(2019, 1, 2, 9, 9), 5 * 60.0);
}

} // namespace
} // namespace corvane
