#include "sky/MoonCompute.h"

#include "SkyTestSupport.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(MoonCompute, ApparentPlaceMatchesMeeusExample47a) {
    // 1992 April 12, 0h TD: apparent longitude 133.167265 (nutation +16.595"), latitude
    // -3.229126, right ascension 134.688470, declination 13.768368 deg. MoonCompute takes UT and
    // adds its delta T of 67 s.
    MoonCompute(2448724.5 - 67.0 / 86400.0, 67.0);
    skytest::WorstError ecliptic("MoonCompute ecliptic vs Meeus 47.a", "arcsec");
    ecliptic.add(skytest::arcseconds(MOONCOM_L() - 133.167265), "L");
    ecliptic.add(skytest::arcseconds(MOONCOM_B() - -3.229126), "B");
    // First-edition polynomials plus the 0.5" low-accuracy nutation.
    EXPECT_LT(ecliptic.worst(), 0.5);

    skytest::WorstError equatorial("MoonCompute RA/Dec vs Meeus 47.a", "arcsec");
    equatorial.add(skytest::arcseconds(MOONCOM_RA() - 134.688470), "RA");
    equatorial.add(skytest::arcseconds(MOONCOM_DEC() - 13.768368), "DEC");
    EXPECT_LT(equatorial.worst(), 2.0);
    EXPECT_NEAR(MOONCOM_computeR(), 368409.7, 0.5);
    EXPECT_NEAR(MOONCOM_moonRA() * 15.0, MOONCOM_RA(), 1e-12);
}

TEST(MoonCompute, LowAccuracyNutationMatchesMeeusExample22a) {
    // 1987 April 10, 0h TD: nutation in longitude -3.788".
    EXPECT_NEAR(skytest::arcseconds(MOONCOM_deltaPSI(-0.127296372348)), -3.788, 0.5);
}

} // namespace
} // namespace corvane
