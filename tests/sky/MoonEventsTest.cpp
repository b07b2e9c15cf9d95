#include "sky/MoonEvents.h"

#include "SkyTestSupport.h"
#include "UsnoMoonTables.h"
#include "sky/MoonRiseSet.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

using skytest::utc;

TEST(MoonEvents, ADayWithASetAndARiseGivesTwoPassesReachingIntoTheDaysAround) {
    // 10 January 2019, UT, at 81 W 29 N (USNO): set 02:01 after a rise on the 9th at 14:46;
    // rise 15:21 with the set on the 11th at 02:53.
    const MoonEventsRecord day =
        moonEvents(Date{utc(2019, 1, 10)}, 0, false, usno::kLongitude, usno::kLatitude);
    ASSERT_EQ(day.events.size(), 2u);
    const MoonPass& first = day.events[0];
    const MoonPass& second = day.events[1];
    skytest::WorstError worst("moonEvents vs USNO 2019 Jan 9-11", "min");
    ASSERT_TRUE(first.riseTime.has_value());
    worst.add((*first.riseTime - utc(2019, 1, 9, 14, 46)) / 60.0, "rise before the day");
    worst.add((first.setTime - utc(2019, 1, 10, 2, 1)) / 60.0, "set");
    ASSERT_TRUE(second.riseTime.has_value());
    worst.add((*second.riseTime - utc(2019, 1, 10, 15, 21)) / 60.0, "rise");
    worst.add((second.setTime - utc(2019, 1, 11, 2, 53)) / 60.0, "set after the day");
    EXPECT_LT(worst.worst(), 2.0);

    ASSERT_TRUE(second.meridian.has_value());
    EXPECT_NEAR(second.meridian->time, (*second.riseTime + second.setTime) / 2.0, 1e-6);
    // Waxing crescent (new moon 6 January), due south at the meridian.
    EXPECT_NEAR(second.meridian->azimuth, 180.0, 10.0);
    EXPECT_GT(second.meridian->altitude, 30.0);
    EXPECT_EQ(second.meridian->phase, 1);
    ASSERT_TRUE(second.rise.has_value());
    EXPECT_LT(second.rise->azimuth, 180.0);
    ASSERT_TRUE(second.set.has_value());
    EXPECT_GT(second.set->azimuth, 180.0);
    EXPECT_TRUE(day.steps.empty());
}

TEST(MoonEvents, PolarDaysGiveOneAllDayPass) {
    const MoonEventsRecord up =
        moonEvents(Date{utc(2019, 1, 18)}, 0, false, usno::kPolarLongitude, usno::kPolarLatitude);
    ASSERT_EQ(up.events.size(), 1u);
    EXPECT_EQ(up.events[0].riseTime, kMoonUpAllDay);
    EXPECT_EQ(up.events[0].setTime, kMoonUpAllDay);
    EXPECT_FALSE(up.events[0].meridian.has_value());

    const MoonEventsRecord down =
        moonEvents(Date{utc(2019, 6, 20)}, 0, false, usno::kPolarLongitude, usno::kPolarLatitude);
    ASSERT_EQ(down.events.size(), 1u);
    EXPECT_EQ(down.events[0].setTime, kMoonDownAllDay);
}

TEST(MoonEvents, StepsCoverTheDayInFiveMinutes) {
    const double start = utc(2019, 1, 10);
    const MoonEventsRecord day =
        moonEvents(Date{start}, 0, true, usno::kLongitude, usno::kLatitude);
    ASSERT_EQ(day.steps.size(), 288u);
    EXPECT_EQ(day.steps.front().start, start);
    EXPECT_EQ(day.steps.back().end, start + 86400.0);
    EXPECT_EQ(day.end, start + 86400.0);
    // The track crosses the horizon near the published rise: below at 15:00, above at 15:45.
    EXPECT_LT(day.steps[15 * 12].altitude, 0.0);
    EXPECT_GT(day.steps[15 * 12 + 9].altitude, 0.0);
    EXPECT_EQ(moonLocationsForDay(Date{start}, usno::kLongitude, usno::kLatitude).size(), 288u);
}

} // namespace
} // namespace corvane
