#include "sky/MoonRiseSet.h"

#include "sky/JulianDate.h"
#include "sky/LowPrecisionMoon.h"
#include "sky/MoonSkyData.h"
#include "sky/Quad.h"

#include <cmath>
#include <limits>

namespace corvane {

namespace {

constexpr double kRadiansPerDegree = 0.0174532925;

// Altitude function whose zero is the event.
struct Horizon {
    double mjd;
    double longitude;
    double cosLat;
    double sinLat;

    double operator()(double hour) const {
        return moonSinAlt(mjd, hour, 0.0, longitude, cosLat, sinLat) - kMoonHorizonSine;
    }
};

Horizon horizonFor(double mjd, double longitude, double latitude) {
    return {mjd, longitude, std::cos(latitude * kRadiansPerDegree),
            std::sin(latitude * kRadiansPerDegree)};
}

double toUnix(double hours, double zoneHours, double dayStartSeconds) {
    return hours * 3600.0 - zoneHours * 3600.0 + dayStartSeconds;
}

// Both events missing: whether the moon was up at the start decides which.
RiseSet allDay(double firstValue) {
    return firstValue > 0.0 ? RiseSet{kMoonUpAllDay, kMoonUpAllDay}
                            : RiseSet{kMoonDownAllDay, kMoonDownAllDay};
}

// Scans one day of the horizon function for crossings with a single root in a two-hour window,
// calling visit(hourOfRoot, rising) for each; stops when visit returns false.
template <typename Visit>
bool scanDay(const Horizon& horizon, Visit visit) {
    double yMinus = horizon(0.0);
    for (int hour = 1; hour <= 23; hour += 2) {
        const double y0 = horizon(hour);
        const double yPlus = horizon(hour + 1.0);
        const QuadCrossing crossing = quad(yMinus, y0, yPlus);
        if (crossing.count == 1 && !visit(hour + crossing.root1, yMinus < 0.0)) {
            return false;
        }
        yMinus = yPlus;
    }
    return true;
}

} // namespace

ZoneDay zoneDay(Date date, int zoneSeconds) {
    ZoneDay day;
    const double mjdOfDate = modifiedJulianDayWithTimezone(date, zoneSeconds);
    day.utcDayStartSeconds = dateWithModifiedJulianDay(mjdOfDate).secondsSince1970;
    day.mjd = mjdOfDate - zoneSeconds / 86400.0;
    return day;
}

RiseSet moonRiseSet(double mjd, double zoneHours, double dayStartSeconds, double longitude,
                    double latitude) {
    const Horizon horizon = horizonFor(mjd, longitude, latitude);
    const double first = horizon(0.0);
    double yMinus = first;
    double riseHours = 0.0;
    double setHours = 0.0;
    bool riseFound = false;
    bool setFound = false;

    for (int hour = 1; hour <= 23 && !(riseFound && setFound); hour += 2) {
        const double y0 = horizon(hour);
        const double yPlus = horizon(hour + 1.0);
        const QuadCrossing crossing = quad(yMinus, y0, yPlus);
        if (crossing.count == 1) {
            if (yMinus < 0.0) {
                riseHours = hour + crossing.root1;
                riseFound = true;
            } else {
                setHours = hour + crossing.root1;
                setFound = true;
            }
        } else if (crossing.count == 2) {
            // Both events in one window: kept as candidates only, so that a clean single
            // crossing later in the day, or the sentinels, have the last word.
            if (crossing.ye < 0.0) {
                riseHours = hour + crossing.root2;
                setHours = hour + crossing.root1;
            } else {
                riseHours = hour + crossing.root1;
                setHours = hour + crossing.root2;
            }
        }
        yMinus = yPlus;
    }

    if (!riseFound && !setFound) {
        return allDay(first);
    }
    RiseSet result;
    result.rise = riseFound ? toUnix(riseHours, zoneHours, dayStartSeconds) : kNoMoonrise;
    result.set = setFound ? toUnix(setHours, zoneHours, dayStartSeconds) : kNoMoonset;
    return result;
}

RiseSet moonNextRiseSet(double nowSeconds, double mjd, double zoneHours, double dayStartSeconds,
                        double longitude, double latitude) {
    const Horizon horizon = horizonFor(mjd, longitude, latitude);
    const double first = horizon(0.0);
    double yMinus = first;
    RiseSet result{kNoMoonrise, kNoMoonset};
    bool riseFound = false;
    bool setFound = false;
    bool anyCrossing = false;

    for (int hour = 1; hour <= 8757 && !(riseFound && setFound); hour += 2) {
        const double y0 = horizon(hour);
        const double yPlus = horizon(hour + 1.0);
        const QuadCrossing crossing = quad(yMinus, y0, yPlus);
        if (crossing.count == 1) {
            anyCrossing = true;
            const double when = toUnix(hour + crossing.root1, zoneHours, dayStartSeconds);
            const bool rising = yMinus < 0.0;
            if (when > nowSeconds) {
                if (rising && !riseFound) {
                    result.rise = when;
                    riseFound = true;
                } else if (!rising && !setFound) {
                    result.set = when;
                    setFound = true;
                }
            }
        }
        yMinus = yPlus;
    }
    if (!anyCrossing) {
        return allDay(first);
    }
    return result;
}

double moonriseBeforeDate(Date date, int zoneSeconds, double longitude, double latitude) {
    const double start = zoneDay(date, zoneSeconds).mjd;
    const double dateMjd = modifiedJulianDay(date);
    for (int back = 0; back <= 364; ++back) {
        const double dayMjd = start - back;
        double found = std::numeric_limits<double>::quiet_NaN();
        scanDay(horizonFor(dayMjd, longitude, latitude), [&](double hours, bool rising) {
            const double when = dayMjd + hours / 24.0;
            if (rising && when < dateMjd) {
                found = when;
            }
            return true;
        });
        if (!std::isnan(found)) {
            return found;
        }
    }
    return kNoMoonrise;
}

double moonsetAfterDate(Date date, int zoneSeconds, double longitude, double latitude) {
    const double start = zoneDay(date, zoneSeconds).mjd;
    const double dateMjd = modifiedJulianDay(date);
    for (int ahead = 0; ahead <= 364; ++ahead) {
        const double dayMjd = start + ahead;
        double found = std::numeric_limits<double>::quiet_NaN();
        scanDay(horizonFor(dayMjd, longitude, latitude), [&](double hours, bool rising) {
            const double when = dayMjd + hours / 24.0;
            if (!rising && when > dateMjd) {
                found = when;
                return false;
            }
            return true;
        });
        if (!std::isnan(found)) {
            return found;
        }
    }
    return kNoMoonset;
}

MoonRiseAndSet calculateMoonRiseAndSet(Date date, int zoneSeconds, double longitude,
                                       double latitude) {
    const ZoneDay day = zoneDay(date, zoneSeconds);
    const RiseSet today =
        moonRiseSet(day.mjd, zoneSeconds / 3600.0, day.utcDayStartSeconds, longitude, latitude);
    MoonRiseAndSet result;
    result.rise = today.rise;
    result.set = today.set;
    result.riseAzimuth = std::numeric_limits<double>::quiet_NaN();
    result.setAzimuth = std::numeric_limits<double>::quiet_NaN();
    if (result.rise > 0.0) {
        result.riseAzimuth = calculateMoonInfo(Date{result.rise}, longitude, latitude).azimuth;
    }
    if (result.set > 0.0) {
        result.setAzimuth = calculateMoonInfo(Date{result.set}, longitude, latitude).azimuth;
    }
    return result;
}

NextMoonRiseAndSet calculateNextMoonRiseAndSet(Date date, int zoneSeconds, double longitude,
                                               double latitude) {
    const ZoneDay day = zoneDay(date, zoneSeconds);
    const RiseSet next = moonNextRiseSet(date.secondsSince1970, day.mjd, zoneSeconds / 3600.0,
                                         day.utcDayStartSeconds, longitude, latitude);
    return {next.rise, next.set};
}

} // namespace corvane
