#include "sky/MoonEvents.h"

#include "sky/JulianDate.h"
#include "sky/LowPrecisionMoon.h"
#include "sky/MoonLimbAngle.h"
#include "sky/MoonPhase.h"
#include "sky/MoonRiseSet.h"
#include "sky/MoonSkyData.h"
#include "sky/Quad.h"

#include <algorithm>
#include <cmath>

namespace corvane {

namespace {

constexpr double kRadiansPerDegree = 0.0174532925;
constexpr double kStepSeconds = 300.0;
constexpr int kStepsPerDay = 288;

MoonMoment momentAt(double time, double longitude, double latitude) {
    const Date date{time};
    const MoonSkyData sky = calculateMoonInfo(date, longitude, latitude);
    const CurrentPhase phase = currentPhase(date);
    MoonMoment moment;
    moment.time = time;
    moment.azimuth = sky.azimuth;
    moment.altitude = sky.altitude;
    moment.distance = sky.distance;
    moment.phase = phase.phase;
    moment.age = phase.age;
    moment.illumination = phase.illumination;
    moment.rotation = MoonLimbAngle(julianDay(date), latitude, longitude, phase.age);
    return moment;
}

void describe(MoonPass& pass, double longitude, double latitude) {
    const double rise = pass.riseTime.value_or(0.0);
    if (rise > 0.0 && pass.setTime > 0.0) {
        pass.meridian = momentAt(rise + (pass.setTime - rise) / 2.0, longitude, latitude);
    }
    if (rise > 0.0) {
        pass.rise = momentAt(rise, longitude, latitude);
    }
    if (pass.setTime > 0.0) {
        pass.set = momentAt(pass.setTime, longitude, latitude);
    }
}

double mjdToUnix(double mjd) {
    return dateWithModifiedJulianDay(mjd).secondsSince1970;
}

// Passes whose rise or set falls in [dayStartMjd, dayStartMjd + days).
std::vector<MoonPass> passes(double dayStartMjd, int days, int zoneSeconds, double longitude,
                             double latitude) {
    const double cosLat = std::cos(latitude * kRadiansPerDegree);
    const double sinLat = std::sin(latitude * kRadiansPerDegree);
    auto horizon = [&](double mjd, double hour) {
        return moonSinAlt(mjd, hour, 0.0, longitude, cosLat, sinLat) - kMoonHorizonSine;
    };

    std::vector<MoonPass> result;
    std::optional<double> pendingRise;
    const double first = horizon(dayStartMjd, 0.0);
    for (int day = 0; day < days; ++day) {
        const double mjd = dayStartMjd + day;
        double yMinus = horizon(mjd, 0.0);
        for (int hour = 1; hour <= 23; hour += 2) {
            const double y0 = horizon(mjd, hour);
            const double yPlus = horizon(mjd, hour + 1.0);
            const QuadCrossing crossing = quad(yMinus, y0, yPlus);
            if (crossing.count == 1) {
                const double when = mjdToUnix(mjd + (hour + crossing.root1) / 24.0);
                if (yMinus < 0.0) {
                    pendingRise = when;
                } else {
                    MoonPass pass;
                    pass.setTime = when;
                    if (pendingRise) {
                        pass.riseTime = pendingRise;
                    } else {
                        const double before =
                            moonriseBeforeDate(Date{when}, zoneSeconds, longitude, latitude);
                        if (before > 0.0) {
                            pass.riseTime = mjdToUnix(before);
                        }
                    }
                    pendingRise.reset();
                    result.push_back(pass);
                }
            }
            yMinus = yPlus;
        }
    }
    if (pendingRise) {
        MoonPass pass;
        pass.riseTime = pendingRise;
        const double after = moonsetAfterDate(Date{*pendingRise}, zoneSeconds, longitude, latitude);
        pass.setTime = after > 0.0 ? mjdToUnix(after) : kNoMoonset;
        result.push_back(pass);
    }
    if (result.empty()) {
        MoonPass pass;
        const double sentinel = first > 0.0 ? kMoonUpAllDay : kMoonDownAllDay;
        pass.riseTime = sentinel;
        pass.setTime = sentinel;
        result.push_back(pass);
    }
    return result;
}

std::vector<MoonStep> steps(double start, int count, double longitude, double latitude) {
    std::vector<MoonStep> result;
    result.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const double time = start + i * kStepSeconds;
        const Date date{time};
        const MoonSkyData sky = calculateMoonInfo(date, longitude, latitude);
        const CurrentPhase phase = currentPhase(date);
        result.push_back(MoonStep{time, time + kStepSeconds, phase.phase, phase.age,
                                  phase.illumination, sky.altitude, sky.azimuth, sky.distance});
    }
    return result;
}

double dayStartMjd(Date date, int zoneSeconds) {
    return modifiedJulianDayWithTimezone(date, zoneSeconds) - zoneSeconds / 86400.0;
}

} // namespace

MoonEventsRecord moonEvents(Date date, int zoneSeconds, bool wantSteps, double longitude,
                            double latitude) {
    MoonEventsRecord record;
    record.start = date.secondsSince1970;
    record.end = record.start + 86400.0;
    record.events = passes(dayStartMjd(date, zoneSeconds), 1, zoneSeconds, longitude, latitude);
    for (MoonPass& pass : record.events) {
        describe(pass, longitude, latitude);
    }
    if (wantSteps) {
        record.steps = steps(record.start, kStepsPerDay, longitude, latitude);
    }
    return record;
}

MoonEventsRecord moonEventsBetweenDates(Date from, Date to, int zoneSeconds, bool wantSteps,
                                        double longitude, double latitude) {
    MoonEventsRecord record;
    record.start = from.secondsSince1970;
    record.end = to.secondsSince1970;
    const double firstMjd = dayStartMjd(from, zoneSeconds);
    const int days =
        std::max(1, static_cast<int>(std::ceil((dayStartMjd(to, zoneSeconds) - firstMjd))) + 1);
    record.events = passes(firstMjd, days, zoneSeconds, longitude, latitude);
    for (MoonPass& pass : record.events) {
        describe(pass, longitude, latitude);
    }
    if (wantSteps) {
        const int count = static_cast<int>((record.end - record.start) / kStepSeconds);
        record.steps = steps(record.start, std::max(count, 0), longitude, latitude);
    }
    return record;
}

std::vector<MoonStep> moonLocationsForDay(Date date, double longitude, double latitude) {
    return steps(date.secondsSince1970, kStepsPerDay, longitude, latitude);
}

} // namespace corvane
