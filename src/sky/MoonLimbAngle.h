#pragma once

// How far to turn the phase picture so that its lit side faces the sun as the observer sees it:
// the position angle of the moon's bright limb less the parallactic angle. Uses the VSOP87
// earth and the MoonCompute state; one thread only.

namespace corvane {

// Position angle of the bright limb, degrees from the north point of the disc through east,
// geocentric (Meeus 48.5).
double brightLimbPositionAngle(double jd);

// Rotation of the phase picture in degrees, 0..360. age in days decides the side of the
// terminator the picture is drawn from.
double PlanetRiseSet(double jd, double latitude, double longitude, double age);
double MoonLimbAngle(double jd, double latitude, double longitude, double age);

} // namespace corvane
