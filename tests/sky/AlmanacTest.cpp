#include "sky/Almanac.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

void runAlmanac(int year, int month, int day, int hour, int minute, int second) {
    setLightMapTime(year, month, day, hour, minute, second);
    TimeMeasures();
    Nutation();
    Aries();
    Sun();
    Moon();
}

TEST(Almanac, TimeMeasuresCountsJanuaryAsMonth13OfTheYearBefore) {
    setLightMapTime(1957, 10, 4, 19, 26, 24);
    TimeMeasures();
    EXPECT_NEAR(almanacState().JD, 2436116.31, 1e-8); // Meeus example 7.a

    setLightMapTime(2000, 1, 1, 12, 0, 0);
    TimeMeasures();
    EXPECT_NEAR(almanacState().JD, 2451545.0, 1e-9);
    EXPECT_NEAR(almanacState().T, 0.0, 1e-15);
    EXPECT_NEAR(almanacState().Tau, 0.0, 1e-15);
}

TEST(Almanac, ObliquityMatchesMeeusExample22a) {
    // 1987 April 10, 0h TD: true obliquity 23 deg 26' 36.850" (IAU 1980 nutation).
    runAlmanac(1987, 4, 10, 0, 0, 0);
    skytest::WorstError worst("almanac true obliquity vs Meeus 22.a", "arcsec");
    worst.add(skytest::arcseconds(almanacState().eps - (23.0 + 26.0 / 60.0 + 36.850 / 3600.0)),
              "eps");
    EXPECT_LT(worst.worst(), 0.01);
    // This layer keeps only the last, one-unit term of the longitude series (see Nutation).
    EXPECT_LT(std::fabs(almanacState().delta_psi), 1.0 / 36000000.0 + 1e-15);
}

TEST(Almanac, SiderealAngleMatchesMeeusExample12a) {
    // 1987 April 10, 0h UT: apparent sidereal time 13h10m46.1351s. The map's equation of the
    // equinoxes is built on the one-term nutation, so the mean time (46.3668s) is what it meets.
    runAlmanac(1987, 4, 10, 0, 0, 0);
    skytest::WorstError worst("almanac GHA Aries vs Meeus 12.a apparent", "s");
    const double apparent = (13.0 + 10.0 / 60.0 + 46.1351 / 3600.0) * 15.0;
    worst.add((almanacState().GHAAtrue - apparent) * 240.0, "GHAAtrue");
    EXPECT_LT(worst.worst(), 0.3);
}

TEST(Almanac, SunAndEquationOfTimeMatchMeeusExamples25bAnd28a) {
    // 1992 October 13.0 TD: FK5 longitude 199.907347 deg, R 0.99760775 au; apparent right
    // ascension 198.378178 deg, declination -7.783871 deg (with nutation 15.908").
    runAlmanac(1992, 10, 13, 0, 0, 0);
    const AlmanacState& s = almanacState();
    skytest::WorstError geometric("almanac sun longitude vs Meeus 25.b", "arcsec");
    geometric.add(skytest::arcseconds(s.Lsun_true - 199.907347), "Lsun_true");
    EXPECT_LT(geometric.worst(), 0.05);
    EXPECT_NEAR(s.R, 0.99760775, 1e-8);

    skytest::WorstError apparent("almanac sun RA/Dec vs Meeus 25.b", "arcsec");
    apparent.add(skytest::arcseconds(s.RAsun - 198.378178), "RAsun");
    apparent.add(skytest::arcseconds(s.DECsun - -7.783871), "DECsun");
    // Most of it is the nutation in longitude this layer leaves out.
    EXPECT_LT(apparent.worst(), 20.0);
    EXPECT_NEAR(s.SHAsun + s.RAsun, 360.0, 1e-12);
    EXPECT_NEAR(s.SDsun, 961.93, 0.01); // Meeus: semi-diameter 959.63" / R

    // Equation of time +13m42.6s.
    skytest::WorstError eot("almanac equation of time vs Meeus 28.a", "s");
    eot.add((s.EOT - (13.0 + 42.6 / 60.0)) * 60.0, "EOT");
    EXPECT_LT(eot.worst(), 0.5);
}

TEST(Almanac, MoonMatchesMeeusExample47a) {
    // 1992 April 12, 0h TD: lambda 133.162655, beta -3.229126 deg, distance 368409.7 km;
    // apparent right ascension 134.688470, declination 13.768368 deg.
    runAlmanac(1992, 4, 12, 0, 0, 0);
    const AlmanacState& s = almanacState();
    skytest::WorstError ecliptic("almanac moon ecliptic vs Meeus 47.a", "arcsec");
    ecliptic.add(skytest::arcseconds(s.lambdaMm - 133.162655), "lambdaMm");
    ecliptic.add(skytest::arcseconds(s.betaM - -3.229126), "betaM");
    EXPECT_LT(ecliptic.worst(), 0.01);
    EXPECT_NEAR(s.dEM, 368409.7, 0.05);

    skytest::WorstError apparent("almanac moon RA/Dec vs Meeus 47.a", "arcsec");
    apparent.add(skytest::arcseconds(s.RAmoon - 134.688470), "RAmoon");
    apparent.add(skytest::arcseconds(s.DECmoon - 13.768368), "DECmoon");
    EXPECT_LT(apparent.worst(), 20.0);
}

TEST(Almanac, PixelFunctionsInvertEachOther) {
    AlmanacState& s = almanacState();
    s.mapWidth = 720.0;
    s.mapHeight = 360.0;
    adjustParameters();
    EXPECT_DOUBLE_EQ(s.centerDegW, 180.0);
    EXPECT_DOUBLE_EQ(s.centerDegH, 90.0);
    for (double lambda : {0.0, 45.5, 179.9, 180.0, 270.25, 359.5}) {
        // 0 comes back as 360, the same meridian.
        EXPECT_NEAR(skytest::angleDifference(pixelLambda(pixelX(lambda)), lambda), 0.0, 1e-9)
            << lambda;
    }
    for (double phi : {-90.0, -12.5, 0.0, 66.5, 90.0}) {
        EXPECT_NEAR(pixelPhi(pixelY(phi)), phi, 1e-9) << phi;
    }
    EXPECT_DOUBLE_EQ(pixelY(90.0), 0.0);
    EXPECT_DOUBLE_EQ(pixelY(-90.0), 360.0);
}

} // namespace
} // namespace corvane
