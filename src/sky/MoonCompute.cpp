#include "sky/MoonCompute.h"

#include "sky/AngleMath.h"
#include "sky/LunarSeries.h"

#include <cmath>
#include <numbers>

namespace corvane {

namespace {

struct MoonComputeState {
    double longitude = 0.0;
    double latitude = 0.0;
    double rightAscension = 0.0;
    double declination = 0.0;
    double distanceSum = 0.0;
};

MoonComputeState result;

double toRadians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}
double toDegrees(double radians) {
    return radians * 180.0 / std::numbers::pi;
}

} // namespace

double meanObliquity(double T) {
    return 23.433333333333334 +
           (21.448 - 46.815 * T - 0.00059 * T * T + 0.001813 * T * T * T) / 3600.0;
}

double MOONCOM_deltaPSI(double T) {
    const double omega = 125.04452 - 1934.136261 * T + 0.0020708 * T * T + T * T * T / 450000.0;
    const double sunLongitude = 280.4665 + 36000.7698 * T;
    const double moonLongitude = 218.3165 + 481267.8813 * T;
    return (-17.2 * sind(omega) - 1.32 * sind(2.0 * sunLongitude) -
            0.23 * sind(2.0 * moonLongitude) + 0.21 * sind(2.0 * omega)) /
           3600.0;
}

void MoonCompute(double jd, double dT) {
    const double T = (jd + dT / 86400.0 - 2451545.0) / 36525.0;
    const LunarArguments arguments = lunarArguments1991(T);
    const LunarSums sums = lunarSeriesSums(arguments);

    result.longitude = trunc2(arguments.lPrime + sums.longitude / 1e6 + MOONCOM_deltaPSI(T));
    result.latitude = sums.latitude / 1e6;
    result.distanceSum = sums.distance;

    const double epsilon = meanObliquity(T);
    const double lambda = result.longitude;
    const double beta = result.latitude;
    result.rightAscension = trunc2(toDegrees(
        std::atan2(sind(lambda) * cosd(epsilon) - tand(beta) * sind(epsilon), cosd(lambda))));
    result.declination =
        asind(sind(beta) * cosd(epsilon) + cosd(beta) * sind(epsilon) * sind(lambda));
}

double MOONCOM_computeR() {
    return 385000.56 + result.distanceSum / 1000.0;
}

double MOONCOM_L() {
    return result.longitude;
}
double MOONCOM_B() {
    return result.latitude;
}
double MOONCOM_RA() {
    return result.rightAscension;
}
double MOONCOM_DEC() {
    return result.declination;
}
double MOONCOM_lambda() {
    return toRadians(result.longitude);
}
double MOONCOM_beta() {
    return toRadians(result.latitude);
}
double MOONCOM_alpha() {
    return toRadians(result.rightAscension);
}
double MOONCOM_delta() {
    return toRadians(result.declination);
}
double MOONCOM_moonRA() {
    return result.rightAscension / 15.0;
}
double MOONCOM_moonDEC() {
    return result.declination;
}

} // namespace corvane
