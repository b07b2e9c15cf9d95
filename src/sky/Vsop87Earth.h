#pragma once

// Heliocentric place of the earth from the VSOP87 series (Vsop87EarthTable.h). The results are
// kept in file-wide state, read back through the accessors; not re-entrant, one thread only.

namespace corvane {

// Sets EARTH_L, EARTH_B (radians) and EARTH_R (astronomical units) for a Julian Ephemeris Day.
void EARTH_EarthCompute(double jd);
double EARTH_earthL();
double EARTH_earthB();
double EARTH_earthR();
// EARTH_L in degrees, 0 <= lambda < 360.
double EARTH_heliocentricLambda();

// One partial sum, sum of A cos(B + C tau), in units of 1e-8; tau in Julian millennia.
double EARTH_L0(double tau);
double EARTH_L1(double tau);
double EARTH_L2(double tau);
double EARTH_L3(double tau);
double EARTH_L4(double tau);
double EARTH_L5(double tau);
double EARTH_B0(double tau);
double EARTH_B1(double tau);
double EARTH_R0(double tau);
double EARTH_R1(double tau);
double EARTH_R2(double tau);
double EARTH_R3(double tau);
double EARTH_R4(double tau);

} // namespace corvane
