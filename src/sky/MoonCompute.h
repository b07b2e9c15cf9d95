#pragma once

// The Meeus lunar series with the argument polynomials of the first edition, low-accuracy
// nutation and the mean obliquity: the moon's apparent place for the limb angle. Results stay in
// file-wide state; not re-entrant, one thread only.

namespace corvane {

// jd in UT; dT is the difference TD - UT in seconds.
void MoonCompute(double jd, double dT);

// Nutation in longitude in degrees (Meeus 22, accurate to 0.5"), T in centuries of TD.
double MOONCOM_deltaPSI(double T);
// Distance in kilometres for the last MoonCompute.
double MOONCOM_computeR();

double MOONCOM_L();   // apparent longitude, degrees 0..360
double MOONCOM_B();   // latitude, degrees
double MOONCOM_RA();  // right ascension, degrees 0..360
double MOONCOM_DEC(); // declination, degrees

double MOONCOM_lambda();  // MOONCOM_L in radians
double MOONCOM_beta();    // MOONCOM_B in radians
double MOONCOM_alpha();   // MOONCOM_RA in radians
double MOONCOM_delta();   // MOONCOM_DEC in radians
double MOONCOM_moonRA();  // MOONCOM_RA in hours
double MOONCOM_moonDEC(); // same as MOONCOM_DEC

// Mean obliquity of the ecliptic in degrees (IAU 1980 polynomial), T in centuries.
double meanObliquity(double T);

} // namespace corvane
