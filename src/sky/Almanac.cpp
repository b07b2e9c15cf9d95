#include "sky/Almanac.h"

#include "sky/AngleMath.h"
#include "sky/LunarSeries.h"
#include "sky/NutationTable.h"
#include "sky/Vsop87EarthTable.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

AlmanacState state;

// The linear rates of the nutation arguments are split into whole turns per century (r) and a
// remainder; taking the whole turns through a fraction keeps precision for large t.
double wholeTurns(double turnsPerCentury, double t) {
    return frac(turnsPerCentury * t / 360.0) * 360.0;
}

template <std::size_t N>
double vsopSum(const std::array<Vsop87Term, N>& terms, double tau) {
    double sum = 0.0;
    for (const Vsop87Term& term : terms) {
        sum += term.a * std::cos(term.b + term.c * tau);
    }
    return sum;
}

double toDegrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

// Right ascension of an ecliptic place, degrees 0..360.
double rightAscension(double lambda, double beta, double epsilon) {
    return trunc2(toDegrees(
        std::atan2(sind(lambda) * cosd(epsilon) - tand(beta) * sind(epsilon), cosd(lambda))));
}

double declination(double lambda, double beta, double epsilon) {
    return asind(sind(beta) * cosd(epsilon) + cosd(beta) * sind(epsilon) * sind(lambda));
}

} // namespace

AlmanacState& almanacState() {
    return state;
}

void setLightMapTime(int year, int month, int day, int hour, int minute, int second) {
    state.year = year;
    state.month = month;
    state.day = day;
    state.hour = hour;
    state.minute = minute;
    state.second = second;
    state.dayfraction = (hour + minute / 60.0 + second / 3600.0) / 24.0;
}

void TimeMeasures() {
    if (state.month <= 2.0) {
        state.year -= 1.0;
        state.month += 12.0;
    }
    const double a = std::floor(state.year / 100.0);
    const double b = 2.0 - a + std::floor(a / 4.0);
    state.JD = std::floor(30.6001 * (state.month + 1.0)) +
               std::floor(365.25 * (state.year + 4716.0)) + state.day + b - 1524.5 +
               state.dayfraction;

    state.T = (state.JD - 2451545.0) / 36525.0;
    state.T2 = state.T * state.T;
    state.T3 = state.T2 * state.T;
    state.T4 = state.T3 * state.T;
    state.T5 = state.T4 * state.T;
    state.TE = (state.JD + state.deltaT / 86400.0 - 2451545.0) / 36525.0;
    state.TE2 = state.TE * state.TE;
    state.TE3 = state.TE2 * state.TE;
    state.TE4 = state.TE3 * state.TE;
    state.TE5 = state.TE4 * state.TE;
    state.Tau = state.TE / 10.0;
    state.Tau2 = state.Tau * state.Tau;
    state.Tau3 = state.Tau2 * state.Tau;
    state.Tau4 = state.Tau3 * state.Tau;
    state.Tau5 = state.Tau4 * state.Tau;
}

void Nutation() {
    const double t = state.TE;
    const double t2 = state.TE2;
    const double t3 = state.TE3;
    const double mPrime = 134.962981389 + 198.867398056 * t + wholeTurns(477000.0, t) +
                          0.008697222222 * t2 + t3 / 56250.0;
    const double m = 357.527723333 + 359.05034 * t + wholeTurns(35640.0, t) - 0.0001602777778 * t2 -
                     t3 / 300000.0;
    const double f = 93.271910277 + 82.017538055 * t + wholeTurns(483120.0, t) - 0.0036825 * t2 +
                     t3 / 327272.7273;
    const double d = 297.850363055 + 307.11148 * t + wholeTurns(444960.0, t) - 0.001914166667 * t2 +
                     t3 / 189473.6842;
    const double omega = 125.044522222 - 134.136260833 * t - wholeTurns(1800.0, t) +
                         0.002070833333 * t2 + t3 / 450000.0;

    // All but the last of the 106 terms enter the obliquity. The nutation in longitude is
    // deliberately not the full sum: this layer defines it by the one-unit term of the last row
    // read, and the map's hour angles (Aries, Sun, Moon) are defined with that value.
    double obliquitySum = 0.0;
    double lastArgument = 0.0;
    for (std::size_t i = 0; i + 1 < kNutationRows.size(); ++i) {
        const NutationRow& row = kNutationRows[i];
        lastArgument =
            (row.mPrime * mPrime + row.m * m + row.f * f + row.d * d + row.omega * omega) * dtr;
        obliquitySum += std::cos(lastArgument) * (row.cosine + row.cosineRate * t);
    }
    state.delta_psi = std::sin(lastArgument) / 36000000.0;
    state.eps = (84381.448 - 46.815 * t - 0.00059 * t2 + 0.001813 * t3) / 3600.0 +
                obliquitySum / 36000000.0;
}

