#include "sky/SiderealTime.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>
#include <numbers>

namespace corvane {
namespace {

// Meeus, Astronomical Algorithms, example 12.a: 1987 April 10, 0h UT, mean sidereal time at
// Greenwich 13h10m46.3668s; example 12.b: 19h21m00s UT, 128.7378734 degrees.
constexpr double kExample12aHours = 13.0 + 10.0 / 60.0 + 46.3668 / 3600.0;
constexpr double kExample12bDegrees = 128.7378734;

TEST(SiderealTime, AllFormsMatchMeeusExamples12aAnd12b) {
    skytest::WorstError worst("mean sidereal time vs Meeus 12.a/12.b", "s");
    const double jdA = 2446895.5;
    const double jdB = 2446895.5 + (19.0 + 21.0 / 60.0) / 24.0;

    const double gmstHours = gmst(jdA - 2400000.5) * 12.0 / std::numbers::pi;
    worst.add((gmstHours - kExample12aHours) * 3600.0, "gmst 12.a");
    worst.add((THETA0(jdA) / 15.0 - kExample12aHours) * 3600.0, "THETA0 12.a");
    worst.add((THETA0(jdB) - kExample12bDegrees) * 240.0, "THETA0 12.b");
    worst.add((localSiderealTimeForJulianDayLongitude(jdB, 0.0) * 15.0 - kExample12bDegrees) *
                  240.0,
              "local 12.b");
    worst.add((gmst(jdB - 2400000.5) * 180.0 / std::numbers::pi - kExample12bDegrees) * 240.0,
              "gmst 12.b");
    EXPECT_LT(worst.worst(), 0.001);
}

TEST(SiderealTime, LongitudeShiftsLocalTimeAndLmstIsNotReduced) {
    const double jd = 2446895.5;
    // 77 degrees west: local sidereal time is 5h08m earlier, wrapped into 0..24.
    EXPECT_NEAR(localSiderealTimeForJulianDayLongitude(jd, -77.0), kExample12aHours - 77.0 / 15.0,
                1e-6);
    EXPECT_NEAR(localSiderealTimeForJulianDayLongitude(jd, 170.0),
                kExample12aHours + 170.0 / 15.0 - 24.0, 1e-6);
    EXPECT_NEAR(lmst(jd - 2400000.5, 170.0), kExample12aHours + 170.0 / 15.0, 1e-6);
    EXPECT_GT(lmst(jd - 2400000.5, 170.0), 24.0);
}

} // namespace
} // namespace corvane
