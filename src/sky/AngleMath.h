#pragma once

// Degree-based trigonometry and angle reduction shared by the sun, earth and moon engines.
// Two spellings of the degree conversion coexist (x * pi / 180 and x * dtr); the results agree
// to the last bit in practice, but each caller keeps the one its formulas were fitted with.

namespace corvane {

inline constexpr double dtr = 0.017453292519943295;

double sind(double degrees);
double cosd(double degrees);
double tand(double degrees);
double asind(double ratio);
double acosd(double ratio);
// atan(y / x) in degrees, moved to the left half-plane by subtracting 180 when x < 0.
double atan2d(double y, double x);

double sind2(double degrees);
double cosd2(double degrees);
double tand2(double degrees);

// 0 <= result < 360.
double trunc2(double degrees);
// Remainder of one turn by truncation; a negative remainder gains 360.
double range(double degrees);
double frac(double x);
double Modulo(double x, double y);
double Rad2Deg2(double radians);
// Radians; exactly +-pi/2 at +-1, where atan(x / sqrt(1 - x^2)) would divide by zero.
double arcsin(double ratio);

} // namespace corvane