void Aries() {
    const double mean = 280.46061837 + 360.98564736629 * (state.JD - 2451545.0) +
                        0.000387933 * state.T2 - state.T3 / 38710000.0;
    const double meanTurn = frac(mean / 360.0);
    // The equation of the equinoxes turns the mean angle into the true one.
    state.GHAAtrue = 360.0 * frac((cosd(state.eps) * state.delta_psi + 360.0 * meanTurn) / 360.0);
}

void Sun() {
    const double tau = state.Tau;
    const double longitude =
        (vsopSum(kEarthL0, tau) + vsopSum(kEarthL1, tau) * tau +
         vsopSum(kEarthL2, tau) * state.Tau2 + vsopSum(kEarthL3, tau) * state.Tau3 +
         vsopSum(kEarthL4, tau) * state.Tau4 + vsopSum(kEarthL5, tau) * state.Tau5) /
        1e8;
    const double latitude = (vsopSum(kEarthB0, tau) + vsopSum(kEarthB1, tau) * tau) / 1e8;
    state.R = (vsopSum(kEarthR0, tau) + vsopSum(kEarthR1, tau) * tau +
               vsopSum(kEarthR2, tau) * state.Tau2 + vsopSum(kEarthR3, tau) * state.Tau3 +
               vsopSum(kEarthR4, tau) * state.Tau4) /
              1e8;

    // Geocentric, then to the FK5 frame (Meeus 25.9).
    const double geocentric = trunc2(toDegrees(longitude)) + 180.0;
    state.Lsun_true = trunc2(geocentric - 0.000025);
    const double lPrime = trunc2(geocentric - 1.397 * state.TE - 0.00031 * state.TE2);
    const double beta = trunc2(-toDegrees(latitude)) + 0.000011 * (cosd(lPrime) - sind(lPrime));

    // Apparent longitude: nutation and annual aberration (20.4898" at 1 au).
    state.lambda_ = trunc2(state.Lsun_true + state.delta_psi - 0.005691611 / state.R);
    state.RAsun = rightAscension(state.lambda_, beta, state.eps);
    state.SHAsun = 360.0 - state.RAsun;
    state.DECsun = declination(state.lambda_, beta, state.eps);
    state.Dsun = state.DECsun;
    state.GHAsun = trunc2(state.GHAAtrue - state.RAsun);
    state.SDsun = 959.63 / state.R;
    state.HPsun = 8.794 / state.R;

    state.EOT = 4.0 * state.GHAsun + 720.0 - 1440.0 * state.dayfraction;
    if (state.EOT > 20.0) {
        state.EOT -= 1440.0;
    }
    if (state.EOT < -20.0) {
        state.EOT += 1440.0;
    }
}

void Moon() {
    const LunarArguments arguments = lunarArguments1998(state.TE);
    const LunarSums sums = lunarSeriesSums(arguments);
    state.lambdaMm = trunc2(arguments.lPrime + sums.longitude / 1e6);
    state.betaM = sums.latitude / 1e6;
    state.dEM = 385000.56 + sums.distance / 1000.0;
    state.lambdaMapp = state.lambdaMm + state.delta_psi;
    state.RAmoon = rightAscension(state.lambdaMapp, state.betaM, state.eps);
    state.SHAmoon = 360.0 - state.RAmoon;
    state.DECmoon = declination(state.lambdaMapp, state.betaM, state.eps);
    state.Dmoon = state.DECmoon;
    state.GHAmoon = trunc2(state.GHAAtrue - state.RAmoon);
}

void adjustParameters() {
    state.pixelDegW = 360.0 / state.mapWidth;
    state.pixelDegH = 180.0 / state.mapHeight;
    state.edgeOffset = 0.0;
    state.centerDegW = state.mapWidth / 2.0 * state.pixelDegW;
    state.centerDegH = state.mapHeight / 2.0 * state.pixelDegH;
}

double pixelX(double lambda) {
    if (lambda < state.centerDegW) {
        return (state.centerDegW - lambda) / state.pixelDegW;
    }
    return (state.centerDegW + 360.0 - lambda) / state.pixelDegW;
}

double pixelY(double phi) {
    return (state.centerDegH - phi) / state.pixelDegH;
}

double pixelLambda(double x) {
    const double degrees = x * state.pixelDegW;
    if (degrees < state.centerDegW) {
        return state.centerDegW - degrees;
    }
    return state.centerDegW + 360.0 - degrees;
}

double pixelPhi(double y) {
    return state.centerDegH - y * state.pixelDegH;
}

double GHAsun() {
    return state.GHAsun;
}
double GHAmoon() {
    return state.GHAmoon;
}
double DECsun() {
    return state.DECsun;
}
double DECmoon() {
    return state.DECmoon;
}

} // namespace corvane
