#include "sky/MoonSkyData.h"

#include "sky/AngleMath.h"
#include "sky/JulianDate.h"
#include "sky/LunarSeries.h"
#include "sky/SiderealTime.h"

#include <cmath>

namespace corvane {

MoonEclipticPlace meeusMoonPlace(double jd) {
    const LunarArguments arguments = lunarArguments1998((jd - 2451545.0) / 36525.0);
    const LunarSums sums = lunarSeriesSums(arguments);
    MoonEclipticPlace place;
    place.longitude = trunc2(arguments.lPrime + sums.longitude / 1e6);
    place.latitude = range(sums.latitude / 1e6);
    if (place.latitude > 180.0) {
        place.latitude -= 360.0;
    }
    place.distance = 385000.56 + sums.distance / 1000.0;
    return place;
}

MoonSkyData fetchMoonSkyData(double jd, double localSiderealHours, double longitude,
                             double latitude) {
    static_cast<void>(longitude); // already folded into the local sidereal time
    const MoonEclipticPlace place = meeusMoonPlace(jd);
    const double obliquity = 23.4393 - 0.0000003563 * (jd - 2451543.5);
    const double lambda = place.longitude;
    const double beta = place.latitude;

    double rightAscension =
        atan2d(sind(lambda) * cosd(obliquity) - tand(beta) * sind(obliquity), cosd(lambda));
    rightAscension = range(rightAscension);
    const double declination =
        asind(sind(beta) * cosd(obliquity) + cosd(beta) * sind(obliquity) * sind(lambda));

    const double hourAngle = 15.0 * (localSiderealHours - rightAscension / 15.0);
    const double x = cosd(hourAngle) * sind(latitude) - tand(declination) * cosd(latitude);
    const double y = sind(hourAngle);

    MoonSkyData data;
    // atan2d measures from the south; half a turn brings north to zero.
    data.azimuth = range(atan2d(y, x) + 180.0);
    data.altitude = asind(sind(latitude) * sind(declination) +
                          cosd(latitude) * cosd(declination) * cosd(hourAngle));
    data.distance = std::round(place.distance);
    return data;
}

MoonSkyData calculateMoonInfo(Date date, double longitude, double latitude) {
    const double jd = julianDay(date);
    return fetchMoonSkyData(jd, localSiderealTimeForJulianDayLongitude(jd, longitude), longitude,
                            latitude);
}

} // namespace corvane
