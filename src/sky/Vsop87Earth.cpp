#include "sky/Vsop87Earth.h"

#include "sky/Vsop87EarthTable.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

double EARTH_L = 0.0;
double EARTH_B = 0.0;
double EARTH_R = 0.0;

template <std::size_t N>
double partialSum(const std::array<Vsop87Term, N>& terms, double tau) {
    double sum = 0.0;
    for (const Vsop87Term& term : terms) {
        sum += term.a * std::cos(term.b + term.c * tau);
    }
    return sum;
}

} // namespace

double EARTH_L0(double tau) {
    return partialSum(kEarthL0, tau);
}
double EARTH_L1(double tau) {
    return partialSum(kEarthL1, tau);
}
double EARTH_L2(double tau) {
    return partialSum(kEarthL2, tau);
}
double EARTH_L3(double tau) {
    return partialSum(kEarthL3, tau);
}
double EARTH_L4(double tau) {
    return partialSum(kEarthL4, tau);
}
double EARTH_L5(double tau) {
    return partialSum(kEarthL5, tau);
}
double EARTH_B0(double tau) {
    return partialSum(kEarthB0, tau);
}
double EARTH_B1(double tau) {
    return partialSum(kEarthB1, tau);
}
double EARTH_R0(double tau) {
    return partialSum(kEarthR0, tau);
}
double EARTH_R1(double tau) {
    return partialSum(kEarthR1, tau);
}
double EARTH_R2(double tau) {
    return partialSum(kEarthR2, tau);
}
double EARTH_R3(double tau) {
    return partialSum(kEarthR3, tau);
}
double EARTH_R4(double tau) {
    return partialSum(kEarthR4, tau);
}

void EARTH_EarthCompute(double jd) {
    const double tau = (jd - 2451545.0) / 365250.0;
    const double tau2 = tau * tau;
    const double tau3 = tau2 * tau;
    const double tau4 = tau3 * tau;
    const double tau5 = tau4 * tau;
    EARTH_L = (EARTH_L0(tau) + EARTH_L1(tau) * tau + EARTH_L2(tau) * tau2 + EARTH_L3(tau) * tau3 +
               EARTH_L4(tau) * tau4 + EARTH_L5(tau) * tau5) /
              1e8;
    EARTH_B = (EARTH_B0(tau) + EARTH_B1(tau) * tau) / 1e8;
    EARTH_R = (EARTH_R0(tau) + EARTH_R1(tau) * tau + EARTH_R2(tau) * tau2 + EARTH_R3(tau) * tau3 +
               EARTH_R4(tau) * tau4) /
              1e8;
}

double EARTH_earthL() {
    return EARTH_L;
}
double EARTH_earthB() {
    return EARTH_B;
}
double EARTH_earthR() {
    return EARTH_R;
}

double EARTH_heliocentricLambda() {
    const double degrees = std::fmod(EARTH_L * 180.0 / std::numbers::pi, 360.0);
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

} // namespace corvane
