#pragma once

// Short lunar longitude for the limb angle: the 14-term series of the low-precision model, kept
// in file-wide state (MOON_L_Moon, radians). Not re-entrant; one thread only.

namespace corvane {

// T in Julian centuries from J2000.0.
void MOON_computeMoon(double T);
void MOON_Moon(double jd);
double MOON_L_Moon();

double MOON_frac(double x);
// MOON_L_Moon in degrees.
double MOON_lambda();

} // namespace corvane
