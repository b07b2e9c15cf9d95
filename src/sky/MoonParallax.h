#pragma once

// The moon is near enough that where on the earth one stands moves it on the sky by up to a
// degree (its horizontal parallax). The moon engines give its place as seen from the earth's
// centre; this gives the altitude an observer at sea level sees, before refraction.

namespace corvane {

// geocentricAltitude and the result in degrees; distanceKm from the earth's centre; latitude
// geodetic, north positive. The azimuth does not change on a spherical earth, and the earth's
// flattening moves it by a few thousandths of a degree at most.
double topocentricMoonAltitude(double geocentricAltitude, double distanceKm, double latitude);

} // namespace corvane
